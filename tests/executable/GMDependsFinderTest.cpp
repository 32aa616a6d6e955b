#include "VelmoraCommon/executable/GMDependsFinder.h"

#include <chrono>
#include <set>
#include <sstream>

#include <gmock/gmock.h>

#include "VelmoraCommon/executable/GMPEDepend.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "tests/executable/PEBytes.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/GuardHeap.h"
#include "tests/support/RealFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

using ::testing::ElementsAre;
using Names = std::vector<GMString>;

std::vector<std::string> Lines(std::string const & text)
{
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

} // namespace

TEST(GMDependsFinder, ListsNamesInFileOrder)
{
    TemporaryFolder const folder;
    std::wstring const path = folder.File(L"a.exe");
    struct Case
    {
        char const * what;
        std::string bytes;
        bool works;
        Names names;
    };
    auto const patched = [](std::string bytes, std::size_t at, auto value)
    {
        Place(bytes, at, value);
        return bytes;
    };
    std::string const program = ProgramBytes({"KERNEL32.dll", "b.dll", "b.dll"}, {"Late.dll"});
    constexpr std::size_t directories =
        ntOffset + offsetof(IMAGE_NT_HEADERS32, OptionalHeader.DataDirectory);
    constexpr std::size_t importSize = directories + 8 + 4;
    constexpr std::size_t delayTable = sectionOffset + 4 * 20;
    Case const cases[] = {
        {"case and repetition", program, true, {L"KERNEL32.dll", L"b.dll", L"b.dll", L"Late.dll"}},
        {"delay imports alone", ProgramBytes({}, {"late.dll"}), true, {L"late.dll"}},
        {"ends at the size told",
         patched(program, importSize, DWORD(39)),
         true,
         {L"KERNEL32.dll", L"Late.dll"}},
        {"ends at a thunk of 0",
         patched(program, sectionOffset + 16, DWORD(0)),
         true,
         {L"Late.dll"}},
        {"size beyond the file",
         patched(program, importSize, 0xFFFFFFFF),
         true,
         {L"KERNEL32.dll", L"b.dll", L"b.dll", L"Late.dll"}},
        {"delayed name of 0 passed over",
         patched(program, delayTable + 4, DWORD(0)),
         true,
         {L"KERNEL32.dll", L"b.dll", L"b.dll"}},
        {"name cut at 259", ProgramBytes({std::string(400, 'x')}), true, {GMString(259, L'x')}},
        {"not an image", patched(program, ntOffset + 22, WORD(0)), false, {}},
        {"no MZ", patched(program, 0, 'm'), false, {}},
        {"no PE", patched(program, ntOffset, 'p'), false, {}},
        {"sections cut off", patched(program, ntOffset + 6, WORD(0xFFFF)), false, {}},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        WriteBytes(path, each.bytes);
        Names names;
        EXPECT_EQ(each.works, GMDependsFinder::GetDependLibrarys(path, names));
        EXPECT_EQ(each.names, names);
    }
    Names names = {L"before"};
    EXPECT_FALSE(GMDependsFinder::GetDependLibrarys(folder.File(L"missing"), names));
    EXPECT_THAT(names, ElementsAre(L"before"));
}

TEST(GMDependsFinder, ComparesWholeNamesWithoutCase)
{
    TemporaryFolder const folder;
    std::wstring const path = folder.File(L"a.exe");
    WriteBytes(path, ProgramBytes({"KERNEL32.dll", "wild*.dll"}));
    EXPECT_TRUE(GMDependsFinder::CheckDependLibrary(path, L"kernel32.dll"));
    EXPECT_FALSE(GMDependsFinder::CheckDependLibrary(path, L"kernel*"));
    EXPECT_FALSE(GMDependsFinder::CheckDependLibrary(path, L"kernel32.dl"));
    EXPECT_TRUE(GMDependsFinder::CheckDependLibrary(path, L"WILDER.dll")); // the file's star counts
    EXPECT_FALSE(GMDependsFinder::CheckDependLibrary(folder.File(L"none"), L"kernel32.dll"));

    std::vector<bool> found = {true};
    EXPECT_TRUE(GMDependsFinder::CheckDependLibrarys(path, {L"a.dll", L"Kernel32.DLL"}, found));
    EXPECT_THAT(found, ElementsAre(false, true));
    EXPECT_FALSE(GMDependsFinder::CheckDependLibrarys(folder.File(L"none"), {L"a.dll"}, found));
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
        Names expected;
        for (std::string const & line : Lines(ReadBytes(path + L".imports")))
            expected.push_back(GMString(line.begin(), line.end()));
        Names names;
        EXPECT_TRUE(GMDependsFinder::GetDependLibrarys(path, names));
        EXPECT_EQ(expected, names);

        std::set<GMString> keys;
        GMPEDepend depend;
        for (auto const & [name, file] : depend.GetDependFiles(path, L"", 1))
            keys.insert(name);
        std::set<GMString> expectedKeys;
        for (GMString & name : expected)
        {
            GMStringUtils::MakeLower(name);
            expectedKeys.insert(name);
        }
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
    std::wstring const path = folder.File(L"a.exe");
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
            IMAGE_IMPORT_DESCRIPTOR descriptor = {};
            descriptor.Name = sectionRva + tableSize + (i == count ? 256 : i % each.places);
            descriptor.FirstThunk = 1;
            table.append(reinterpret_cast<char *>(&descriptor), sizeof(descriptor));
        }
        std::string bytes =
            FileBytes(table + std::string(sizeof(IMAGE_IMPORT_DESCRIPTOR), '\0') + names,
                      {{IMAGE_DIRECTORY_ENTRY_IMPORT, {sectionRva, tableSize}}});
        std::size_t const headers = each.moreSections * sizeof(IMAGE_SECTION_HEADER);
        Place(bytes, ntOffset + 6, static_cast<WORD>(each.moreSections + 1));
        Place(bytes, sectionsOffset + offsetof(IMAGE_SECTION_HEADER, PointerToRawData),
              static_cast<DWORD>(sectionOffset + headers));
        bytes.insert(sectionsOffset, headers, '\0');
        WriteBytes(path, bytes);

        auto const start = std::chrono::steady_clock::now();
        AllocationMeter const meter;
        Names found;
        EXPECT_TRUE(GMDependsFinder::GetDependLibrarys(path, found));
        EXPECT_FALSE(found.empty());
        EXPECT_EQ(each.isOtherFound,
                  GMPEDepend().GetDependFiles(path, L"", 1).count(L"other.dll") != 0);
        EXPECT_LE(meter.Peak(), 8 * bytes.size() + (16u << 20));
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    }
}

} // namespace Velmora::Testing
