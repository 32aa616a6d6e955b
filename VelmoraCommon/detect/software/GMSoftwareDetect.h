#pragma once

#include "VelmoraCommon/detect/software/GMDependSoftLib.h"
#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// A yes-or-no test of one prerequisite, or none. A plain value.
class VELMORA_API GMIsSoftwareInstalled
{
public:
    /// No test.
    GMIsSoftwareInstalled();

    /// \p test may be null, for none.
    explicit GMIsSoftwareInstalled(bool (*test)());

    /// The answer of the test; false without one.
    bool operator()();

private:
    bool (*m_test)();
};

/// The record of one prerequisite, which ties its flags and its name to its test; and the tests.
///
/// The list of prerequisites, with what a flag and a number stand for, is the client's: the library
/// makes no record and reads none of the fields. Copies are independent.
///
/// A test asks the system anew each time, changes nothing, and takes every failure for a no. It
/// throws nothing but std::bad_alloc. Those with `X64` look for the 64-bit software, also from a
/// 32-bit process; in a 64-bit process they are the ones to ask. A 32-bit system isn't told apart:
/// there they look where the others look. Any thread may run a test; those that ask COM (DirectX's
/// detector, Flash, MSXML) work with whatever apartment the thread has, or enter the multi-threaded
/// one for their time.
class VELMORA_API GMSoftwareDetect
{
public:
    /// A record without flags, name and test.
    GMSoftwareDetect();

    /// Sets the fields of these names. \p name is copied; \p isInstalled may be null.
    GMSoftwareDetect(GMDependSoftLib::GMLibs libs, unsigned int number1, unsigned int number2,
                     wchar_t const * name, bool (*isInstalled)());

    /// Copies all fields.
    GMSoftwareDetect(GMSoftwareDetect const &);

    /// Takes all fields but m_paramIsInstalled.
    GMSoftwareDetect & operator=(GMSoftwareDetect const & other);
    virtual ~GMSoftwareDetect();

    /// Sets m_paramIsInstalled.
    void SetParamIsInstalled(bool isInstalled);

    /// What m_paramIsInstalled says; false in a new record.
    bool GetParamIsInstalled();

    /// Whether this process is a 32-bit one on a 64-bit system. Asked once a process.
    static bool IsWow64();

    /// Whether the file version of \p file is \p minimum or later; false for a file without one.
    static bool CheckVersion(GMString & file, GMString & minimum);

    // Visual C++ 2005 and 2008 by their side-by-side assemblies: every file of one servicing
    // version, or of any on a system where they have other places.
    static bool IsInstalled_VC2005();
    static bool IsInstalled_VC2005_X64();
    static bool IsInstalled_VC2008();
    static bool IsInstalled_VC2008_X64();

    // Visual C++ from 2010 on by the files in the system directory and the version of one of them.
    static bool IsInstalled_VC2010();
    static bool IsInstalled_VC2010_X64();
    static bool IsInstalled_VC2012();
    static bool IsInstalled_VC2012_X64();
    static bool IsInstalled_VC2013();
    static bool IsInstalled_VC2013_X64();
    static bool IsInstalled_VC2015();
    static bool IsInstalled_VC2015_X64();

    // Visual C++ service packs by the products that the installer knows, see GMVCRedistDetect.
    static bool IsInstalled_VC2005_SP1();
    static bool IsInstalled_VC2008_SP1();
    static bool IsInstalled_VC2010_SP1();

    /// The search of the 2005 tests for another servicing version: the first directory that fits
    /// each pattern has to hold all files of its assembly. Later ones aren't looked at.
    /// \param directory ends in `\`
    static bool FindOtherVersionVC2005File(GMString const & directory, GMString const & atlPattern,
                                           GMString const & crtPattern,
                                           GMString const & mfcPattern);
    static bool FindOtherVersionVC2008File(GMString const & directory, GMString const & atlPattern,
                                           GMString const & crtPattern,
                                           GMString const & mfcPattern);

    /// The same on Windows 11: any directory that fits \p pattern may hold the one file that counts.
    static bool FindOtherVersionVC2005FileByWin11(GMString const & directory,
                                                  GMString const & pattern);
    static bool FindOtherVersionVC2008FileByWin11(GMString const & directory,
                                                  GMString const & pattern);

    // .NET Framework, see GMDotNetDetect.
    static bool IsInstalled_DOTNET_10();
    static bool IsInstalled_DOTNET_11_SP1();
    static bool IsInstalled_DOTNET_35_SP1();
    static bool IsInstalled_DOTNET_35_SP1_X64();
    static bool IsInstalled_DOTNET_40();
    static bool IsInstalled_DOTNET_40_X64();
    static bool IsInstalled_DOTNET_45();

    // Products by the name that the installer has for them, see GMMSIProductDetect.
    static bool IsInstalled_Microsoft_Silverlight();
    static bool IsInstalled_Microsoft_AppLocale();

    /// The helper libraries of the last DirectX redistributable, for this process's width.
    static bool IsInstalled_DIRECTX();

    // Runtimes of games, see the detectors of these names.
    static bool IsInstalled_XNA_31();
    static bool IsInstalled_XNA_40();
    static bool IsInstalled_OPENAL();
    static bool IsInstalled_PHYSX();
    static bool IsInstalled_XLIVE();

    // Plug-ins, see the detectors of these names.
    static bool IsInstalled_FLASH();
    static bool IsInstalled_JAVA();

    // MSXML: whether its document can be made here; for 64 bits whether its file is there.
    static bool IsInstalled_MSXML_3_0();
    static bool IsInstalled_MSXML_3_0_X64();
    static bool IsInstalled_MSXML_6_0();
    static bool IsInstalled_MSXML_6_0_X64();

    /// The same, and the description of its file, which alone tells the service pack.
    static bool IsInstalled_MSXML_4_0_SP3();

    unsigned int m_number1;              // the client's
    GMString m_name;                     // of the prerequisite
    unsigned int m_number2;              // the client's
    GMIsSoftwareInstalled m_isInstalled; // the test
    GMDependSoftLib::GMLibs m_libs;      // what this record stands for
    bool m_paramIsInstalled;             // a mark that the client sets and reads
};

} // namespace Velmora
