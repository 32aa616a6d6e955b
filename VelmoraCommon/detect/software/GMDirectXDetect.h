#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// Which version of DirectX the system has, by its diagnosis tool or else by the versions of its
/// files. A plain value: a copy has the answers of the last Detect.
///
/// Operations that give `long` give 0 for success and the system's `HRESULT` codes for failure. A
/// letter is that of "9.0c", a blank if there is none.
class VELMORA_API GMDirectXDetect
{
public:
    GMDirectXDetect();

    /// Asks the diagnosis tool, and looks at the files where that fails.
    void Detect();

    /// A code of the major version that Detect found: 0 for none, 2 for 9, 4 for 10, 8 for 11 and 1
    /// for any other.
    unsigned int GetDirectXVersion();

    /// What Detect finds; the letter is in lower case.
    long GetDXVersion(unsigned long * major, unsigned long * minor, wchar_t * letter);

    /// What the diagnosis tool says. On failure the arguments stay as they were.
    ///
    /// The tool needs a thread that isn't in a multi-threaded COM apartment: it works on one that
    /// is in a single-threaded one already, and on others it may fail.
    long GetDirectXVersionViaDxDiag(unsigned long * major, unsigned long * minor, wchar_t * letter);

    /// The highest version that the files of the system directory show, up to 9.0; 0.0 without any.
    /// It never fails.
    long GetDirectXVersionViaFileVersions(unsigned long * major, unsigned long * minor,
                                          wchar_t * letter);

    /// The product version of a file. `E_INVALIDARG` for a null argument, `E_FAIL` for a file
    /// without one.
    long GetFileVersion(wchar_t * path, ULARGE_INTEGER * version);

    /// A version of four numbers, \p a the highest.
    ULARGE_INTEGER MakeInt64(unsigned short a, unsigned short b, unsigned short c,
                             unsigned short d);

    /// 1, -1 or 0, as \p a is greater, less or equal.
    int CompareLargeInts(ULARGE_INTEGER a, ULARGE_INTEGER b);

private:
    unsigned int m_major;
    unsigned int m_minor;
    unsigned int m_letter;                    // in lower case
    [[maybe_unused]] unsigned int m_reserved; // always 0
};

} // namespace Velmora
