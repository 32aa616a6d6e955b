#include "VelmoraCommon/shell/internal/ManifestLevel.h"

#include <algorithm>
#include <string_view>

#include "VelmoraCommon/shell/internal/ScrambledText.h"

namespace Velmora
{

namespace
{

constexpr ScrambledText ownLevel(L"asInvoker", 58);
constexpr ScrambledText highestLevel(L"highestAvailable", -33);
constexpr ScrambledText adminLevel(L"requireAdministrator", 7);

constexpr char mark[] = "requestedExecutionLevel level=\"";

/// What stands between \p mark and the next quote in \p manifest, of bytes or of units; false if either
/// is missing.
template <class Unit>
bool FindLevel(std::basic_string_view<Unit> manifest, std::basic_string_view<Unit> & level)
{
    auto const found =
        std::search(manifest.begin(), manifest.end(), std::begin(mark), std::end(mark) - 1);
    auto const begin = found == manifest.end() ? found : found + (std::size(mark) - 1);
    auto const end = std::find(begin, manifest.end(), Unit('"'));
    if (end == manifest.end())
        return false;
    level = manifest.substr(static_cast<std::size_t>(begin - manifest.begin()),
                            static_cast<std::size_t>(end - begin));
    return true;
}

/// The number of the first level for which \p fits accepts its name; 0 for none.
template <class Fits>
unsigned int LevelNumber(Fits fits)
{
    if (fits(std::wstring_view(ownLevel().c_str())))
        return 1;
    if (fits(std::wstring_view(highestLevel().c_str())))
        return 2;
    return fits(std::wstring_view(adminLevel().c_str())) ? administratorLevel : 0;
}

BOOL CALLBACK ReadManifest(HMODULE module, LPCWSTR type, LPWSTR name, LONG_PTR result)
{
    HRSRC const found = FindResourceW(module, name, type);
    HGLOBAL const loaded = found == nullptr ? nullptr : LoadResource(module, found);
    auto const * const bytes = static_cast<char const *>(LockResource(loaded));
    std::string_view level;
    if (bytes == nullptr || !FindLevel({bytes, SizeofResource(module, found)}, level))
        return TRUE;
    auto & number = *reinterpret_cast<unsigned int *>(result);
    number = LevelNumber(
        [level](std::wstring_view levelName)
        {
            return level.size() <= levelName.size() &&
                   std::equal(level.begin(), level.end(), levelName.begin());
        });
    return number == 0;
}

} // namespace

unsigned int ManifestLevel(HMODULE module)
{
    unsigned int level = 0;
    EnumResourceNamesW(module, RT_MANIFEST, &ReadManifest, reinterpret_cast<LONG_PTR>(&level));
    return level;
}

unsigned int ManifestLevel(GMString const & manifest)
{
    std::wstring_view level;
    if (!FindLevel(std::wstring_view(manifest), level))
        return 0;
    return LevelNumber([level](std::wstring_view levelName) { return level == levelName; });
}

} // namespace Velmora
