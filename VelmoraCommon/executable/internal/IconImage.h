#pragma once

#include <cstdint>
#include <optional>

#include "VelmoraCommon/executable/internal/ResourceModule.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// What an image says about itself, and where its parts begin if it is a bitmap: offsets, which may
/// lie behind its bytes.
struct ImageInfo
{
    bool isPng;
    int width; // in pixels
    int height;
    unsigned int depth; // bits per pixel
    std::uint64_t colorBits;
    std::uint64_t maskBits;
    std::uint64_t end;
};

/// Whether \p image is a PNG stream, or else a bitmap.
bool IsPngImage(ResourceBytes const & image);

/// Nothing for an image that is too short to say it.
std::optional<ImageInfo> ReadImageInfo(ResourceBytes const & image);

/// Whether the system can make an icon of \p image without leaving its bytes, but for the mask,
/// which may be cut off.
bool IsWholeImage(ResourceBytes const & image, ImageInfo const & info);

/// The number of images of \p group. A group that is too short for them is a damaged one: nothing.
std::optional<WORD> ImageCount(ResourceBytes const & group);

/// The number of the image at \p index of a group that has it.
WORD ImageId(ResourceBytes const & group, unsigned int index);

} // namespace Velmora
