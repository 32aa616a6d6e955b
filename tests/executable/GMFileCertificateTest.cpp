#include "VelmoraCommon/executable/GMFileCertificate.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "tests/executable/SampleFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

using Certificate = GMFileCertificate;

TEST(GMFileCertificate, ReadsTheTextsOfBothTranslations)
{
    Certificate certificate(Subject());
    bool (Certificate::*const operations[])(GMString & value) = {
        &Certificate::GetProductComments,        &Certificate::GetProductCompanyName,
        &Certificate::GetProductFileDescription, &Certificate::GetProductFileVersion,
        &Certificate::GetProductInternalName,    &Certificate::GetProductLegalCopyright,
        &Certificate::GetProductLegalTrademarks, &Certificate::GetProductOriginalFileName,
        &Certificate::GetProductPrivateBuild,    &Certificate::GetProductProductName,
        &Certificate::GetProductProductVersion,  &Certificate::GetProductSpecialBuild,
        &Certificate::GetProductVersion};
    GMString value, all; // the first is in one translation alone, the third in both
    for (auto const get : operations)
    {
        EXPECT_TRUE((certificate.*get)(value));
        all += value + L"|";
    }
    EXPECT_EQ(L"\x6D4B\x8BD5|Company|last|9.8.7.6 text|internal|copyright|trademarks|original|"
              L"private|product|1.2.3.4 text|special|1.2.3.4|",
              all);
    EXPECT_TRUE(certificate.GetProductInfo(L"Missing", value));
    EXPECT_EQ(L"1.2.3.4", value); // as it was
    EXPECT_TRUE(
        certificate.GetProductInfo(L"A name of thirty-eight units in all!!! and more", value));
    EXPECT_EQ(L"whole", value);
    ULARGE_INTEGER number = {};
    EXPECT_TRUE(certificate.GetProductVersion(number));
    EXPECT_EQ(0x0001000200030004u, number.QuadPart);
}

TEST(GMFileCertificate, ReadsTheVersionOnceAndSharesItWithCopies)
{
    TemporaryFolder const folder;
    std::string const bytes = ReadBytes(Subject());
    std::wstring const path = folder.File(L"subject.dll");
    GMString text = L"as it was";
    Certificate late(path);
    EXPECT_FALSE(late.GetProductFileDescription(text) || text != L"as it was");
    folder.Write(L"subject.dll", bytes); // tried again after a failure
    EXPECT_TRUE(late.LoadVersionInfo());
    std::filesystem::remove(path);
    Certificate other(path);
    other = Certificate(late);
    late = Certificate(path);
    EXPECT_TRUE(other.GetProductFileDescription(text) && text == L"last");
    EXPECT_FALSE(late.GetProductFileDescription(text));

    std::size_t const version = bytes.find(std::string("V\0S\0_\0", 6)) - 6;
    folder.Write(L"subject.dll", Patched(bytes, version + 2, WORD(4))); // of the numbers
    ULARGE_INTEGER number = {};
    EXPECT_FALSE(late.GetProductVersion(number));
}

TEST(GMFileCertificate, NamesTheSigner)
{
    Certificate::SignerInfo signer = {L"name", L"serial"};
    EXPECT_FALSE(Certificate(Subject()).GetFileSigner(signer)); // not signed
    EXPECT_FALSE(Certificate(L"C:\\missing.exe").GetFileSigner(signer));
    EXPECT_EQ(L"nameserial", signer.name + signer.serial);
    if (!std::filesystem::exists(SignedSubject()))
        GTEST_SKIP() << "no signed file: openssl or osslsigncode was missing in the build";
    EXPECT_TRUE(Certificate(SignedSubject()).GetFileSigner(signer));
    EXPECT_EQ(L"\x6D4B\x8BD5\x6E38\x620F\x516C\x53F8", signer.name);
    EXPECT_EQ(L"01020a", signer.serial);
    EXPECT_EQ(signer.name, Certificate(SignedSubject()).GetFileSignerInfo());
}

} // namespace Velmora::Testing
