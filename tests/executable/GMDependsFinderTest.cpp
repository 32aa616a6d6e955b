#include "VelmoraCommon/executable/GMDependsFinder.h"

#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "VelmoraCommon/executable/GMPEDepend.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "tests/executable/IconBytes.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/GuardHeap.h"
#include "tests/support/RealFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

using Names = std::vector<GMString>;

TEST(GMDependsFinder, ListsNamesInFileOrder)
{
    std::string const program = ProgramBytes({"KERNEL32.dll", "b.dll", "b.dll"}, {"Late.dll"});
    Names const all = {L"KERNEL32.dll", L"b.dll", L"b.dll", L"Late.dll"};
    constexpr std::size_t importSize =
        ntOffset + offsetof(IMAGE_NT_HEADERS32, OptionalHeader.DataDirectory) + 8 + 4;
    constexpr std::size_t delayTable = sectionOffset + 4 * 20;
    struct Case
    {
        char const * what;
        std::string bytes;
        Names names; // none where it fails
    };
    Case const cases[] = {
        {"case and repetition", program, all},
        {"delay imports alone", ProgramBytes({}, {"late.dll"}), {L"late.dll"}},
        {"size told", Patched(program, importSize, DWORD(39)), {all[0], all[3]}},
        {"a thunk of 0", Patched(program, sectionOffset + 16, DWORD(0)), {all[3]}},
        {"size beyond the file", Patched(program, importSize, 0xFFFFFFFF), all},
        {"no delayed name", Patched(program, delayTable + 4, DWORD(0)), {all[0], all[1], all[1]}},
        {"name cut at 259", ProgramBytes({std::string(400, 'x')}), {GMString(259, L'x')}},
        {"not an image", Patched(program, ntOffset + 22, WORD(0)), {}},
        {"no MZ", Patched(program, 0, 'm'), {}},
        {"no PE", Patched(program, ntOffset, 'p'), {}},
        {"sections cut off", Patched(program, ntOffset + 6, WORD(0xFFFF)), {}},
    };
    TemporaryFolder const folder;
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        Names names;
        EXPECT_EQ(!each.names.empty(),
                  GMDependsFinder::GetDependLibrarys(folder.Write(L"a.exe", each.bytes), names));
        EXPECT_EQ(each.names, names);
    }
    Names names = {L"before"};
    EXPECT_FALSE(GMDependsFinder::GetDependLibrarys(folder.File(L"missing"), names));
    EXPECT_EQ(Names{L"before"}, names);
}

TEST(GMDependsFinder, ComparesWholeNamesWithoutCase)
{
    TemporaryFolder const folder;
    std::wstring const path = folder.Write(L"a.exe", ProgramBytes({"KERNEL32.dll", "wild*.dll"}));
    std::wstring const none = folder.File(L"none");
    for (wchar_t const * const name : {L"kernel32.dll", L"WILDER.dll"}) // the file's star counts
        EXPECT_TRUE(GMDependsFinder::CheckDependLibrary(path, name)) << name;
    for (wchar_t const * const name : {L"kernel*", L"kernel32.dl"})
        EXPECT_FALSE(GMDependsFinder::CheckDependLibrary(path, name)) << name;
    EXPECT_FALSE(GMDependsFinder::CheckDependLibrary(none, L"kernel32.dll"));
    std::vector<bool> found = {true};
    EXPECT_TRUE(GMDependsFinder::CheckDependLibrarys(path, {L"a.dll", L"Kernel32.DLL"}, found));
    EXPECT_EQ((std::vector<bool>{false, true}), found);
    EXPECT_FALSE(GMDependsFinder::CheckDependLibrarys(none, {L"a.dll"}, found));
    EXPECT_EQ(2u, found.size());
    EXPECT_FALSE(GMDependsFinder::CheckDependLibrarys(path, {}, found));
    EXPECT_TRUE(found.empty());
}

TEST(GMDependsFinder, AgreesWithAnotherReaderOnRealFiles)
{
    auto const files = RealFiles("32");
    VELMORA_SKIP_WITHOUT(files);
    for (std::wstring const & path : files)
    {
        SCOPED_TRACE(GMStringConvert::GMStringToUtf8(path));
        std::istringstream lines(ReadBytes(path + L".imports"));
        Names expected;
        std::set<GMString> expectedKeys;
        for (std::string line; std::getline(lines, line);)
        {
            expected.emplace_back(line.begin(), line.end());
            GMString key = expected.back();
            GMStringUtils::MakeLower(key);
            expectedKeys.insert(key);
        }
        Names names;
        EXPECT_TRUE(GMDependsFinder::GetDependLibrarys(path, names));
        EXPECT_EQ(expected, names);
        std::set<GMString> keys;
        GMPEDepend depend;
        for (auto const & [name, file] : depend.GetDependFiles(path, L"", 1))
            keys.insert(name);
        EXPECT_EQ(expectedKeys, keys);
    }
}

TEST(GMDependsFinder, BoundsWhatHostileImportsCost)
{
    // The guard heap holds some 30,000 blocks at a time.
    DWORD const count = IsGuardHeapInstalled() ? 20'000 : 200'000;
    DWORD const tableSize = (count + 2) * static_cast<DWORD>(sizeof(IMAGE_IMPORT_DESCRIPTOR));
    std::string const names = std::string(255, 'x') + '\0' + "other.dll" + '\0';
    TemporaryFolder const folder;
    struct Case
    {
        char const * what;
        DWORD places;      // of names
        WORD moreSections; // in front of the one that counts
        bool isOtherFound; // the library behind the many
    };
    for (Case const & each : {Case{"one name again and again", 1, 0, true},
                              {"long names", 250, 0, false},
                              {"many sections", 250, 65'000, false}})
    {
        SCOPED_TRACE(each.what);
        std::string table;
        for (DWORD i = 0; i <= count; ++i)
        {
            DWORD const name = sectionRva + tableSize + (i == count ? 256 : i % each.places);
            table += Raw(IMAGE_IMPORT_DESCRIPTOR{{0}, 0, 0, name, 1});
        }
        table.resize(tableSize);
        std::string bytes =
            FileBytes(table + names, {{IMAGE_DIRECTORY_ENTRY_IMPORT, {sectionRva, tableSize}}});
        std::size_t const headers = each.moreSections * sizeof(IMAGE_SECTION_HEADER);
        Place(bytes, ntOffset + 6, static_cast<WORD>(each.moreSections + 1));
        Place(bytes, sectionsOffset + offsetof(IMAGE_SECTION_HEADER, PointerToRawData),
              static_cast<DWORD>(sectionOffset + headers));
        bytes.insert(sectionsOffset, headers, '\0');
        std::wstring const path = folder.Write(L"a.exe", bytes);

        DWORD const start = GetTickCount();
        AllocationMeter const meter;
        Names found;
        EXPECT_TRUE(GMDependsFinder::GetDependLibrarys(path, found));
        EXPECT_FALSE(found.empty());
        EXPECT_EQ(each.isOtherFound,
                  GMPEDepend().GetDependFiles(path, L"", 1).count(L"other.dll") != 0);
        EXPECT_LE(meter.Peak(), 8 * bytes.size() + (16u << 20));
        EXPECT_LT(GetTickCount() - start, 10'000u);
    }
}

} // namespace Velmora::Testing
