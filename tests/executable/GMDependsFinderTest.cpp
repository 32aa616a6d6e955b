#include "VelmoraCommon/executable/GMDependsFinder.h"

#include <set>
#include <sstream>
#include <tuple>

#include <gtest/gtest.h>

#include "VelmoraCommon/executable/GMPEDepend.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "tests/executable/SampleFiles.h"
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
    constexpr DWORD importSize = ntOffset + 120 + 8 + 4; // of the second directory
    constexpr DWORD delayName = sectionOffset + 4 * 20 + 4;
    std::tuple<char const *, std::string, Names> const cases[] = {
        // no names where it fails
        {"case and repetition", program, all},
        {"delay imports alone", ProgramBytes({}, {"late.dll"}), {L"late.dll"}},
        {"size told", Patched(program, importSize, DWORD(39)), {all[0], all[3]}},
        {"a thunk of 0", Patched(program, sectionOffset + 16, DWORD(0)), {all[3]}},
        {"size beyond the file", Patched(program, importSize, 0xFFFFFFFF), all},
        {"no delayed name", Patched(program, delayName, DWORD(0)), {all[0], all[1], all[1]}},
        {"name cut at 259", ProgramBytes({std::string(400, 'x')}), {GMString(259, L'x')}},
        {"not an image", Patched(program, ntOffset + 22, WORD(0)), {}},
        {"no MZ", Patched(program, 0, 'm'), {}},
        {"no PE", Patched(program, ntOffset, 'p'), {}},
        {"sections cut off", Patched(program, ntOffset + 6, WORD(0xFFFF)), {}},
    };
    TemporaryFolder const folder;
    for (auto const & [what, bytes, expected] : cases)
    {
        Names names;
        EXPECT_EQ(!expected.empty(),
                  GMDependsFinder::GetDependLibrarys(folder.Write(L"a.exe", bytes), names));
        EXPECT_EQ(expected, names) << what;
    }
}

TEST(GMDependsFinder, ComparesWholeNamesWithoutCase)
{
    TemporaryFolder const folder;
    std::wstring const path = folder.Write(L"a.exe", ProgramBytes({"KERNEL32.dll", "wild*.dll"}));
    std::vector<GMString> const asked = {L"kernel32.dll", L"WILDER.dll", // the file's star counts
                                         L"kernel*", L"kernel32.dl"};
    std::vector<bool> const expected = {true, true, false, false};
    std::vector<bool> found = {true};
    EXPECT_TRUE(GMDependsFinder::CheckDependLibrarys(path, asked, found));
    EXPECT_EQ(expected, found);
    EXPECT_FALSE(GMDependsFinder::CheckDependLibrarys(folder.File(L"none"), asked, found));
    EXPECT_EQ(expected, found); // as it was
    EXPECT_FALSE(GMDependsFinder::CheckDependLibrarys(path, {L"kernel*"}, found));
    for (std::size_t i = 0; i != asked.size(); ++i)
        EXPECT_EQ(expected[i], GMDependsFinder::CheckDependLibrary(path, asked[i])) << i;
    EXPECT_FALSE(GMDependsFinder::CheckDependLibrary(folder.File(L"none"), asked[0]));
}

TEST(GMDependsFinder, AgreesWithAnotherReaderOnRealFiles)
{
    auto const files = RealFiles("32");
    VELMORA_SKIP_WITHOUT(files);
    GMPEDepend depend;
    for (std::wstring const & path : files)
    {
        std::istringstream lines(ReadBytes(path + L".imports"));
        Names expected, names;
        for (std::string line; std::getline(lines, line);)
            expected.emplace_back(line.begin(), line.end());
        EXPECT_TRUE(GMDependsFinder::GetDependLibrarys(path, names));
        EXPECT_EQ(expected, names) << testing::PrintToString(path);
        for (GMString & each : expected)
            GMStringUtils::MakeLower(each);
        std::set<GMString> keys;
        for (auto const & [name, file] : depend.GetDependFiles(path, L"", 1))
            keys.insert(name);
        EXPECT_EQ(std::set<GMString>(expected.begin(), expected.end()), keys)
            << testing::PrintToString(path);
    }
}

TEST(GMDependsFinder, BoundsWhatHostileImportsCost)
{
    // The guard heap holds some 30,000 blocks at a time.
    DWORD const count = IsGuardHeapInstalled() ? 20'000 : 200'000;
    DWORD const tableSize = (count + 2) * static_cast<DWORD>(sizeof(IMAGE_IMPORT_DESCRIPTOR));
    std::string const names = std::string(255, 'x') + '\0' + "other.dll" + '\0';
    TemporaryFolder const folder;
    std::tuple<char const *, DWORD, WORD, bool> const cases[] = {
        // places of names, sections in front of the one that counts, and whether the library behind
        // the many is found
        {"one name again and again", 1, 0, true},
        {"long names", 250, 0, false},
        {"many sections", 250, 65'000, false},
    };
    for (auto const & [what, places, moreSections, isOtherFound] : cases)
    {
        SCOPED_TRACE(what);
        std::string table;
        for (DWORD i = 0; i <= count; ++i)
        {
            DWORD const name = sectionRva + tableSize + (i == count ? 256 : i % places);
            table += Raw(IMAGE_IMPORT_DESCRIPTOR{{0}, 0, 0, name, 1});
        }
        table.resize(tableSize);
        std::string bytes =
            FileBytes(table + names, {{IMAGE_DIRECTORY_ENTRY_IMPORT, {sectionRva, tableSize}}});
        DWORD const headers = moreSections * DWORD(sizeof(IMAGE_SECTION_HEADER));
        Place(bytes, ntOffset + 6, static_cast<WORD>(moreSections + 1));
        Place(bytes, rawOffset, sectionOffset + headers);
        bytes.insert(sectionsOffset, headers, '\0');
        std::wstring const path = folder.Write(L"a.exe", bytes);

        DWORD const start = GetTickCount();
        AllocationMeter const meter;
        Names found;
        EXPECT_TRUE(GMDependsFinder::GetDependLibrarys(path, found) && !found.empty());
        EXPECT_EQ(isOtherFound, GMPEDepend().GetDependFiles(path, L"", 1).count(L"other.dll") != 0);
        EXPECT_LE(meter.Peak(), 8 * bytes.size() + (16u << 20));
        EXPECT_LT(GetTickCount() - start, 10'000u);
    }
}

} // namespace Velmora::Testing
