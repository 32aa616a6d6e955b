#pragma once

#include <memory>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMBuffer.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// The directory of an icon file (.ico): which sizes the file holds, and the bytes of one image.
///
/// Only the directory is read and kept; images are read when they are asked for, and not decoded.
/// Widths and heights are in pixels. A copy shares the directory, which goes with the last of them.
/// Use from one thread at a time.
class VELMORA_API GMIconFile
{
public:
    /// Has no directory and never gets one, for there is no path to read it from.
    GMIconFile();

    /// Reads the directory of \p path; IsValidIco tells whether that went well.
    explicit GMIconFile(GMString const & path);

    virtual ~GMIconFile();

    /// Copies the images.
    GMIconFile(GMIconFile const &);

    /// Takes the images of another one.
    GMIconFile & operator=(GMIconFile const &);

    /// Reads the directory anew, from the path that the object was made with; \p path is ignored.
    /// While somebody else has the file open this fails.
    void ReadIcoFromFile(GMString const & path);

    /// Whether the directory was read in full. The marks of an icon file and the images aren't
    /// looked at, so many another file is valid, too.
    bool IsValidIco();

    /// Whether an image has the low 8 bits of \p width and \p height: 256 finds the images of 256,
    /// which are written as 0, and so does 0.
    bool QuerySize(int width, int height);

    /// Finds the smallest image that is larger than \p width x \p height in both directions, as far
    /// as images can be compared: one is smaller than another if it is so in both directions, and
    /// of those that aren't the first counts. Of images of 256 x 256 only those of 32 bits per
    /// pixel are taken for such.
    /// \return false if there is none; the two results then stay as they were
    bool QueryBetter(int width, int height, int & betterWidth, int & betterHeight);

    /// Reads the first image of exactly this size that lies within the file, a PNG stream or a
    /// bitmap without file header. Images of 256 x 256 as in QueryBetter.
    /// \return false if there is none or the file can't be read
    bool ReadBuffer(GMBuffer<unsigned char> & buffer, int width, int height);

private:
    struct IconDirectory;

    void CreateIconDir();
    void ReleaseIconDir();

    GMString m_path;
    std::shared_ptr<IconDirectory> m_directory; // null when none is loaded
    bool m_isValid;
};

} // namespace Velmora
