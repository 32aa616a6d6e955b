#pragma once

// The one way to the Windows headers, so that every source sees them with the same settings. The
// target version (_WIN32_WINNT) comes from the build.
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif

#include <windows.h>
