#include "VelmoraCommon/detect/software/GMSoftwareDetect.h"

#include "VelmoraCommon/detect/software/GMDotNetDetectX64.h"
#include "VelmoraCommon/detect/software/GMMSIProductDetect.h"

namespace Velmora
{

namespace
{

template <class Detector>
bool HasFlag(unsigned int flag)
{
    Detector detector;
    detector.Detect();
    return (detector.GetDotNetVersion().m_flags & flag) != 0;
}

bool HasProduct(wchar_t const * name)
{
    GMMSIProductDetect detector;
    detector.LoadProductList();
    GMMSIProductDetect::GMProductInfo product(name, 0, 0);
    return detector.DetectProduct(product);
}

} // namespace

bool GMSoftwareDetect::IsInstalled_DOTNET_10() { return HasFlag<GMDotNetDetect>(0x400); }

bool GMSoftwareDetect::IsInstalled_DOTNET_11_SP1() { return HasFlag<GMDotNetDetect>(0x800); }

bool GMSoftwareDetect::IsInstalled_DOTNET_35_SP1() { return HasFlag<GMDotNetDetect>(0x80); }

bool GMSoftwareDetect::IsInstalled_DOTNET_35_SP1_X64() { return HasFlag<GMDotNetDetectX64>(0x80); }

bool GMSoftwareDetect::IsInstalled_DOTNET_40() { return HasFlag<GMDotNetDetect>(0x100); }

bool GMSoftwareDetect::IsInstalled_DOTNET_40_X64() { return HasFlag<GMDotNetDetectX64>(0x100); }

bool GMSoftwareDetect::IsInstalled_DOTNET_45() { return HasFlag<GMDotNetDetect>(0x1000); }

bool GMSoftwareDetect::IsInstalled_Microsoft_Silverlight()
{
    return HasProduct(L"Microsoft Silverlight");
}

bool GMSoftwareDetect::IsInstalled_Microsoft_AppLocale()
{
    return HasProduct(L"Microsoft AppLocale");
}

} // namespace Velmora
