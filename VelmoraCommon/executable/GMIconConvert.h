#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// Turns bitmaps into icon files (.ico), icons into bitmaps and PNG files, and files into icons.
///
/// Handles that come in stay the caller's, and those that come back become so. A bitmap that comes
/// in must not be selected into a device context. May be used from any thread.
class VELMORA_API GMIconConvert
{
public:
    /// Writes an icon file with one image, as MultiBitmapToIcon does.
    static bool BitmapToIcon(HBITMAP bitmap, GMString const & path);

    /// Writes an icon file with one image of 32 bits per pixel for each bitmap, in their order and
    /// with their sizes in pixels. The alpha channel of a bitmap is kept, and its mask says opaque.
    /// A file that exists is replaced.
    /// \return false if a bitmap can't be read, if there are more than 65,535, or if they come to
    ///     4 GB: no file is then made or touched; also if the file can't be made. Once it is made
    ///     the answer is true, whatever comes of the writing.
    static bool MultiBitmapToIcon(HBITMAP * bitmaps, unsigned int count, GMString const & path);

    /// Draws \p icon to a bitmap of 32 bits per pixel with an alpha channel, top row first, which
    /// the caller releases with `DeleteObject`. Of an icon without an alpha channel the mask tells
    /// which pixels are opaque.
    /// \param size in pixels; null for the size of the icon, which then must have colours
    /// \return null on failure, for a cursor, and for a size below 1
    static HBITMAP IconToBitmap(HICON icon, tagSIZE * size);

    /// Writes a PNG file with the pixels and the alpha channel or the mask of \p icon. GDI+ must
    /// have been started (`GdiplusStartup`).
    static bool GdiplusSaveHIconToPng(HICON icon, wchar_t const * path);

    /// The icon of a file, which the caller gives back with `DestroyIcon`: that of an icon file in
    /// the size \p width x \p height in pixels, or the small one of an executable file, in the
    /// system's size. A name without a folder is searched for, as `SearchPathW` does.
    /// \return null if there is none, also if the image for the system's small size is damaged, of an
    ///     executable file that in its first group; what else is damaged doesn't matter. 16-bit
    ///     programs have none.
    static HICON LoadIconFromFile(wchar_t const * path, int width, int height);
};

} // namespace Velmora
