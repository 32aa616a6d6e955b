#pragma once

/// VELMORA_API marks a class as part of the library's interface.
#ifdef VELMORA_COMMON_BUILDING
#define VELMORA_API __declspec(dllexport)
#else
#define VELMORA_API __declspec(dllimport)
#endif

#ifdef _MSC_VER
// Exported classes have standard types as members and bases. That is safe here, because library and
// caller share one standard library and one heap: both are built with the same compiler and its
// shared run time.
#pragma warning(disable : 4251 4275)
#endif
