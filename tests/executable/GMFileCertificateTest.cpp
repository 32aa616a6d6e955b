#include "VelmoraCommon/executable/GMFileCertificate.h"

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/GMSharedLibrary.h"
#include "tests/support/LongRun.h"
#include "tests/support/Mutator.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

constexpr wchar_t signerName[] = L"\x6D4B\x8BD5\x6E38\x620F\x516C\x53F8";

/// A file that lies beside this program.
std::wstring Beside(wchar_t const * name)
{
    return std::filesystem::path(GMSharedLibrary::GetModuleFullName(nullptr))
        .replace_filename(name);
}

std::wstring Subject() { return Beside(L"subject.dll"); }
std::wstring SignedSubject() { return Beside(L"subject-signed.dll"); }

std::wstring Description(GMFileCertificate & certificate)
{
    GMString text = L"as it was";
    return certificate.GetProductFileDescription(text) ? text : L"no version";
}

/// Asks everything about a file of these bytes.
void AskAll(std::wstring const & path, std::string const & bytes)
{
    WriteBytes(path, bytes);
    GMFileCertificate certificate(path);
    GMFileCertificate::SignerInfo signer = {L"name", L"serial"};
    bool const isSigned = certificate.GetFileSigner(signer);
    EXPECT_TRUE(isSigned || signer.name + signer.serial == L"nameserial");
    GMString text;
    certificate.GetProductVersion(text);
    certificate.GetProductComments(text);
    certificate.GetProductSpecialBuild(text);
}

#define VELMORA_SKIP_UNSIGNED()                                                                    \
    if (!std::filesystem::exists(SignedSubject()))                                                 \
    GTEST_SKIP() << "no signed file: openssl or osslsigncode was missing in the build"

} // namespace

TEST(GMFileCertificate, ReadsTheTextsOfBothTranslations)
{
    GMFileCertificate certificate(Subject());
    struct Case
    {
        bool (GMFileCertificate::*get)(GMString & value);
        wchar_t const * text;
    };
    Case const cases[] = {
        {&GMFileCertificate::GetProductComments, L"\x6D4B\x8BD5"}, // in the first alone
        {&GMFileCertificate::GetProductCompanyName, L"Company"},
        {&GMFileCertificate::GetProductFileDescription, L"last"}, // in both
        {&GMFileCertificate::GetProductFileVersion, L"9.8.7.6 text"},
        {&GMFileCertificate::GetProductInternalName, L"internal"},
        {&GMFileCertificate::GetProductLegalCopyright, L"copyright"},
        {&GMFileCertificate::GetProductLegalTrademarks, L"trademarks"},
        {&GMFileCertificate::GetProductOriginalFileName, L"original"},
        {&GMFileCertificate::GetProductPrivateBuild, L"private"},
        {&GMFileCertificate::GetProductProductName, L"product"},
        {&GMFileCertificate::GetProductProductVersion, L"1.2.3.4 text"},
        {&GMFileCertificate::GetProductSpecialBuild, L"special"},
    };
    for (Case const & each : cases)
    {
        GMString value;
        EXPECT_TRUE((certificate.*each.get)(value));
        EXPECT_EQ(each.text, value);
    }
    GMString value = L"as it was";
    EXPECT_TRUE(certificate.GetProductInfo(L"Missing", value));
    EXPECT_EQ(L"as it was", value);
    EXPECT_TRUE(
        certificate.GetProductInfo(L"A name of thirty-eight units in all!!! and more", value));
    EXPECT_EQ(L"whole", value);

    ULARGE_INTEGER number = {};
    EXPECT_TRUE(certificate.GetProductVersion(number));
    EXPECT_EQ(0x0001000200030004u, number.QuadPart);
    EXPECT_TRUE(certificate.GetProductVersion(value));
    EXPECT_EQ(L"1.2.3.4", value);
}

TEST(GMFileCertificate, ReadsTheVersionOnceAndSharesItWithCopies)
{
    TemporaryFolder const folder;
    std::wstring const path = folder.File(L"subject.dll");
    std::filesystem::copy_file(Subject(), path);
    GMFileCertificate other(folder.File(L"missing"));
    EXPECT_EQ(L"no version", Description(other));
    {
        GMFileCertificate first(path);
        EXPECT_TRUE(first.LoadVersionInfo());
        std::filesystem::remove(path);
        GMFileCertificate const copy(first);
        other = copy;
        EXPECT_EQ(L"last", Description(first));
    }
    EXPECT_EQ(L"last", Description(other));
    GMFileCertificate late(path); // tried again after a failure
    EXPECT_EQ(L"no version", Description(late));
    std::filesystem::copy_file(Subject(), path);
    EXPECT_EQ(L"last", Description(late));
}

TEST(GMFileCertificate, NamesTheSigner)
{
    GMFileCertificate::SignerInfo signer = {L"name", L"serial"};
    EXPECT_FALSE(GMFileCertificate(Subject()).GetFileSigner(signer)); // not signed
    EXPECT_FALSE(GMFileCertificate(L"C:\\missing.exe").GetFileSigner(signer));
    EXPECT_EQ(L"nameserial", signer.name + signer.serial);
    EXPECT_EQ(L"", GMFileCertificate(Subject()).GetFileSignerInfo());

    VELMORA_SKIP_UNSIGNED();
    GMFileCertificate certificate(SignedSubject());
    EXPECT_TRUE(certificate.GetFileSigner(signer));
    EXPECT_EQ(signerName, signer.name);
    EXPECT_EQ(L"01020a", signer.serial);
    EXPECT_EQ(signerName, GMFileCertificate(certificate).GetFileSignerInfo());
    EXPECT_EQ(L"last", Description(certificate));
}

TEST(GMFileCertificate, SurvivesCutAndDamagedFiles)
{
    VELMORA_SKIP_UNSIGNED();
    TemporaryFolder const folder;
    std::wstring const path = folder.File(L"subject.dll");
    std::string const whole = ReadBytes(SignedSubject());
    std::size_t const signature = ReadBytes(Subject()).size();
    // From the empty file on, in which Wine once looked for a signature.
    for (unsigned int i = 0, steps = Rounds(100, static_cast<unsigned int>(whole.size()));
         i != steps; ++i)
        AskAll(path, whole.substr(0, whole.size() * i / steps));

    // A part of the file at a time: the signature, and the version resource.
    std::size_t const version = whole.find(std::string("V\0S\0_\0", 6));
    ASSERT_NE(std::string::npos, version);
    Mutator<char> mutator(5);
    for (unsigned int i = Rounds(400, 100000); i != 0; --i)
    {
        bool const hitSignature = i % 2 == 0;
        std::size_t const begin = hitSignature ? signature : version - 6;
        std::size_t const end = hitSignature ? whole.size() : std::min(version + 0x700, signature);
        AskAll(path, whole.substr(0, begin) + mutator.Mutate(whole.substr(begin, end - begin)) +
                         whole.substr(end));
    }
}

} // namespace Velmora::Testing
