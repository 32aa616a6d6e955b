#include "VelmoraCommon/files/GMFileFinderEnum.h"

#include <algorithm>
#include <utility>

#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/internal/PathText.h"
#include "VelmoraCommon/files/internal/TreeWalk.h"
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
    GMFileName::NormalizePath(plain, GMFileName::smc_unquote | GMFileName::smc_backslashes);
    GMString::size_type const name =
        plain.rfind(GMFileName::GetDirDelimiter()) + 1; // npos + 1 is 0
    return EnumerateFile(plain.substr(0, name), plain.substr(name));
}

bool GMFileFinderEnum::Enum(GMString const & directory)
{
    TreeWalk walk(directory + GMFileName::GetDirDelimiter(), TreeWalk::Links::followed);
    std::vector<GMString> subDirectories;
    for (;;)
    {
        switch (walk.Next())
        {
        case TreeStep::entered:
            if (GMString path = walk.Path(); m_callback && m_callback->OnDirectory(path) != 0)
                return false;
            break;
        case TreeStep::directory:
            if (!EnumerateDir(walk.Directory(), walk.Name(), subDirectories))
                return false;
            break;
        case TreeStep::left:
            if (!m_recursive)
                return true;
            std::sort(subDirectories.begin(), subDirectories.end());
            walk.Enter(subDirectories);
            subDirectories.clear();
            break;
        case TreeStep::end:
            return true;
        default:
            if (!EnumerateFile(walk.Directory(), walk.Name()))
                return false;
        }
    }
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
