#include "VelmoraCommon/detect/software/GMSoftwareDetect.h"

#include <algorithm>
#include <iterator>

#include "VelmoraCommon/detect/software/GMOpenALDetect.h"
#include "VelmoraCommon/detect/software/GMPhysXDetect.h"
#include "VelmoraCommon/detect/software/GMXLiveDetect.h"
#include "VelmoraCommon/detect/software/GMXNADetect.h"
#include "VelmoraCommon/detect/software/internal/SystemFolders.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"

namespace Velmora
{

namespace
{

// The last helper libraries that came with a redistributable of DirectX.
constexpr wchar_t const * directXFiles[] = {L"\\D3DX9_43.dll", L"\\d3dx10_43.dll",
                                            L"\\d3dx11_43.dll"};
constexpr wchar_t directXMinimum[] = L"9.29.952.3111";

template <class Detector>
bool IsInstalled()
{
    Detector detector;
    detector.Detect();
    return detector.IsInstalled();
}

bool HasXNA(unsigned int bit)
{
    GMXNADetect detector;
    detector.Detect();
    return (detector.GetXNAVersion() & bit) != 0;
}

} // namespace

bool GMSoftwareDetect::IsInstalled_DIRECTX()
{
    GMString const directory = LibraryFolder();
    GMString minimum = directXMinimum;
    return !directory.empty() && std::all_of(std::begin(directXFiles), std::end(directXFiles),
                                             [&](wchar_t const * name)
                                             {
                                                 GMString file = directory + name;
                                                 return GMFilePathUtils::IsExistsFile(file) &&
                                                        CheckVersion(file, minimum);
                                             });
}

bool GMSoftwareDetect::IsInstalled_XNA_31() { return HasXNA(8); }

bool GMSoftwareDetect::IsInstalled_XNA_40() { return HasXNA(16); }

bool GMSoftwareDetect::IsInstalled_OPENAL() { return IsInstalled<GMOpenALDetect>(); }

bool GMSoftwareDetect::IsInstalled_PHYSX() { return IsInstalled<GMPhysXDetect>(); }

bool GMSoftwareDetect::IsInstalled_XLIVE() { return IsInstalled<GMXLiveDetect>(); }

} // namespace Velmora
