#pragma once

#include <cstring>

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

// The headers of 32-bit executable files, which keep their layout in both widths of the library.

using NtHeaders = _IMAGE_NT_HEADERS;
using SectionHeader = _IMAGE_SECTION_HEADER;
using ImportDescriptor = IMAGE_IMPORT_DESCRIPTOR;
using DelayImportDescriptor = IMAGE_DELAYLOAD_DESCRIPTOR;

static_assert(sizeof(NtHeaders) == 248 && sizeof(SectionHeader) == 40);
static_assert(sizeof(ImportDescriptor) == 20 && sizeof(DelayImportDescriptor) == 32);

/// A number or structure of a file, which may be unaligned.
template <class T>
T ReadUnaligned(void const * at)
{
    T value;
    std::memcpy(&value, at, sizeof(value));
    return value;
}

} // namespace Velmora
