#include <map>

#include <gtest/gtest.h>

#include "VelmoraCommon/detect/software/GMSoftwareDetect.h"
#include "VelmoraCommon/detect/software/GMVCRedistDetect.h"
#include "VelmoraCommon/detect/software/internal/VisualCRuntimeFiles.h"
#include "tests/detect/software/Machine.h"

namespace Velmora::Testing
{

namespace
{

using Question = bool (*)();
using Files = std::map<std::string, std::string>; // with their versions

enum Layout
{
    xWw,
    none,
    fusion
};

struct AssemblyCase
{
    AssemblyRuntime const & runtime;
    bool isX64;
    Question test;
};
AssemblyCase const assemblies[] = {
    {assembly2005, false, &GMSoftwareDetect::IsInstalled_VC2005},
    {assembly2005X64, true, &GMSoftwareDetect::IsInstalled_VC2005_X64},
    {assembly2008, false, &GMSoftwareDetect::IsInstalled_VC2008},
    {assembly2008X64, true, &GMSoftwareDetect::IsInstalled_VC2008_X64},
};

std::string Narrow(std::wstring const & text) { return std::string(text.begin(), text.end()); }

std::string SideBySide(std::wstring const & name) { return "WinSxS\\" + Narrow(name); }

/// A directory that fits \p pattern.
std::string Other(std::wstring const & pattern, wchar_t const * end)
{
    return SideBySide(pattern.substr(0, pattern.size() - 1) + end);
}

void Add(Files & files, std::string const & directory, FileList const & list)
{
    for (auto name = list.names; *name != nullptr; ++name)
        files[directory + Narrow(*name)];
}

/// The servicing version that the tests ask for first.
void Add(Files & files, AssemblyRuntime const & runtime, Layout layout)
{
    if (layout == fusion)
        files[SideBySide(runtime.fusionDirectory) + Narrow(runtime.fusionFile)];
    for (int i = 0; i < assemblyCount && layout != fusion; ++i)
        Add(files,
            SideBySide((layout == xWw ? runtime.xWwDirectories : runtime.noneDirectories)[i]),
            runtime.files.files[i]);
}

MachineDescription With(Files const & files, DWORD major = 6, DWORD minor = 1, DWORD build = 7601)
{
    MachineDescription machine = {"", major, minor, build};
    for (auto const & [name, version] : files)
        machine.content += "+" + name + " " + version + "\n";
    return machine;
}

/// All of \p whole gives a yes, and a directory in the place of any of its files a no.
void ExpectEachNeeded(Files const & whole, Files const & beside, Question test)
{
    Files all = beside;
    all.insert(whole.begin(), whole.end());
    {
        Machine const machine(With(all));
        EXPECT_TRUE(test());
    }
    for (auto const & file : whole)
    {
        Files lacking = all;
        lacking.erase(file.first);
        lacking[file.first + "\\"];
        Machine const machine(With(lacking));
        EXPECT_FALSE(test()) << file.first;
    }
}

} // namespace

TEST(VisualC, IsLookedForInTheLayoutOfTheSystem)
{
    struct Case
    {
        char const * system;
        DWORD major, minor, build;
        Layout layout, layoutX64;
    };
    Case const cases[] = {
        {"NT 4", 4, 0, 1381, none, xWw},      {"2000", 5, 0, 2195, xWw, xWw},
        {"XP", 5, 1, 2600, xWw, xWw},         {"2003", 5, 2, 3790, xWw, xWw},
        {"Vista", 6, 0, 6002, none, xWw},     {"7", 6, 1, 7601, none, none},
        {"8", 6, 2, 9200, none, xWw},         {"8.1", 6, 3, 9600, none, xWw},
        {"7.0", 7, 0, 30000, none, xWw},      {"10", 10, 0, 10240, none, none},
        {"10", 10, 0, 21999, none, none},     {"10.1", 10, 1, 21999, none, xWw},
        {"11", 10, 0, 22000, fusion, fusion}, {"11.0", 11, 0, 30000, none, xWw},
    };
    for (Layout const there : {xWw, none, fusion})
    {
        Files files;
        for (AssemblyCase const & each : assemblies)
        {
            // An empty directory of the exact version ends the search in the other layouts.
            files[SideBySide(each.runtime.xWwDirectories[assemblyATL]) + "\\"];
            files[SideBySide(each.runtime.noneDirectories[assemblyATL]) + "\\"];
            Add(files, each.runtime, there);
        }
        Machine machine(With(files));
        for (Case const & each : cases)
        {
            machine.description.major = each.major;
            machine.description.minor = each.minor;
            machine.description.build = each.build;
            for (AssemblyCase const & one : assemblies)
                EXPECT_EQ((one.isX64 ? each.layoutX64 : each.layout) == there, one.test())
                    << each.system << ", layout " << there << ", " << one.runtime.exactAtlFile;
        }
    }
}

TEST(VisualC, IsFoundInAnotherServicingVersion)
{
    for (auto const & [runtime, isX64, test] : assemblies)
    {
        // Of the exact version each file is needed, whatever else there is; of another one each file
        // of the first match, whatever the second has.
        Files exact;
        Files first;
        Files second;
        Add(exact, runtime, none);
        for (int i = 0; i < assemblyCount; ++i)
        {
            Add(first, Other(runtime.patterns[i], L".1"), runtime.files.files[i]);
            Add(second, Other(runtime.patterns[i], L".2"), runtime.files.files[i]);
        }
        ExpectEachNeeded(exact, first, test);
        ExpectEachNeeded(first, second, test);

        // On Windows 11 any match does.
        std::wstring const pattern = std::wstring(runtime.fusionDirectory) + runtime.fusionPattern;
        Files matches = {{Other(pattern, L"1\\"), ""}, {Other(pattern, L"3\\"), ""}};
        for (bool const isThere : {false, true})
        {
            Machine const machine(With(matches, 10, 0, 22000));
            EXPECT_EQ(isThere, test());
            matches[Other(pattern, L"2\\") + Narrow(runtime.files.fusionFile)];
        }
    }
}

TEST(VisualC, NeedsEveryFileAndTheVersionOfOne)
{
    struct Case
    {
        FileRuntime const & runtime;
        char const *minimum, *below;
        Question test, testX64;
    };
    // clang-format off
    Case const cases[] = {
        {runtime2010, "10.0.40219.325", "10.0.40219.324", &GMSoftwareDetect::IsInstalled_VC2010, &GMSoftwareDetect::IsInstalled_VC2010_X64},
        {runtime2012, "11.0.51106.1", "11.0.51106.0", &GMSoftwareDetect::IsInstalled_VC2012, &GMSoftwareDetect::IsInstalled_VC2012_X64},
        {runtime2013, "12.0.21005.1", "12.0.21005.0", &GMSoftwareDetect::IsInstalled_VC2013, &GMSoftwareDetect::IsInstalled_VC2013_X64},
        {runtime2015, "14.0.23026.0", "14.0.23025.0", &GMSoftwareDetect::IsInstalled_VC2015, &GMSoftwareDetect::IsInstalled_VC2015_X64},
    };
    // clang-format on
    for (Case const & each : cases)
    {
        for (bool const isX64 : {false, true})
        {
            Question const test = isX64 ? each.testX64 : each.test;
            bool const isOwn = !isX64 && &each.runtime == &runtime2015; // by its real name
            std::string const folder = isOwn ? LibraryFolderName() : "system32\\";
            Files whole;
            Add(whole, folder, each.runtime.files);
            // The product's version is no help.
            std::string const versions[] = {each.minimum, std::string(each.below) + " 99.0.0.0",
                                            ""};
            for (std::string const & version : versions)
            {
                whole[folder + Narrow(each.runtime.versionFile)] = version;
                Machine const machine(With(whole));
                EXPECT_EQ(version == each.minimum, test()) << each.minimum << version;
            }
            whole[folder + Narrow(each.runtime.versionFile)] = each.minimum;
            ExpectEachNeeded(whole, {}, test);
        }
    }
}

TEST(GMVCRedistDetect, AsksForEachProductOnce)
{
    struct Case
    {
        WORD processor;
        std::size_t codes[6]; // of each package
    };
    for (Case const & each : {Case{PROCESSOR_ARCHITECTURE_ARM64, {1, 2, 3, 4, 1, 1}},
                              Case{PROCESSOR_ARCHITECTURE_AMD64, {1, 2, 1, 3, 1, 1}},
                              Case{PROCESSOR_ARCHITECTURE_IA64, {1, 2, 1, 3, 1, 1}}})
    {
        MachineDescription description;
        description.processor = each.processor;
        Machine machine(description);
        GMVCRedistDetect detector;
        detector.Detect();
        EXPECT_EQ(0u, detector.GetVCRedistVersion());
        auto const codes = machine.asked;
        std::size_t index = 0;
        for (unsigned int package = 0; package < 6; ++package)
        {
            for (std::size_t i = each.codes[package]; i-- != 0; ++index)
            {
                ASSERT_LT(index, codes.size());
                machine.items.insert(codes[index]);
                machine.asked.clear();
                detector.Detect();
                EXPECT_EQ(1u << package, detector.GetVCRedistVersion()) << index;
                EXPECT_EQ(codes.size() - i, machine.asked.size()); // those behind aren't asked
                machine.items.erase(codes[index]);
            }
        }
        EXPECT_EQ(index, codes.size());
    }

    Machine machine("{837B34E3-7C30-493C-8F6A-2B0F04E2912C};{1D8E6291-B0D5-35EC-8441-6616F567A0F7};"
                    "{2B547B43-DB50-3139-9EBE-37D419E0F5FA};[HKLM\\Software\\Microsoft\\Windows\\"
                    "CurrentVersion\\Uninstall\\{CODE}]");
    GMVCRedistDetect detector;
    EXPECT_FALSE(detector.CheckVC2010(static_cast<GMVCRedistDetect::GMArchitectureType>(4), 0));
    EXPECT_TRUE(machine.asked.empty());
    EXPECT_TRUE(detector.CheckVC2005(GMVCRedistDetect::architectureX86, 255));
    EXPECT_TRUE(detector.CheckVC2010(GMVCRedistDetect::architectureAMD64, 1));
    EXPECT_TRUE(detector.CheckVC2008(GMVCRedistDetect::architectureItanium, 0));
    EXPECT_FALSE(detector.CheckVC(L"CODE")); // the installer's no is final
    machine.items.erase("!MsiQueryProductStateW");
    EXPECT_TRUE(detector.CheckVC(L"CODE"));
    machine.items.insert("-msi.dll");
    EXPECT_TRUE(detector.CheckVC(L"CODE"));
    EXPECT_FALSE(detector.CheckVC(L"OTHER"));
}

} // namespace Velmora::Testing
