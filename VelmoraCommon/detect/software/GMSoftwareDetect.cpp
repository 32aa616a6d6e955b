#include "VelmoraCommon/detect/software/GMSoftwareDetect.h"

#include "VelmoraCommon/frame/internal/Wow64.h"
#include "VelmoraCommon/text/GMVersionUtils.h"

namespace Velmora
{

GMIsSoftwareInstalled::GMIsSoftwareInstalled() : m_test(nullptr) {}

GMIsSoftwareInstalled::GMIsSoftwareInstalled(bool (*test)()) : m_test(test) {}

bool GMIsSoftwareInstalled::operator()() { return m_test != nullptr && m_test(); }

GMSoftwareDetect::GMSoftwareDetect()
    : GMSoftwareDetect(GMDependSoftLib::GMLibs(), 0, 0, L"", nullptr)
{
}

GMSoftwareDetect::GMSoftwareDetect(GMDependSoftLib::GMLibs libs, unsigned int number1,
                                   unsigned int number2, wchar_t const * name,
                                   bool (*isInstalled)())
    : m_number1(number1),
      m_name(name),
      m_number2(number2),
      m_isInstalled(isInstalled),
      m_libs(libs),
      m_paramIsInstalled(false)
{
}

GMSoftwareDetect::GMSoftwareDetect(GMSoftwareDetect const &) = default;

GMSoftwareDetect & GMSoftwareDetect::operator=(GMSoftwareDetect const & other)
{
    m_name = other.m_name; // first, for it alone can throw
    m_number1 = other.m_number1;
    m_number2 = other.m_number2;
    m_isInstalled = other.m_isInstalled;
    m_libs = other.m_libs;
    return *this;
}

GMSoftwareDetect::~GMSoftwareDetect() = default;

void GMSoftwareDetect::SetParamIsInstalled(bool isInstalled) { m_paramIsInstalled = isInstalled; }

bool GMSoftwareDetect::GetParamIsInstalled() { return m_paramIsInstalled; }

bool GMSoftwareDetect::IsWow64() { return RunsUnderWow64(); }

bool GMSoftwareDetect::CheckVersion(GMString & file, GMString & minimum)
{
    GMString version;
    return GMVersionUtils::GetFileVersion(file, version) &&
           GMVersionUtils::VersionCompare(version, minimum) >= 0;
}

} // namespace Velmora
