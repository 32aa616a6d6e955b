#include "tools/peinspect/Report.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/text/GMVersionUtils.h"
#include "tools/common/Messages.h"

using namespace Velmora;

namespace Tools
{
namespace
{

constexpr wchar_t const * textNames[] = {L"FileDescription",  L"FileVersion",  L"ProductName",
                                         L"ProductVersion",   L"CompanyName",  L"LegalCopyright",
                                         L"LegalTrademarks",  L"Comments",     L"InternalName",
                                         L"OriginalFilename", L"PrivateBuild", L"SpecialBuild"};

/// The texts from number \p first on.
GMString Joined(std::vector<GMString> const & texts, std::size_t first = 0)
{
    GMString all;
    for (std::size_t i = first; i < texts.size(); ++i)
        all += (i == first ? L"" : L", ") + texts[i];
    return all;
}

/// Who needs a library, and by way of whom; nobody needs the inspected file itself.
GMString NeededBy(Tree const & tree, std::size_t number)
{
    std::vector<GMString> const way = tree.Names(tree.Way(number));
    if (way.empty())
        return GMString();
    GMString const between = Joined(way, 1);
    GMString const others = Joined(tree.Names(tree.libraries[number].neededBy), 1);
    return L" (needed by " + way.front() + (between.empty() ? L"" : L", via " + between) +
           (others.empty() ? L"" : L"; also by " + others) + L")";
}

void TellProblems(Report const & report)
{
    Tree const & tree = report.tree;
    for (std::size_t const number : tree.Problems())
    {
        Library const & library = tree.libraries[number];
        GMString line = library.state == State::missing ? L"missing" : L"unusable";
        line += (library.atFirstUse ? L" at first use: " : L": ") + library.name;
        if (library.state == State::unusable)
            line += L": " + library.path + (library.path.empty() ? L"" : L" ") + library.trouble;
        Print(stdout, OnOneLine(line + NeededBy(tree, number)),
              library.atFirstUse ? Tone::warning : Tone::bad);
    }
    if (report.image.Is64Bit())
        Print(stdout, L"a " + report.image.Kind() +
                          L": only of 32-bit files the imports are read, so what is missing isn't "
                          L"known");
    else if (tree.Problems().empty())
        Print(stdout,
              GMStringUtils::FormatResult(L"nothing is missing; libraries found: %u",
                                          static_cast<unsigned int>(tree.libraries.size() - 1)),
              Tone::good);
    if (!report.search.Runs32Bit() &&
        std::any_of(tree.libraries.begin() + 1, tree.libraries.end(),
                    [](Library const & library) { return library.is64Bit && library.isHidden; }))
        Print(stdout, L"note: this Windows runs no 32-bit programs; its 64-bit libraries stand for "
                      L"the 32-bit ones");
}

constexpr std::size_t shownIcons = 10; // groups; as JSON there are all

void TellImprint(Report const & report)
{
    Imprint const & imprint = report.imprint;
    Print(stdout, L"\n" + report.path);
    Print(stdout, L"  a " + report.image.Kind());
    if (imprint.fileVersion.empty())
        Print(stdout, L"  without a version");
    else
        Print(stdout,
              L"  version " + imprint.fileVersion + L", of the product " + imprint.productVersion);
    for (auto const & [name, text] : imprint.texts)
        Print(stdout, OnOneLine(L"  " + name + L": " + text));
    std::vector<GMString> icons = report.icons;
    if (icons.size() > shownIcons)
    {
        icons.resize(shownIcons);
        icons.push_back(GMStringUtils::FormatResult(
            L"and %u more", static_cast<unsigned int>(report.icons.size() - shownIcons)));
    }
    if (!icons.empty())
        Print(stdout, OnOneLine(L"  icons: " + Joined(icons)));
    if (imprint.signer.name.empty())
        Print(stdout, L"  not signed");
    else
        Print(stdout, OnOneLine(L"  signed by " + imprint.signer.name + L", serial number " +
                                imprint.signer.serial + L" (not verified)"));
}

// By state; a path follows if there is one.
constexpr wchar_t const * stateWords[] = {L"", L"part of Windows", L"MISSING", L"UNUSABLE "};

/// Tells what each library needs, indented, and below that what it needs itself.
void TellNeeds(Tree const & tree)
{
    struct Level
    {
        std::size_t number;
        std::size_t next; // of its needs
    };
    std::vector<bool> shown(tree.libraries.size());
    std::vector<Level> levels{{0, 0}};
    shown[0] = true;
    while (!levels.empty())
    {
        std::vector<std::size_t> const & needs = tree.libraries[levels.back().number].needs;
        if (levels.back().next == needs.size())
        {
            levels.pop_back();
            continue;
        }
        std::size_t const need = needs[levels.back().next++];
        Library const & library = tree.libraries[need];
        GMString line = GMString(2 * levels.size(), L' ') + library.name + L": " +
                        stateWords[static_cast<int>(library.state)] + library.path;
        line += library.is64Bit && library.state == State::found ? L" (64-bit)" : L"";
        bool const hasMore = !library.isHidden && !library.needs.empty();
        line += library.atFirstUse ? L", at first use" : L"";
        line += hasMore && shown[need] ? L", as above" : L"";
        Print(stdout, OnOneLine(line));
        if (hasMore && !shown[need])
            levels.push_back({need, 0});
        shown[need] = true;
    }
}

// ---- JSON --------------------------------------------------------------------------------------

using Json = nlohmann::ordered_json;

Json Text(GMString const & text) { return GMStringConvert::GMStringToUtf8(text); }

Json TextOrNull(GMString const & text) { return text.empty() ? Json() : Text(text); }

Json Texts(std::vector<GMString> const & texts)
{
    Json list = Json::array();
    for (GMString const & text : texts)
        list.push_back(Text(text));
    return list;
}

} // namespace

Imprint::Imprint(GMString const & path)
{
    GMFileCertificate certificate(path);
    certificate.GetFileSigner(signer);
    if (!certificate.LoadVersionInfo()) // it would be tried anew for each text
        return;
    GMVersionUtils::GetFileVersion(path, fileVersion);
    certificate.GetProductVersion(productVersion);
    for (wchar_t const * name : textNames)
    {
        GMString text;
        certificate.GetProductInfo(name, text);
        if (!text.empty())
            texts.emplace_back(name, text);
    }
}

/// The groups of icons; a number stands for one without a name.
std::vector<GMString> IconGroups(GMIconExtract & icons)
{
    std::vector<unsigned __int64> numbers;
    std::vector<GMString> groups = icons.GetIconIDs(numbers);
    for (unsigned __int64 const number : numbers)
        groups.push_back(GMStringUtils::ToString(number));
    return groups;
}

void Tell(Report const & report)
{
    TellProblems(report);
    TellImprint(report);
    if (report.tree.libraries.front().needs.empty())
        return;
    Print(stdout, L"\nneeds");
    TellNeeds(report.tree);
}

void TellAsJson(Report const & report)
{
    Tree const & tree = report.tree;
    Imprint const & imprint = report.imprint;
    Json texts = Json::object();
    for (auto const & [name, text] : imprint.texts)
        texts[GMStringConvert::GMStringToUtf8(name)] = Text(text);
    constexpr char const * stateNames[] = {"found", "part of Windows", "missing", "unusable"};
    Json libraries = Json::array(); // the first is the file itself
    for (std::size_t i = 0; i < tree.libraries.size(); ++i)
    {
        Library const & library = tree.libraries[i];
        libraries.push_back({{"name", Text(library.name)},
                             {"path", TextOrNull(library.path)},
                             {"state", stateNames[static_cast<int>(library.state)]},
                             {"trouble", TextOrNull(library.trouble)},
                             {"is64Bit", library.is64Bit},
                             {"atFirstUse", library.atFirstUse},
                             {"way", Texts(tree.Names(tree.Way(i)))},
                             {"needs", Texts(tree.Names(library.needs))},
                             {"neededBy", Texts(tree.Names(library.neededBy))}});
    }
    Json const all = {
        {"file", Text(report.path)},
        {"kind", Text(report.image.Kind())},
        // of a 64-bit file they aren't known
        {"problems", report.image.Is64Bit() ? Json() : Texts(tree.Names(tree.Problems()))},
        {"fileVersion", TextOrNull(imprint.fileVersion)},
        {"productVersion", TextOrNull(imprint.productVersion)},
        {"texts", texts},
        {"signer", TextOrNull(imprint.signer.name)},
        {"serialNumber", TextOrNull(imprint.signer.serial)},
        {"icons", Texts(report.icons)},
        {"libraries", libraries}};
    Print(stdout, GMStringConvert::Utf8ToGMString(all.dump(2).c_str()));
}

} // namespace Tools
