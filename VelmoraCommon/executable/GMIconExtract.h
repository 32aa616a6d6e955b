#pragma once

#include <memory>
#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

class ResourceModule;

/// One image of an icon group in memory. Widths and heights are in pixels.
struct ICON_IMAGE
{
    unsigned int width;             ///< 0 for a PNG image, as the height
    unsigned int height;            ///< of the icon: half of what the bitmap's header says
    unsigned int colorBits;         ///< bits per pixel; 32 for a PNG image
    unsigned char * data;           ///< the image's bytes, a block of `malloc` of their own
    unsigned int dataSize;          ///< in bytes
    BITMAPINFOHEADER * header;      ///< the start of the bytes, also where they are a PNG stream
    unsigned char * colorBitsStart; ///< the pixels; null for a PNG image, and outside of the bytes
    unsigned char * maskBitsStart;  ///< the mask; null where the pixels are null, and likewise
};

/// One icon group in memory, with room behind it for all of its images.
struct ICON_RESOURCE
{
    unsigned int changed;    ///< 0
    wchar_t icoName[260];    ///< empty
    wchar_t sourceName[260]; ///< path of the module; cut if it is longer
    unsigned int imageCount; ///< of the icon, in sizes and colours
    ICON_IMAGE images[1];    ///< as many as there are
};

/// The icons of an executable file: a list of its icon groups, one image of a group as an icon, and
/// a whole group as an icon file (.ico).
///
/// The file is loaded as data; none of its code runs. It may be damaged in any way: nothing outside
/// of it is read, and a file whose resource tables lead out of it has no groups. A copy shares the
/// module, which goes with the last of them, and has lists of its own. Use from one thread at a
/// time.
///
/// A group is named by a text, or by a number in a pointer's place (`MAKEINTRESOURCE`).
///
/// Icons that are returned are made by `CreateIconFromResource`: in the size that the system gives
/// icons, whatever the image's, and shared. The system owns them until the process ends, so don't
/// destroy them, and ask once for one that is needed often. (`CopyIcon` makes one of the caller's
/// own.) An image must be whole, but for its mask; a PNG image must not be wider or higher than 1,024
/// pixels.
class VELMORA_API GMIconExtract
{
public:
    /// Loads \p path; IsOpen tells whether that went well. If not, all other operations answer with
    /// false, null or 0.
    explicit GMIconExtract(GMString const & path);
    ~GMIconExtract();
    GMIconExtract(GMIconExtract const &);
    GMIconExtract & operator=(GMIconExtract const &);

    /// Whether a file is loaded.
    bool IsOpen();

    /// Appends the groups of the file to the lists of this object, also if they are there already.
    /// The operations below do it by themselves as long as the lists are empty.
    /// \throws std::bad_alloc if there is no memory for them, as these do; the lists are empty then
    bool EnumIconNums();

    /// How many groups there are, with names and with numbers.
    unsigned int GetIconNums();

    /// Sets \p numbers to the groups that have numbers. \return those that have names
    std::vector<GMString> GetIconIDs(std::vector<unsigned __int64> & numbers);

    /// The icon of the first group, as GetIcon gives it for 48 x 48 pixels of 32 bits if other
    /// images will do. Groups with names come before those with numbers.
    HICON GetDefultIcon();

    /// The first image of \p group with exactly this size in pixels and depth in bits per pixel. A
    /// PNG image has the size that it says, and 32 bits.
    /// \param exact when there is none: true for null, false for the last image that is deeper than
    ///     the last such one before it and at least as wide and as high
    HICON GetIcon(wchar_t const * group, int width, int height, unsigned int bitDepth, bool exact);

    /// The image with the number \p imageId, of which the low 16 bits count; \p group is ignored.
    /// For 0xFFFFFFFF it is the image of \p group that fits the screen best.
    HICON GetIcon(wchar_t const * group, unsigned int imageId);

    /// Writes the first group to an icon file, which replaces one that exists. Images stay as they
    /// are but for the size that a bitmap's header may tell, which becomes 0.
    /// \return false also if writing fails half way; the file then stays as far as it was written
    bool SaveIcon(GMString & path);

private:
    wchar_t const * FirstGroup();
    void EnumIconNumsOnce();
    ICON_RESOURCE * ReadIcon(wchar_t const * group);
    bool SaveFile(ICON_RESOURCE * icon, GMString & path);
    struct Enumeration;
    void AddGroup(wchar_t const * group);
    static int __stdcall EnumResourceNamesFunc(HINSTANCE module, wchar_t const * type,
                                               wchar_t * name, LONG_PTR object);

    enum class GroupKind
    {
        None,
        Number,
        Name
    };

    GMString m_path;
    std::vector<GMString> m_names;
    std::vector<unsigned __int64> m_numbers;
    std::shared_ptr<ResourceModule const> m_module;
    GroupKind m_firstKind;
};

} // namespace Velmora
