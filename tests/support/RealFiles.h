#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace Velmora::Testing
{

/// Executable files that others made: the programs and libraries in the folder \p kind ("32", "64")
/// of those that scripts/real-files gathers, smallest first. None where nothing was gathered.
inline std::vector<std::wstring> RealFiles(char const * kind)
{
    std::vector<std::filesystem::path> found;
    char const * const place = std::getenv("VELMORA_REAL_FILES");
    std::error_code failure;
    for (auto const & entry : std::filesystem::directory_iterator(
             std::filesystem::path(place == nullptr ? "" : place) / kind, failure))
    {
        auto const extension = entry.path().extension();
        if (extension == ".exe" || extension == ".dll")
            found.push_back(entry.path());
    }
    std::sort(found.begin(), found.end(),
              [](auto const & left, auto const & right)
              { return file_size(left) < file_size(right); });
    std::vector<std::wstring> paths;
    for (auto & path : found)
        paths.push_back(path.make_preferred().wstring());
    return paths;
}

} // namespace Velmora::Testing

/// Leaves the test with a reason when there are no such files.
#define VELMORA_SKIP_WITHOUT(files)                                                                \
    if ((files).empty())                                                                           \
    GTEST_SKIP() << "no real files: scripts/real-files gathers them, VELMORA_REAL_FILES names "    \
                    "them"
