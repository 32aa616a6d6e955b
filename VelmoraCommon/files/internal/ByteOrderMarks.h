#pragma once

namespace Velmora
{

// The marks with which a text file tells its encoding.
constexpr unsigned char utf8Mark[] = {0xEF, 0xBB, 0xBF};
constexpr unsigned char utf16Mark[] = {0xFF, 0xFE}; // little endian
constexpr unsigned char utf16BigEndianMark[] = {0xFE, 0xFF};

} // namespace Velmora
