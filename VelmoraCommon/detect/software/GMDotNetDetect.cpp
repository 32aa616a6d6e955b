#include "VelmoraCommon/detect/software/GMDotNetDetect.h"

#include <iterator>

#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/text/GMVersionUtils.h"

namespace Velmora
{

namespace
{

constexpr wchar_t key10[] = L"SOFTWARE\\Microsoft\\NET Framework Setup\\Full\\v1.0.3705";
constexpr wchar_t key40Full[] = L"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\v4\\Full";

constexpr unsigned int flag40Full = 0x100;
constexpr unsigned int flag40Client = 0x200;
constexpr unsigned int flag10 = 0x400;
constexpr unsigned int flag45 = 0x1000;

struct ServicePackRow
{
    wchar_t const * key;
    unsigned int flags[3]; // by service pack; higher ones have none
};
constexpr ServicePackRow servicePackRows[] = {
    {L"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\v1.1.4322", {0, 0x800, 0}},
    {L"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\v2.0.50727", {0x1, 0x2, 0x4}},
    {L"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\v3.0", {0x8, 0x10, 0x20}},
    {L"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\v3.5", {0x40, 0x80, 0}},
};
constexpr wchar_t key40Client[] = L"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\v4\\Client";

struct ReleaseRow
{
    unsigned long least;
    unsigned int flag;
};
// The first row that is reached; a number below all is no 4.5.
constexpr ReleaseRow releaseRows[] = {
    {533320, 0x400000}, // 4.8.1 or later
    {528040, 0x200000}, // 4.8
    {461808, 0x100000}, // 4.7.2
    {461308, 0x80000},  // 4.7.1
    {460798, 0x40000},  // 4.7
    {394802, 0x20000},  // 4.6.2
    {394254, 0x10000},  // 4.6.1
    {393295, 0x8000},   // 4.6
    {379893, 0x4000},   // 4.5.2
    {378675, 0x2000},   // 4.5.1
    {378389, flag45},
};

unsigned int FlagOfRelease(unsigned long release)
{
    for (ReleaseRow const & row : releaseRows)
    {
        if (release >= row.least)
            return row.flag;
    }
    return 0;
}

/// Reads whether \p key says that something is installed, and its service pack. The latter is read
/// only if the former is there.
bool ReadInstall(GMRegFile & key, unsigned char & servicePack)
{
    unsigned long install = 0;
    if (!key.GetValue(L"Install", install))
        return false;
    servicePack = static_cast<unsigned char>(key.GetUInt32Value(L"SP", 0));
    return install != 0;
}

/// The same for 4.x, which tells its version, too.
bool ReadInstall(GMRegFile & key, wchar_t const * minimum, unsigned char & servicePack)
{
    GMString version;
    return key.GetValue(L"Version", version) &&
           GMVersionUtils::VersionCompare(version, minimum) >= 0 && ReadInstall(key, servicePack);
}

} // namespace

GMDotNetDetect::GMDotNetDetect() : GMDotNetDetect(0) {}

GMDotNetDetect::GMDotNetDetect(REGSAM viewAccess) : m_version{0, 0}, m_viewAccess(viewAccess) {}

GMDotNetDetect::~GMDotNetDetect() = default;

void GMDotNetDetect::Detect()
{
    m_version.m_flags = 0;
    unsigned char servicePack = 0;
    if (CheckDotnet_1_0())
        m_version.m_flags |= flag10;
    for (ServicePackRow const & row : servicePackRows)
    {
        GMString key = row.key;
        if (CheckDotnet(key.data(), servicePack) && servicePack < std::size(row.flags))
            m_version.m_flags |= row.flags[servicePack];
    }
    if (CheckDotnet_4_0(servicePack))
        m_version.m_flags |= flag40Full;
    GMString client = key40Client;
    if (CheckDotnet(client.data(), servicePack))
        m_version.m_flags |= flag40Client;
    if (CheckDotnet_4_5(servicePack, m_version.m_release))
        m_version.m_flags |= flag45;
}

GMDotNetDetect::GMDotNetVersion GMDotNetDetect::GetDotNetVersion() const { return m_version; }

bool GMDotNetDetect::CheckDotnet_1_0()
{
    return GMRegFile().OpenKey(HKEY_LOCAL_MACHINE, key10, KEY_QUERY_VALUE | m_viewAccess, false);
}

bool GMDotNetDetect::CheckDotnet(wchar_t * key, unsigned char & servicePack)
{
    servicePack = 0;
    GMRegFile file;
    return file.OpenKey(HKEY_LOCAL_MACHINE, key, KEY_QUERY_VALUE | m_viewAccess, false) &&
           ReadInstall(file, servicePack);
}

bool GMDotNetDetect::CheckDotnet_4_0(unsigned char & servicePack)
{
    servicePack = 0;
    GMRegFile file;
    return file.OpenKey(HKEY_LOCAL_MACHINE, key40Full, KEY_QUERY_VALUE | m_viewAccess, false) &&
           ReadInstall(file, L"4.0", servicePack);
}

bool GMDotNetDetect::CheckDotnet_4_5(unsigned char & servicePack, unsigned int & release)
{
    servicePack = 0;
    GMRegFile file;
    if (!file.OpenKey(HKEY_LOCAL_MACHINE, key40Full, KEY_QUERY_VALUE | m_viewAccess, false))
        return false;
    release = file.GetUInt32Value(L"Release", 0);
    m_version.m_flags |= FlagOfRelease(release);
    return release != 0 && ReadInstall(file, L"4.5", servicePack);
}

} // namespace Velmora
