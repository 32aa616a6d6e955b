#pragma once

#include <vector>

#include "VelmoraCommon/executable/GMPEInfo.h"
#include "VelmoraCommon/files/GMFileMapping.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Tools
{

/// What an executable file wants.
struct Need
{
    Velmora::GMString library;
    bool atFirstUse;
};

/// The headers and imports of one file, which may be damaged in any way.
class Image
{
public:
    /// \throws Failure if the file can't be read
    explicit Image(Velmora::GMString const & path);

    /// Whether it begins as every executable file does.
    bool IsExecutable() const;

    /// The headers of both widths differ, but their mark has one place.
    bool Is64Bit() const { return m_headers.OptionalHeader.Magic == IMAGE_NT_OPTIONAL_HDR64_MAGIC; }

    /// As it stands behind "a ".
    Velmora::GMString Kind() const;

    /// Each library once, in the order of the file; of a 64-bit file none.
    std::vector<Need> const & Needs() const { return m_needs; }

    /// Empty for a sound file.
    Velmora::GMString const & Trouble() const { return m_trouble; }

private:
    Velmora::GMPEInfo Info() const { return {m_mapping.GetMapAddress(), m_size}; }
    char const * At(DWORD rva, DWORD & left) const;
    template <class Descriptor, class Visit>
    bool ForEach(int directory, Visit visit) const;
    bool ReadNeeds();

    Velmora::GMFileMapping m_mapping;
    unsigned int m_size = 0;          // what lies beyond 4 GiB isn't seen
    _IMAGE_NT_HEADERS m_headers = {}; // of zeros if they aren't sound
    std::vector<Need> m_needs;
    Velmora::GMString m_trouble;
};

} // namespace Tools
