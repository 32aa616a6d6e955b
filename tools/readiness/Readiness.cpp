#include "tools/readiness/Readiness.h"

#include <algorithm>
#include <map>

#include "VelmoraCommon/files/GMTextReader.h"
#include "VelmoraCommon/text/GMStringToken.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/text/GMVersionUtils.h"
#include "tools/common/Messages.h"

using namespace Velmora;

namespace Tools
{
namespace
{

constexpr wchar_t blanks[] = L" \t\r";

GMString Trimmed(GMString text)
{
    GMStringUtils::Trim(text, blanks);
    return text;
}

/// What a file asks for.
struct Wanted
{
    GMString game;
    GMDependSoftLib set;
    std::map<GMString, GMString> minima; // by the word of the prerequisite
};

bool IsVersion(GMString const & text)
{
    return !text.empty() && text.find_first_not_of(L"0123456789.") == GMString::npos;
}

/// Whether every flag of a text in the form of a set is known; a slip must not ask for less.
bool IsWholeSet(GMString const & text, std::vector<Prerequisite> const & known)
{
    if (text.empty() || text[0] != L'A')
        return IsVersion(text) && GMDependSoftLib(text.c_str()).FormatToString() == text;
    std::vector<GMString> pieces;
    GMStringToken::StringToArray(text.substr(1), L',', pieces);
    return !pieces.empty() &&
           std::all_of(pieces.begin(), pieces.end(),
                       [&known](GMString const & piece)
                       {
                           GMString const id = Trimmed(piece);
                           return std::any_of(
                               known.begin(), known.end(),
                               [&id](Prerequisite const & each)
                               {
                                   return GMStringUtils::CompareNoCase(
                                              id, GMStringUtils::FormatResult(
                                                      L"%X", each.record.m_number1)) == 0;
                               });
                       });
}

void ReadLine(GMString const & line, std::vector<Prerequisite> const & known, Wanted & wanted)
{
    GMString::size_type const mark = line.find(L'=');
    GMString const word = Trimmed(line.substr(0, mark));
    GMString const value = mark == GMString::npos ? GMString() : Trimmed(line.substr(mark + 1));
    if (word == L"game")
    {
        wanted.game = value;
        return;
    }
    if (word == L"needs")
    {
        if (!IsWholeSet(value, known))
            throw Failure{L"\"" + value + L"\" is no set of known prerequisites"};
        GMDependSoftLib more(value.c_str());
        wanted.set.m_libs = wanted.set.m_libs | more.m_libs;
        return;
    }
    auto const found =
        std::find_if(known.begin(), known.end(),
                     [&word](Prerequisite const & each) { return each.record.m_name == word; });
    if (found == known.end())
        throw Failure{L"\"" + word + L"\" isn't known; --list tells what is"};
    if (!value.empty() && (!IsVersion(value) || found->version == nullptr))
        throw Failure{L"\"" + value + L"\" isn't a version that can be asked for here"};
    wanted.minima[word] = value;
}

Wanted ReadNeeds(GMString const & path, std::vector<Prerequisite> const & known)
{
    GMTextReader reader(path);
    if (!reader.LoadContent(true))
        throw Failure{path + L": can't be read"};
    std::vector<GMString> lines;
    GMStringToken::StringToArray(reader.GetFileContent(), L'\n', lines);
    Wanted wanted;
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        GMString const line = Trimmed(lines[i].substr(0, lines[i].find(L'#')));
        try
        {
            if (!line.empty())
                ReadLine(line, known, wanted);
        }
        catch (Failure const & failure)
        {
            throw Failure{
                path +
                GMStringUtils::FormatResult(L", line %u: ", static_cast<unsigned int>(i + 1)) +
                failure.text};
        }
    }
    return wanted;
}

Need Ask(Prerequisite prerequisite, GMString const & minimum)
{
    bool const isThere = prerequisite.record.m_isInstalled();
    prerequisite.record.SetParamIsInstalled(isThere);
    GMString const found =
        isThere && prerequisite.version != nullptr ? prerequisite.version() : GMString();
    bool const isNewEnough =
        minimum.empty() || (!found.empty() && GMVersionUtils::VersionCompare(found, minimum) >= 0);
    return {prerequisite, minimum, found, isThere && isNewEnough};
}

} // namespace

bool Readiness::IsReady() const
{
    return std::all_of(needs.begin(), needs.end(), [](Need const & need) { return need.isOk; });
}

Readiness CheckReadiness(GMString const & path)
{
    std::vector<Prerequisite> const known = KnownPrerequisites();
    Wanted wanted = ReadNeeds(path, known);
    Readiness readiness = {wanted.game, {}};
    for (Prerequisite const & each : known)
    {
        auto const minimum = wanted.minima.find(each.record.m_name);
        GMDependSoftLib::GMLibs flag = each.record.m_libs;
        if (minimum != wanted.minima.end())
            readiness.needs.push_back(Ask(each, minimum->second));
        else if (wanted.set.m_libs & flag)
            readiness.needs.push_back(Ask(each, GMString()));
    }
    if (readiness.needs.empty())
        throw Failure{path + L": asks for nothing"};
    return readiness;
}

} // namespace Tools
