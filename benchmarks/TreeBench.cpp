#include <filesystem>
#include <stdexcept>

#include "VelmoraCommon/files/GMFileFinderEnum.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMFileSystemUtils.h"
#include "VelmoraCommon/files/GMFindFile.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "benchmarks/CallCounter.h"
#include "benchmarks/Families.h"

namespace Velmora::Benchmarks
{

namespace
{

constexpr unsigned int filesInDirectory = 18;

/// A tree in the temporary folder: a top with directories, these with ten directories each, and the
/// files in all of them.
class Tree
{
public:
    Tree() : m_root(UnusedPath()) {}
    ~Tree() { std::filesystem::remove_all(m_root); }
    Tree(Tree const &) = delete;
    Tree & operator=(Tree const &) = delete;

    GMString const & Root() const { return m_root; }
    unsigned int Files() const { return m_files; }
    unsigned int Directories() const { return m_files / filesInDirectory; }

    /// Makes the tree anew, with \p groups * 11 + 1 directories and \p fileSize bytes in a file.
    void Make(unsigned int groups, unsigned int fileSize = 0)
    {
        m_content.assign(fileSize, 'x');
        m_files = 0;
        MakeDirectory(m_root);
        for (unsigned int group = 0; group < groups; ++group)
        {
            GMString const upper = m_root + L"\\group" + std::to_wstring(group);
            MakeDirectory(upper);
            for (unsigned int i = 0; i < 10; ++i)
                MakeDirectory(upper + L"\\part" + std::to_wstring(i));
        }
    }

private:
    static GMString UnusedPath()
    {
        wchar_t temp[MAX_PATH];
        return GMString(temp, GetTempPathW(MAX_PATH, temp)) + L"velmora-bench-" +
               std::to_wstring(GetCurrentProcessId());
    }

    void MakeDirectory(GMString const & path)
    {
        CreateDirectoryW(path.c_str(), nullptr);
        for (unsigned int i = 0; i < filesInDirectory; ++i, ++m_files)
        {
            GMString const name = path + L"\\some file " + std::to_wstring(i) + L".dat";
            ScopedFile const file(
                CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
            DWORD written = 0;
            if (!file || !WriteFile(file.Get(), m_content.data(),
                                    static_cast<DWORD>(m_content.size()), &written, nullptr))
            {
                throw std::runtime_error("the tree can't be made");
            }
        }
    }

    GMString m_root;
    std::string m_content; // of each file
    unsigned int m_files = 0;
};

bool IsDots(WIN32_FIND_DATAW const & entry)
{
    GMString const name = entry.cFileName;
    return name == L"." || name == L"..";
}

/// The plain loop; \p visit gets the files.
template <class Visit, class Leave>
void WalkPlainly(GMString const & directory, Visit const & visit, Leave const & leave)
{
    {
        WIN32_FIND_DATAW entry;
        ScopedFind const find(FindFirstFileExW((directory + L"\\*.*").c_str(), FindExInfoBasic,
                                               &entry, FindExSearchNameMatch, nullptr,
                                               FIND_FIRST_EX_LARGE_FETCH));
        for (bool more = static_cast<bool>(find); more; more = FindNextFileW(find.Get(), &entry))
        {
            if (IsDots(entry))
                continue;
            if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
                WalkPlainly(directory + L"\\" + entry.cFileName, visit, leave);
            else
                visit(directory, entry);
        }
    }
    leave(directory);
}

/// Counts files; each comes in two texts or one.
struct FileCount : GMFileFinderEnumCallback
{
    int IsStopped() override { return 0; }
    int OnDirectory(GMString &) override { return 0; }
    int OnFile(GMString &, GMString &) override
    {
        ++files;
        return 0;
    }
    static bool Add(GMString const &, void * self)
    {
        ++static_cast<FileCount *>(self)->files;
        return true;
    }

    unsigned int files = 0;
};

void FindRecursively(GMString const & root)
{
    FileCount count;
    GMFindFile::FindFilesRecursive(root, &FileCount::Add, &count);
    Use(&count);
}

void Enumerate(GMString const & root)
{
    FileCount count;
    GMFileFinderEnum(&count, L"*\\.git;*\\obj", true, true).Enumerate(root);
    Use(&count);
}

void AddSizes(GMString const & root)
{
    unsigned __int64 const size = GMFilePathUtils::FileSizeRecursive(root);
    Use(&size);
}

void AddSizesPlainly(GMString const & root)
{
    unsigned __int64 size = 0;
    WalkPlainly(
        root, [&](GMString const &, WIN32_FIND_DATAW const & entry) { size += entry.nFileSizeLow; },
        [](GMString const &) {});
    Use(&size);
}

/// The calls of the searches that \p walk makes.
double CallsOf(void (*walk)(GMString const &), GMString const & root)
{
    CallCounter<0, decltype(&FindFirstFileExW)> const first("FindFirstFileExW");
    CallCounter<1, decltype(&FindNextFileW)> const next("FindNextFileW");
    CallCounter<2, decltype(&FindClose)> const close("FindClose");
    CallCounter<3, decltype(&CreateFileW)> const open("CreateFileW");
    CallCounter<4, decltype(&GetFileAttributesW)> const attributes("GetFileAttributesW");
    g_calls = 0;
    walk(root);
    return g_calls;
}

struct Walk
{
    char const * name;
    void (*run)(GMString const & root);
};
constexpr Walk walks[] = {
    {"FileSizeRecursive", &AddSizes},
    {"FindFilesRecursive", &FindRecursively},
    {"GMFileFinderEnum", &Enumerate},
};

void MeasureWalks(Report & report)
{
    std::string const tree = "tree: walk 10,000 files in 551 directories, ";
    for (Walk const & walk : walks)
    {
        std::string const name = tree + walk.name;
        if (!report.IsWanted(name))
            continue;
        Tree files;
        files.Make(50);
        report.Measure({name,
                        static_cast<double>(files.Files()),
                        "files",
                        [&] { walk.run(files.Root()); },
                        {{"FindFirstFileExW loop", [&] { AddSizesPlainly(files.Root()); },
                          Bar::RateAtLeast(0.9)}}});
        // A directory is an entry above, has two for itself and its parent, and ends and is closed.
        unsigned int const entries = files.Files() + 3 * files.Directories();
        report.Figure(name + ": calls an entry, without ends and closing",
                      (CallsOf(walk.run, files.Root()) - 2 * files.Directories()) / entries,
                      "calls", 1.001);
    }
}

void CopyPlainly(GMString const & source, GMString const & destination)
{
    CreateDirectoryW(destination.c_str(), nullptr);
    WIN32_FIND_DATAW entry;
    ScopedFind const find(FindFirstFileExW((source + L"\\*.*").c_str(), FindExInfoBasic, &entry,
                                           FindExSearchNameMatch, nullptr,
                                           FIND_FIRST_EX_LARGE_FETCH));
    for (bool more = static_cast<bool>(find); more; more = FindNextFileW(find.Get(), &entry))
    {
        if (IsDots(entry))
            continue;
        GMString const from = source + L"\\" + entry.cFileName;
        GMString const to = destination + L"\\" + entry.cFileName;
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
            CopyPlainly(from, to);
        else
            CopyFileW(from.c_str(), to.c_str(), FALSE);
    }
}

void MeasureCopy(Report & report)
{
    std::string const name = "tree: copy 2,000 files of 20 KiB in 111 directories";
    if (!report.IsWanted(name))
        return;
    Tree tree;
    tree.Make(10, 20 * 1024);
    GMString const target = tree.Root() + L"-copy";
    report.Measure({name,
                    static_cast<double>(tree.Files()),
                    "files",
                    [&] { GMFileSystemUtils::MyCopyDirectory(tree.Root(), target); },
                    {{"FindFirstFileExW and CopyFileW", [&] { CopyPlainly(tree.Root(), target); },
                      Bar::RateAtLeast(0.95)},
                     {"std::filesystem::copy",
                      [&] {
                          std::filesystem::copy(tree.Root(), target,
                                                std::filesystem::copy_options::recursive);
                      },
                      Bar::None()}},
                    7,
                    [&] { std::filesystem::remove_all(target); }});
    std::filesystem::remove_all(target);
}

void MeasureDelete(Report & report)
{
    std::string const name = "tree: delete 2,000 files in 111 directories";
    if (!report.IsWanted(name))
        return;
    Tree tree;
    Work work = {name,
                 0,
                 "files",
                 [&] { GMFilePathUtils::RemoveAll(tree.Root()); },
                 {{"DeleteFileW loop",
                   [&]
                   {
                       WalkPlainly(
                           tree.Root(),
                           [](GMString const & directory, WIN32_FIND_DATAW const & entry)
                           { DeleteFileW((directory + L"\\" + entry.cFileName).c_str()); },
                           [](GMString const & directory) { RemoveDirectoryW(directory.c_str()); });
                   },
                   Bar::RateAtLeast(0.9)},
                  {"std::filesystem::remove_all", [&] { std::filesystem::remove_all(tree.Root()); },
                   Bar::None()}},
                 7,
                 [&] { tree.Make(10); }};
    work.amount = 111 * filesInDirectory;
    report.Measure(work);
}

} // namespace

void MeasureTrees(Report & report)
{
    MeasureWalks(report);
    MeasureCopy(report);
    MeasureDelete(report);
}

} // namespace Velmora::Benchmarks
