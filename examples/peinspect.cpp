// peinspect: shows why a 32-bit program doesn't start, and what its file says about itself.
//
//   1. The imports are followed from file to file, nearest first; no file is loaded for that. What
//      is wanted at the start goes before what is wanted at first use, so that a library counts as
//      wanted later only if it isn't wanted before.
//   2. What is missing is told first, with the way that leads to it. Then come version, icons,
//      signer and the tree of libraries with their files.
//
// Libraries of Windows are followed, too, but shown with what they need only if something of it is
// missing, and not for what they want at first use, which may well be absent.

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <utility>
#include <vector>

#include "VelmoraCommon/executable/GMDependsFinder.h"
#include "VelmoraCommon/executable/GMFileCertificate.h"
#include "VelmoraCommon/executable/GMIconConvert.h"
#include "VelmoraCommon/executable/GMIconExtract.h"
#include "VelmoraCommon/executable/GMPEDepend.h"
#include "VelmoraCommon/executable/GMPEInfo.h"
#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/files/GMFileMapping.h"
#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMFindFile.h"
#include "VelmoraCommon/frame/GMSharedLibrary.h"
#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/text/GMVersionUtils.h"
#include "examples/Messages.h"

// GDI+ expects what WindowsApi.h leaves out.
#include <objidl.h>
namespace Gdiplus
{
using std::max;
using std::min;
} // namespace Gdiplus
#include <gdiplus.h>

using namespace Velmora;

namespace
{

constexpr char usage[] =
    "peinspect FILE [--json] [--icon OUT.ico] [--png OUT.png]\n"
    "Tells which libraries the 32-bit program or library FILE lacks, and what else it says about\n"
    "itself: its version, its icons, who signed it, and the tree of the libraries that it needs.\n"
    "  --json  the same as JSON\n"
    "  --icon  saves its first icon in all sizes\n"
    "  --png   saves its first icon as a picture\n"
    "Ends with 0 if nothing is missing, 1 if something is missing or damaged, and 2 for a wrong\n"
    "command line, a FILE that can't be read, or an icon that can't be saved. Of 64-bit files the\n"
    "libraries aren't looked at.\n";

enum ExitCode
{
    nothingMissing = 0,
    somethingMissing = 1,
    cantInspect = 2
};

// ---- Messages ----------------------------------------------------------------------------------

/// Names and texts come from files that may hold anything, and mustn't break the lines.
GMString OnOneLine(GMString text)
{
    std::replace_if(
        text.begin(), text.end(), [](wchar_t unit) { return unit < L' ' || unit == 0x7F; }, L' ');
    return text;
}

/// The texts from number \p first on.
GMString Joined(std::vector<GMString> const & texts, std::size_t first = 0)
{
    GMString all;
    for (std::size_t i = first; i < texts.size(); ++i)
        all += (i == first ? L"" : L", ") + texts[i];
    return all;
}

// ---- One executable file -----------------------------------------------------------------------

/// What an executable file wants.
struct Need
{
    GMString library;
    bool atFirstUse;
};

/// The headers and imports of one file, which may be damaged in any way.
class Image
{
public:
    /// Fails if the file can't be read.
    explicit Image(GMString const & path)
    {
        unsigned __int64 size = 0;
        GMFile file;
        if (!file.Create(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING,
                         FILE_ATTRIBUTE_NORMAL) ||
            !file.GetSize(size) ||
            (size != 0 && (!m_mapping.Create(file.GetHandle(), PAGE_READONLY, 0, 0) ||
                           !m_mapping.Mapping(FILE_MAP_READ, 0, 0, 0))))
        {
            throw Failure{L"can't be read: " + SystemMessage(GetLastError())};
        }
        m_size = static_cast<unsigned int>(std::min<unsigned __int64>(size, UINT_MAX));

        _IMAGE_NT_HEADERS * headers = nullptr;
        if (!Info().IsPEFile() || !Info().GetImageNTHeader(headers))
            m_trouble = L"has no sound headers: it is damaged, or isn't for Windows";
        else
            std::memcpy(&m_headers, headers, sizeof(m_headers)); // they may lie unaligned
        if (m_trouble.empty() && !Is64Bit() && !ReadNeeds(path))
            m_trouble = L"is damaged: its list of imports can't be read";
    }

    /// Whether it begins as every executable file does.
    bool IsExecutable() const { return m_size >= 2 && Read<WORD>(0) == IMAGE_DOS_SIGNATURE; }

    /// The headers of both widths differ, but their mark has one place.
    bool Is64Bit() const { return m_headers.OptionalHeader.Magic == IMAGE_NT_OPTIONAL_HDR64_MAGIC; }

    /// As it stands behind "a ".
    GMString Kind() const
    {
        if (m_headers.Signature == 0)
            return L"damaged file";
        bool const isLibrary = (m_headers.FileHeader.Characteristics & IMAGE_FILE_DLL) != 0;
        return GMString(Is64Bit() ? L"64-bit" : L"32-bit") +
               (isLibrary ? L" library" : L" program");
    }

    /// In the order of the file; of a 64-bit file none.
    std::vector<Need> const & Needs() const { return m_needs; }

    /// Empty for a sound file.
    GMString const & Trouble() const { return m_trouble; }

private:
    GMPEInfo Info() const { return GMPEInfo(m_mapping.GetMapAddress(), m_size); }

    template <class T>
    T Read(unsigned int offset) const
    {
        T value;
        std::memcpy(&value, static_cast<char const *>(m_mapping.GetMapAddress()) + offset,
                    sizeof(value));
        return value;
    }

    /// A table of the file, as far as it is there.
    template <class Descriptor>
    std::vector<Descriptor> Table(IMAGE_DATA_DIRECTORY const & directory) const
    {
        std::vector<Descriptor> table;
        if (!Holds(directory.VirtualAddress))
            return table;
        auto at = static_cast<unsigned int>(Info().RvaToOffset(directory.VirtualAddress));
        constexpr auto step = static_cast<unsigned int>(sizeof(Descriptor));
        for (DWORD left = std::min<DWORD>(directory.Size, m_size - at); left >= step; left -= step)
        {
            table.push_back(Read<Descriptor>(at));
            at += step;
        }
        return table;
    }

    bool Holds(DWORD rva) const
    {
        int const offset = Info().RvaToOffset(rva);
        return offset >= 0 && static_cast<unsigned int>(offset) < m_size;
    }

    /// GMDependsFinder gives all the names in a row. The tables, which it reads by the same rules,
    /// tell which of them are wanted at first use, and which aren't there.
    /// \return false if something that the start needs isn't there
    bool ReadNeeds(GMString const & path)
    {
        auto const & directories = m_headers.OptionalHeader.DataDirectory;
        auto const & imports = directories[IMAGE_DIRECTORY_ENTRY_IMPORT];
        auto const & delayed = directories[IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT];
        std::vector<DWORD> places;
        for (auto const & descriptor : Table<IMAGE_IMPORT_DESCRIPTOR>(imports))
        {
            if (descriptor.FirstThunk == 0)
                break;
            places.push_back(descriptor.Name);
        }
        std::size_t const atStart = places.size();
        for (auto const & descriptor : Table<IMAGE_DELAYLOAD_DESCRIPTOR>(delayed))
        {
            if (descriptor.DllNameRVA != 0)
                places.push_back(descriptor.DllNameRVA);
        }

        std::vector<GMString> names;
        bool sound = GMDependsFinder::GetDependLibrarys(path, names) &&
                     (imports.VirtualAddress == 0 || Holds(imports.VirtualAddress));
        names.resize(places.size()); // an empty one couldn't be read
        for (std::size_t i = 0; i < names.size(); ++i)
        {
            if (Holds(places[i]) && !names[i].empty())
                m_needs.push_back({names[i], i >= atStart});
            else // old linkers wrote the names for the first use in a form of their own
                sound = sound && i >= atStart;
        }
        return sound;
    }

    GMFileMapping m_mapping;
    unsigned int m_size = 0;          // what lies beyond 4 GiB isn't seen
    _IMAGE_NT_HEADERS m_headers = {}; // of zeros if they aren't sound
    std::vector<Need> m_needs;
    GMString m_trouble;
};

// ---- Where libraries lie -----------------------------------------------------------------------

GMString FullPath(GMString const & path)
{
    wchar_t full[32768]; // of the longest path, with its NUL
    unsigned long const length = GetFullPathNameW(path.c_str(), 32768, full, nullptr);
    if (length == 0 || length >= 32768)
        throw Failure{L"isn't a path"};
    return GMString(full, length);
}

/// Finds libraries as a program would.
class Search
{
public:
    explicit Search(GMString const & program) : m_program(program)
    {
        wchar_t path[MAX_PATH] = {};
        GetSystemWindowsDirectoryW(path, MAX_PATH);
        m_windows = path;
        // A 64-bit Windows keeps its 32-bit libraries apart. A 64-bit peinspect has to look there
        // first, for what it is told to be the system directory is that of the 64-bit ones.
        m_extra = GetSystemWow64DirectoryW(path, MAX_PATH) != 0 ? path : L"";
        m_runs32Bit = sizeof(void *) == 4 || GMFilePathUtils::IsExistsFile(
                                                 GMFileName::JoinFileName(m_extra, L"ntdll.dll"));
        if (m_extra.empty())
            m_extra = GMFileName::GetDirectory(program);
    }

    /// Empty if there is none.
    GMString Find(GMString const & name) const
    {
        // The loader completes names, too.
        GMString const file = name.find(L'.') == GMString::npos ? name + L".dll" : name;
        GMString const path = GMPEDepend::GetDllFullPath(file, m_program, m_extra);
        return path.empty() ? FindSideBySide(file) : path;
    }

    bool IsOfWindows(GMString const & path) const
    {
        return GMStringUtils::BeginWithNoCase(path, m_windows + L"\\");
    }

    /// Whether this Windows runs 32-bit programs at all. If not, its 64-bit libraries stand for the
    /// 32-bit ones that it doesn't have.
    bool Runs32Bit() const { return m_runs32Bit; }

    /// Whether \p name is one of the names without a file by which Windows knows its own libraries.
    /// It tells so only by loading that library.
    static bool IsApiSet(GMString const & name)
    {
        return (GMStringUtils::BeginWithNoCase(name, L"api-ms-") ||
                GMStringUtils::BeginWithNoCase(name, L"ext-ms-")) &&
               GMSharedLibrary().LoadSharedLibEx(name, LOAD_LIBRARY_SEARCH_SYSTEM32);
    }

private:
    /// The run time libraries of older compilers lie in folders that a program names in its
    /// manifest. That the manifest does so is taken for granted.
    GMString FindSideBySide(GMString const & file) const
    {
        GMString const folder = m_windows + L"\\winsxs\\";
        std::vector<GMFileInfo> candidates;
        GMFindFile::FindFiles(folder + L"x86_microsoft.vc*", candidates);
        for (GMFileInfo const & candidate : candidates)
        {
            GMString const path = GMFileName::JoinFileName(folder + candidate.GetFileName(), file);
            if (GMFilePathUtils::IsExistsFile(path))
                return path;
        }
        return GMString();
    }

    GMString m_program;
    GMString m_windows;
    GMString m_extra; // the directory searched behind that of the program
    bool m_runs32Bit;
};

// ---- The tree ----------------------------------------------------------------------------------

enum class State
{
    found,
    ofWindows, // known to Windows, which keeps it in no file of this name
    missing,
    unusable
};

/// A library, or the inspected file itself.
struct Library
{
    GMString name; // as the first that wants it spells it
    GMString path;
    State state = State::found;
    GMString trouble; // why it is unusable
    bool is64Bit = false;
    bool atFirstUse = false; // the start doesn't need it
    bool isHidden = false;   // what it needs isn't shown
    std::vector<std::size_t> needs;
    std::vector<std::size_t> neededBy; // the nearest first
};

/// All that a file needs, by way of whichever libraries; each library stands in it once, and the
/// file itself comes first.
class Tree
{
public:
    Tree(GMString const & path, Image const & image, Search const & search) : m_search(search)
    {
        Library root;
        root.name = GMFilePathUtils::FileName(path);
        root.path = path;
        Take(root, image);
        m_numbers[Key(root.name)] = 0;
        libraries.push_back(root);
        while (!m_now.empty() || !m_later.empty())
        {
            std::deque<Want> & wants = m_now.empty() ? m_later : m_now;
            Want const want = wants.front();
            wants.pop_front();
            Follow(want);
        }
        for (std::size_t const problem : Problems())
        {
            for (std::size_t const number : Way(problem))
                libraries[number].isHidden = false;
        }
    }

    /// What is missing or unusable; what the start needs comes first.
    std::vector<std::size_t> Problems() const
    {
        std::vector<std::size_t> problems;
        for (std::size_t i = 0; i < libraries.size(); ++i)
        {
            if (libraries[i].state >= State::missing)
                problems.push_back(i);
        }
        return problems;
    }

    /// The shortest way to a library: the inspected file, and those between.
    std::vector<std::size_t> Way(std::size_t number) const
    {
        std::vector<std::size_t> way;
        while (number != 0)
            way.push_back(number = libraries[number].neededBy.front());
        std::reverse(way.begin(), way.end());
        return way;
    }

    std::vector<GMString> Names(std::vector<std::size_t> const & numbers) const
    {
        std::vector<GMString> names;
        for (std::size_t const number : numbers)
            names.push_back(libraries[number].name);
        return names;
    }

    std::vector<Library> libraries;

private:
    struct Want
    {
        std::size_t by;
        Need need;
    };

    static GMString Key(GMString name)
    {
        GMStringUtils::MakeLower(name);
        return name;
    }

    void Follow(Want const & want)
    {
        auto const [entry, isNew] = m_numbers.try_emplace(Key(want.need.library), libraries.size());
        std::size_t const number = entry->second;
        if (isNew)
            libraries.push_back(Look(want));
        std::vector<std::size_t> & needs = libraries[want.by].needs;
        if (std::find(needs.begin(), needs.end(), number) != needs.end())
            return; // wanted at the start and at first use
        needs.push_back(number);
        libraries[number].neededBy.push_back(want.by);
    }

    Library Look(Want const & want)
    {
        Library library;
        library.name = want.need.library;
        library.path = m_search.Find(library.name);
        library.atFirstUse = want.need.atFirstUse || libraries[want.by].atFirstUse;
        if (library.path.empty())
        {
            library.state = Search::IsApiSet(library.name) ? State::ofWindows : State::missing;
            return library;
        }
        library.isHidden = m_search.IsOfWindows(library.path);
        try
        {
            Take(library, Image(library.path));
        }
        catch (Failure const & failure)
        {
            library.state = State::unusable;
            library.trouble = failure.text;
        }
        return library;
    }

    /// Takes over what \p image says of \p library, the next in the list.
    void Take(Library & library, Image const & image)
    {
        library.is64Bit = image.Is64Bit();
        library.trouble = image.Trouble();
        if (library.is64Bit && !libraries.empty() && (m_search.Runs32Bit() || !library.isHidden))
            library.trouble = L"is a 64-bit library, which a 32-bit program can't use";
        if (!library.trouble.empty())
            library.state = State::unusable;
        for (Need const & need : image.Needs())
        {
            if (!need.atFirstUse)
                m_now.push_back({libraries.size(), need});
            else if (!library.isHidden)
                m_later.push_back({libraries.size(), need});
        }
    }

    Search const & m_search;
    std::map<GMString, std::size_t> m_numbers; // of the libraries, by their names in lower case
    std::deque<Want> m_now;
    std::deque<Want> m_later; // wanted at first use
};

// ---- Version and signer ------------------------------------------------------------------------

constexpr wchar_t const * textNames[] = {L"FileDescription",  L"FileVersion",  L"ProductName",
                                         L"ProductVersion",   L"CompanyName",  L"LegalCopyright",
                                         L"LegalTrademarks",  L"Comments",     L"InternalName",
                                         L"OriginalFilename", L"PrivateBuild", L"SpecialBuild"};

/// What a file says about itself; what it doesn't say is empty.
struct Imprint
{
    explicit Imprint(GMString const & path)
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

    GMString fileVersion; // the numbers; what the texts say may differ
    GMString productVersion;
    std::vector<std::pair<GMString, GMString>> texts;
    GMFileCertificate::SignerInfo signer;
};

// ---- Icons -------------------------------------------------------------------------------------

/// The groups of icons; a number stands for one without a name.
std::vector<GMString> IconGroups(GMIconExtract & icons)
{
    std::vector<unsigned __int64> numbers;
    std::vector<GMString> groups = icons.GetIconIDs(numbers);
    for (unsigned __int64 const number : numbers)
        groups.push_back(GMStringUtils::ToString(number));
    return groups;
}

/// Whether the icon could be saved.
bool SavePng(GMIconExtract & icons, GMString const & path)
{
    Gdiplus::GdiplusStartupInput const input;
    ULONG_PTR token = 0;
    if (Gdiplus::GdiplusStartup(&token, &input, nullptr) != Gdiplus::Ok)
        return false;
    HICON const icon = icons.GetDefultIcon();
    bool const saved = GMIconConvert::GdiplusSaveHIconToPng(icon, path.c_str());
    DestroyIcon(icon);
    Gdiplus::GdiplusShutdown(token);
    return saved;
}

// ---- Telling -----------------------------------------------------------------------------------

/// All that is told of a file.
struct Report
{
    GMString const & path;
    Image const & image;
    Search const & search;
    Tree const & tree;
    Imprint const & imprint;
    std::vector<GMString> icons; // the groups
};

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
            line += L": " + library.path + L" " + library.trouble;
        Print(stdout, OnOneLine(line + NeededBy(tree, number)));
    }
    if (report.image.Is64Bit())
        Print(stdout, L"a " + report.image.Kind() +
                          L": only of 32-bit files the imports are read, so what is missing isn't "
                          L"known");
    else if (tree.Problems().empty())
        Print(stdout,
              GMStringUtils::FormatResult(L"nothing is missing; libraries found: %u",
                                          static_cast<unsigned int>(tree.libraries.size() - 1)));
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

/// Tells what a library needs, indented, and below it what that needs. \p shown says for each
/// library whether that is done already.
void TellNeeds(Tree const & tree, std::size_t number, GMString const & indent,
               std::vector<bool> & shown)
{
    shown[number] = true;
    for (std::size_t const need : tree.libraries[number].needs)
    {
        Library const & library = tree.libraries[need];
        GMString line = indent + library.name + L": " +
                        stateWords[static_cast<int>(library.state)] + library.path;
        line += library.is64Bit && library.state == State::found ? L" (64-bit)" : L"";
        bool const hasMore = !library.isHidden && !library.needs.empty();
        line += library.atFirstUse ? L", at first use" : L"";
        line += hasMore && shown[need] ? L", as above" : L"";
        Print(stdout, OnOneLine(line));
        if (hasMore && !shown[need])
            TellNeeds(tree, need, indent + L"  ", shown);
    }
}

void Tell(Report const & report)
{
    TellProblems(report);
    TellImprint(report);
    if (report.tree.libraries.front().needs.empty())
        return;
    Print(stdout, L"\nneeds");
    std::vector<bool> shown(report.tree.libraries.size());
    TellNeeds(report.tree, 0, L"  ", shown);
}

// ---- JSON --------------------------------------------------------------------------------------

/// Writes JSON, a line for each value, and for each list of texts. An empty name stands for the next element of a list.
class Json
{
public:
    void Open(wchar_t const * name, wchar_t bracket)
    {
        Begin(name);
        m_text += bracket;
        m_indent += L"  ";
        m_isFirst = true;
    }

    void Close(wchar_t bracket)
    {
        m_indent.resize(m_indent.size() - 2);
        if (!m_isFirst)
            m_text += L"\n" + m_indent;
        m_text += bracket;
        m_isFirst = false;
    }

    void Word(wchar_t const * name, wchar_t const * word)
    {
        Begin(name);
        m_text += word;
    }

    void Bool(wchar_t const * name, bool value) { Word(name, value ? L"true" : L"false"); }

    void Text(wchar_t const * name, GMString const & text)
    {
        Begin(name);
        AddText(text);
    }

    /// The same, with null for an empty text.
    void TextOrNull(wchar_t const * name, GMString const & text)
    {
        return text.empty() ? Word(name, L"null") : Text(name, text);
    }

    void Texts(wchar_t const * name, std::vector<GMString> const & texts)
    {
        Word(name, L"[");
        for (std::size_t i = 0; i < texts.size(); ++i)
        {
            m_text += i == 0 ? L"" : L", ";
            AddText(texts[i]);
        }
        m_text += L']';
    }

    GMString const & All() const { return m_text; }

private:
    void Begin(wchar_t const * name)
    {
        if (!m_text.empty())
            m_text += (m_isFirst ? L"\n" : L",\n") + m_indent;
        m_isFirst = false;
        if (*name == L'\0')
            return;
        AddText(name);
        m_text += L": ";
    }

    void AddText(GMString const & text)
    {
        m_text += L'"';
        for (wchar_t const unit : text)
        {
            if (unit < L' ')
                m_text += GMStringUtils::FormatResult(L"\\u%04x", static_cast<unsigned int>(unit));
            else
                m_text += unit == L'"' || unit == L'\\' ? GMString{L'\\', unit} : GMString(1, unit);
        }
        m_text += L'"';
    }

    GMString m_text;
    GMString m_indent;
    bool m_isFirst = true; // in its list or object
};

void TellAsJson(Report const & report)
{
    Tree const & tree = report.tree;
    Imprint const & imprint = report.imprint;
    Json json;
    json.Open(L"", L'{');
    json.Text(L"file", report.path);
    json.Text(L"kind", report.image.Kind());
    if (report.image.Is64Bit())
        json.Word(L"problems", L"null"); // they aren't known
    else
        json.Texts(L"problems", tree.Names(tree.Problems()));
    json.TextOrNull(L"fileVersion", imprint.fileVersion);
    json.TextOrNull(L"productVersion", imprint.productVersion);
    json.Open(L"texts", L'{');
    for (auto const & [name, text] : imprint.texts)
        json.Text(name.c_str(), text);
    json.Close(L'}');
    json.TextOrNull(L"signer", imprint.signer.name);
    json.TextOrNull(L"serialNumber", imprint.signer.serial);
    json.Texts(L"icons", report.icons);
    json.Open(L"libraries", L'['); // the first is the file itself
    constexpr wchar_t const * stateNames[] = {L"found", L"part of Windows", L"missing",
                                              L"unusable"};
    for (std::size_t i = 0; i < tree.libraries.size(); ++i)
    {
        Library const & library = tree.libraries[i];
        json.Open(L"", L'{');
        json.Text(L"name", library.name);
        json.TextOrNull(L"path", library.path);
        json.Text(L"state", stateNames[static_cast<int>(library.state)]);
        json.TextOrNull(L"trouble", library.trouble);
        json.Bool(L"is64Bit", library.is64Bit);
        json.Bool(L"atFirstUse", library.atFirstUse);
        json.Texts(L"way", tree.Names(tree.Way(i)));
        json.Texts(L"needs", tree.Names(library.needs));
        json.Texts(L"neededBy", tree.Names(library.neededBy));
        json.Close(L'}');
    }
    json.Close(L']');
    json.Close(L'}');
    Print(stdout, json.All());
}

// ---- Command line ------------------------------------------------------------------------------

struct Options
{
    GMString file;
    GMString icon;
    GMString png;
    bool json = false;
};

bool ReadOptions(int argc, wchar_t ** argv, Options & options)
{
    for (int i = 1; i < argc; ++i)
    {
        GMString const argument = argv[i];
        if (argument == L"--json")
            options.json = true;
        else if (argument == L"--icon" && i + 1 < argc)
            options.icon = argv[++i];
        else if (argument == L"--png" && i + 1 < argc)
            options.png = argv[++i];
        else if (GMStringUtils::BeginWith(argument, L"--") || !options.file.empty())
            return false;
        else
            options.file = argument;
    }
    return !options.file.empty();
}

void SaveIcon(Options const & options, GMIconExtract & icons)
{
    if (icons.GetIconNums() == 0 && !(options.icon + options.png).empty())
        throw Failure{L"has no icon"};
    GMString icon = options.icon;
    if (!icon.empty() && !icons.SaveIcon(icon))
        throw Failure{L"its icon can't be saved as " + icon};
    if (!options.png.empty() && !SavePng(icons, options.png))
        throw Failure{L"its icon can't be saved as " + options.png};
}

ExitCode Run(Options const & options)
{
    GMString const path = FullPath(options.file);
    for (GMString const & output : {options.icon, options.png})
    {
        if (!output.empty() && GMStringUtils::CompareNoCase(path, FullPath(output)) == 0)
            throw Failure{L"would be overwritten by its icon"};
    }
    Image const image(path);
    if (!image.IsExecutable())
        throw Failure{L"isn't an executable file"};
    Search const search(path);
    Tree const tree(path, image, search);
    Imprint const imprint(path);
    GMIconExtract icons(path);
    Report const report = {path, image, search, tree, imprint, IconGroups(icons)};
    if (options.json)
        TellAsJson(report);
    else
        Tell(report);
    SaveIcon(options, icons);
    return tree.Problems().empty() ? nothingMissing : somethingMissing;
}

} // namespace

int wmain(int argc, wchar_t ** argv)
{
    Options options;
    if (!ReadOptions(argc, argv, options))
    {
        std::fputs(usage, stderr);
        return cantInspect;
    }
    try
    {
        return Run(options);
    }
    catch (Failure const & failure)
    {
        Print(stderr, options.file + L": " + failure.text);
    }
    return cantInspect;
}
