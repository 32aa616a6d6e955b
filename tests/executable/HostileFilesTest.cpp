// Executable and icon files from anywhere, cut and damaged. Whatever they hold, nothing outside of them
// is read, and they take no more memory than their size allows.
#include <filesystem>

#include <gtest/gtest.h>

#include "VelmoraCommon/executable/GMDependsFinder.h"
#include "VelmoraCommon/executable/GMFileCertificate.h"
#include "VelmoraCommon/executable/GMIconConvert.h"
#include "VelmoraCommon/executable/GMIconFile.h"
#include "VelmoraCommon/executable/GMPEDepend.h"
#include "VelmoraCommon/executable/GMPEInfo.h"
#include "tests/executable/IconBytes.h"
#include "tests/executable/IconProgramQuestions.h"
#include "tests/executable/Subjects.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/GuardBuffer.h"
#include "tests/support/LongRun.h"
#include "tests/support/Mutator.h"
#include "tests/support/RealFiles.h"

namespace Velmora::Testing
{

namespace
{

using Path = std::wstring;

void AskHeaders(Path const & path)
{
    std::string const bytes = ReadBytes(path);
    GuardBuffer<char> const guarded(bytes);
    GMPEInfo const info(guarded.Data(), static_cast<unsigned int>(bytes.size()));
    info.IsPEFile();
    for (unsigned long const rva : {0ul, sectionRva + 0ul, 0x7FFFFFFFul, 0xFFFFFFFFul})
    {
        info.RvaToOffset(rva);
        if (unsigned char const * const name = info.GetSectionNameByRva(rva))
            GuardBuffer<unsigned char>(name, 8); // reads it
    }
    _IMAGE_SECTION_HEADER * section = nullptr;
    if (info.GetSectionHeader(section))
        GuardBuffer<char>(reinterpret_cast<char *>(section), sizeof(*section));
}

void AskImports(Path const & path)
{
    AskHeaders(path);
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
    bool const isSigned = certificate.GetFileSigner(signer);
    EXPECT_TRUE(isSigned || signer.name + signer.serial == L"nameserial");
    GMString text;
    certificate.GetProductVersion(text);
    certificate.GetProductComments(text);
    certificate.GetProductSpecialBuild(text);
}

struct Part
{
    std::size_t begin;
    std::size_t end;
};

struct Case
{
    char const * what;
    std::string sound;
    void (*ask)(Path const & path);
    std::vector<Part> parts; // which are damaged one at a time
    bool isAligned;          // the last byte is to be that of a page
};

std::vector<Case> Cases()
{
    std::size_t tables = 0;
    std::string const icons = IconProgramBytes(SampleIcons(), &tables);
    std::string const imports = ProgramBytes({"a.dll", "b.dll"}, {"c.dll"});
    std::string const iconFile = IconFileBytes({{16, 16, 16, 4, BitmapImage(16, 16, 4)},
                                                {32, 32, 0, 8, BitmapImage(32, 32, 8)},
                                                {0, 0, 0, 32, PngStart(0, 0)}});
    std::vector<Case> cases = {
        {"imports",
         imports,
         &AskImports,
         {{0, sectionOffset}, {sectionOffset, imports.size()}},
         false},
        {"icons",
         icons,
         &AskIcons,
         {{0, sectionOffset},
          {icons.find(SampleIcons().images[0]), icons.size()},
          {tables, icons.size()},
          {tables, icons.size()}},
         true},
        {"icon file", iconFile, &AskIconFile, {{0, iconFile.size()}, {0, 54}}, false},
    };
    for (char const * const kind : {"32", "64"})
    {
        auto const files = RealFiles(kind);
        for (std::size_t i = 0; i < std::min<std::size_t>(files.size(), 2); ++i)
        {
            std::string const bytes = ReadBytes(files[i]);
            cases.push_back(
                {"real imports", bytes, &AskImports, {{0, 0x600}, {0x400, bytes.size()}}, false});
        }
    }
    if (std::filesystem::exists(SignedSubject()))
    {
        std::string const whole = ReadBytes(SignedSubject());
        std::size_t const signature = ReadBytes(Subject()).size();
        std::size_t const version = whole.find(std::string("V\0S\0_\0", 6)) - 6;
        cases.push_back(
            {"version and signature",
             whole,
             &AskVersion,
             {{signature, whole.size()}, {version, std::min(version + 0x700, signature)}},
             false});
    }
    return cases;
}

} // namespace

TEST(HostileFiles, AreAskedWithoutHarm)
{
    TemporaryFolder const folder;
    for (Case const & each : Cases())
    {
        SCOPED_TRACE(each.what);
        auto const ask = [&](std::string const & bytes)
        {
            std::wstring const path =
                folder.Write(L"a.exe", each.isAligned ? AlignEnd(bytes) : bytes);
            AllocationMeter const meter;
            each.ask(path);
            EXPECT_LE(meter.Peak(), 64 * bytes.size() + (16u << 20));
        };
        std::size_t const steps = Rounds(300, 100'000);
        std::size_t const shortest = each.isAligned ? sectionOffset : 0;
        for (std::size_t i = 0; i != steps; ++i)
            ask(each.sound.substr(0, shortest + (each.sound.size() - shortest) * i / steps));
        Mutator<char> mutator(11);
        for (unsigned int i = Rounds(600, 100'000); i != 0; --i)
        {
            Part const & part = mutator.Generator().Pick(each.parts);
            std::string const damaged =
                mutator.Mutate(each.sound.substr(part.begin, part.end - part.begin));
            ask(each.sound.substr(0, part.begin) + damaged + each.sound.substr(part.end));
        }
    }
}

} // namespace Velmora::Testing
