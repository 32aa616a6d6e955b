// Executable and icon files from anywhere, cut and damaged. Whatever they hold, nothing outside of them
// is read, and they take no more memory than their size allows.
#include <filesystem>

#include <gtest/gtest.h>

#include "VelmoraCommon/executable/GMDependsFinder.h"
#include "VelmoraCommon/executable/GMFileCertificate.h"
#include "VelmoraCommon/executable/GMIconConvert.h"
#include "VelmoraCommon/executable/GMIconFile.h"
#include "VelmoraCommon/executable/GMPEDepend.h"
#include "tests/executable/IconProgramQuestions.h"
#include "tests/executable/Subjects.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/LongRun.h"
#include "tests/support/Mutator.h"
#include "tests/support/RealFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

using Path = std::wstring;

void AskImports(Path const & path)
{
    std::vector<GMString> names;
    GMDependsFinder::GetDependLibrarys(path, names);
    GMPEDepend().GetDependFiles(path, L"", 1);
}

void AskIcons(Path const & path) { AskIconProgram(path); }

void AskIconFile(Path const & path)
{
    GMIconFile icon(path);
    GMBuffer<unsigned char> buffer;
    for (int const side : {0, 16, 32, 256})
        icon.ReadBuffer(buffer, side, side);
    DestroyIcon(GMIconConvert::LoadIconFromFile(path.c_str(), 32, 32));
}

void AskVersion(Path const & path)
{
    GMFileCertificate certificate(path);
    GMFileCertificate::SignerInfo signer = {L"name", L"serial"};
    EXPECT_TRUE(certificate.GetFileSigner(signer) || signer.name + signer.serial == L"nameserial");
    GMString text;
    certificate.GetProductVersion(text);
    certificate.GetProductComments(text);
    certificate.GetProductSpecialBuild(text);
}

struct Case
{
    char const * what;
    std::string sound;
    void (*ask)(Path const & path);
    std::vector<std::pair<std::size_t, std::size_t>> parts; // which are damaged one at a time
    std::size_t shortest = 0; // of files whose last byte is to be that of a page; 0 for others
};

std::vector<Case> Cases()
{
    std::size_t tables = 0;
    std::string const icons = IconProgramBytes(SampleIcons(), &tables);
    std::size_t const data = icons.find(SampleIcons().images[0]);
    std::string const imports = ProgramBytes({"a.dll", "b.dll"}, {"c.dll"});
    std::string const iconFile = IconFileBytes({{16, 16, 16, 4, BitmapImage(16, 16, 4)},
                                                {32, 32, 0, 8, BitmapImage(32, 32, 8)},
                                                {0, 0, 0, 32, PngStart(0, 0)}});
    std::vector<Case> cases = {
        {"imports", imports, &AskImports, {{0, 0x400}, {sectionOffset, imports.size()}}},
        {"icons", icons, &AskIcons, {{0, 0x400}, {data, icons.size()}}, sectionOffset},
        {"tables of icons", icons, &AskIcons, {{tables, icons.size()}}, sectionOffset},
        {"icon file", iconFile, &AskIconFile, {{0, iconFile.size()}, {0, 54}}}};
    for (char const * const kind : {"32", "64"})
    {
        auto files = RealFiles(kind);
        files.resize(std::min<std::size_t>(files.size(), 2));
        for (Path const & path : files)
        {
            std::string const bytes = ReadBytes(path);
            cases.push_back({"real imports", bytes, &AskImports, {{0, 0x600}, {0, bytes.size()}}});
        }
    }
    if (std::filesystem::exists(SignedSubject()))
    {
        std::string const whole = ReadBytes(SignedSubject());
        std::size_t const signature = ReadBytes(Subject()).size();
        std::size_t const version = whole.find(std::string("V\0S\0_\0", 6)) - 6;
        std::size_t const versionEnd = std::min(version + 0x700, signature);
        cases.push_back({"version and signature",
                         whole,
                         &AskVersion,
                         {{signature, whole.size()}, {version, versionEnd}}});
    }
    return cases;
}

} // namespace

TEST(HostileFiles, AreAskedWithoutHarm)
{
    TemporaryFolder const folder;
    Mutator mutator(11);
    for (Case const & each : Cases())
    {
        SCOPED_TRACE(each.what);
        std::string const & sound = each.sound;
        auto const ask = [&](std::string const & bytes)
        {
            Path const path = folder.Write(L"a.exe", each.shortest != 0 ? AlignEnd(bytes) : bytes);
            AllocationMeter const meter;
            each.ask(path);
            EXPECT_LE(meter.Peak(), 64 * bytes.size() + (16u << 20));
        };
        std::size_t const steps = Rounds(300, 100'000);
        for (std::size_t i = 0; i != steps; ++i)
            ask(sound.substr(0, each.shortest + (sound.size() - each.shortest) * i / steps));
        for (unsigned int i = Rounds(600, 100'000); i != 0; --i)
        {
            auto const & [begin, end] = mutator.Generator().Pick(each.parts);
            ask(sound.substr(0, begin) + mutator.Mutate(sound.substr(begin, end - begin)) +
                sound.substr(end));
        }
    }
}

} // namespace Velmora::Testing
