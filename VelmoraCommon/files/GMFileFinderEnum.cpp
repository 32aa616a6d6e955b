#include "VelmoraCommon/files/GMFileFinderEnum.h"

#include <algorithm>
#include <utility>

#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/internal/DirectoryListing.h"
#include "VelmoraCommon/files/internal/FileIdentity.h"
#include "VelmoraCommon/files/internal/PathText.h"
#include "VelmoraCommon/text/GMStringToken.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/text/internal/WhiteSpace.h"

namespace Velmora
{

GMFileFinderEnum::GMFileFinderEnum(GMFileFinderEnumCallback * callback, GMString const & patterns,
                                   bool ignoreCase, bool recursive)
    : m_ignoreCase(ignoreCase),
      m_recursive(recursive),
      m_patterns(patterns),
      m_callback(callback)
{
}

bool GMFileFinderEnum::Enumerate(GMString const & path)
{
    GMString plain = path;
    if (!plain.empty() && GMString(pathDelimiters).find(plain.back()) != GMString::npos)
        plain.pop_back();
    if (plain.empty() || !GMFilePathUtils::IsExists(plain))
        return false;

    TokenizePatterns();
    if (GMFilePathUtils::IsDirectory(plain))
        return Enum(plain);
    plain = Normalized(plain, GMFileName::smc_unquote | GMFileName::smc_backslashes);
    GMString::size_type const name =
        plain.rfind(GMFileName::GetDirDelimiter()) + 1; // npos + 1 is 0
    return EnumerateFile(plain.substr(0, name), plain.substr(name));
}

bool GMFileFinderEnum::Enum(GMString const & directory)
{
    std::vector<GMString> pending{directory}; // the next one at the back
    while (!pending.empty())
    {
        GMString current = std::move(pending.back());
        pending.pop_back();
        GMString forCallback = current;
        if (m_callback != nullptr && m_callback->OnDirectory(forCallback) != 0)
            return false;

        current += GMFileName::GetDirDelimiter();
        std::vector<GMString> subDirectories;
        if (!EnumerateEntries(current, subDirectories))
            return false;
        if (!m_recursive)
            return true;
        std::sort(subDirectories.begin(), subDirectories.end());
        for (auto name = subDirectories.rbegin(); name != subDirectories.rend(); ++name)
            pending.push_back(current + *name);
    }
    return true;
}

bool GMFileFinderEnum::EnumerateEntries(GMString const & directory,
                                        std::vector<GMString> & subDirectories)
{
    for (DirectoryListing listing(directory); listing.Next();)
    {
        if (!listing.IsDirectory())
        {
            if (!EnumerateFile(directory, listing.Name()))
                return false;
            continue;
        }
        if (listing.IsLink() && LeadsUpward(directory + listing.Name()))
            continue;
        if (!EnumerateDir(directory, listing.Name(), subDirectories))
            return false;
    }
    return true;
}

bool GMFileFinderEnum::EnumerateDir(GMString const & directory, GMString const & name,
                                    std::vector<GMString> & subDirectories)
{
    if (m_patterns.empty() || !CompareList(m_patternList, directory + name, m_ignoreCase))
        subDirectories.push_back(name);
    return m_callback == nullptr || m_callback->IsStopped() == 0;
}

bool GMFileFinderEnum::EnumerateFile(GMString directory, GMString name)
{
    return m_callback == nullptr ||
           (m_callback->OnFile(name, directory) == 0 && m_callback->IsStopped() == 0);
}

void GMFileFinderEnum::Tokenize(std::list<GMString> & list, GMString const & text)
{
    std::vector<GMString> pieces;
    GMStringToken::StringToken(text, L";", pieces);
    for (GMString & piece : pieces)
    {
        GMStringUtils::Trim(piece, whiteSpace);
        if (!piece.empty())
            list.push_back(std::move(piece));
    }
}

void GMFileFinderEnum::TokenizePatterns()
{
    if (m_patterns.empty())
        return;
    m_patternList.clear();
    Tokenize(m_patternList, m_patterns);
}

bool GMFileFinderEnum::CompareList(std::list<GMString> const & list, GMString const & text,
                                   bool ignoreCase)
{
    return std::any_of(list.begin(), list.end(),
                       [&](GMString const & pattern)
                       { return CompareStrings(pattern, text, ignoreCase); });
}

bool GMFileFinderEnum::CompareStrings(GMString const & pattern, GMString const & text,
                                      bool ignoreCase)
{
    return GMStringUtils::WildcardCompare(pattern.c_str(), text.c_str(), ignoreCase);
}

} // namespace Velmora
