#include "VelmoraCommon/executable/GMFileCertificate.h"

#include <filesystem>

#include <gtest/gtest.h>

#include <wincrypt.h>

#include "tests/executable/Subjects.h"
#include "tests/support/GuardBuffer.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

std::wstring Description(GMFileCertificate & certificate)
{
    GMString text = L"as it was";
    return certificate.GetProductFileDescription(text) ? text : L"no version";
}

// What the system may answer about a damaged file.

BOOL WINAPI GiveHalfARecord(void const *, wchar_t const *, void ** value, UINT * length)
{
    static GuardBuffer<char> const half("half", 4);
    *value = half.Data();
    *length = 4;
    return TRUE;
}

BOOL WINAPI TellHalfASigner(HCRYPTMSG, DWORD, DWORD, void * data, DWORD * size)
{
    EXPECT_EQ(nullptr, data) << "so much isn't worth asking for";
    *size = sizeof(CMSG_SIGNER_INFO) - 1;
    return TRUE;
}

} // namespace

TEST(GMFileCertificate, ReadsTheTextsOfBothTranslations)
{
    using Certificate = GMFileCertificate;
    Certificate certificate(Subject());
    std::pair<bool (Certificate::*)(GMString & value), wchar_t const *> const cases[] = {
        {&Certificate::GetProductComments, L"\x6D4B\x8BD5"}, // in the first alone
        {&Certificate::GetProductCompanyName, L"Company"},
        {&Certificate::GetProductFileDescription, L"last"}, // in both
        {&Certificate::GetProductFileVersion, L"9.8.7.6 text"},
        {&Certificate::GetProductInternalName, L"internal"},
        {&Certificate::GetProductLegalCopyright, L"copyright"},
        {&Certificate::GetProductLegalTrademarks, L"trademarks"},
        {&Certificate::GetProductOriginalFileName, L"original"},
        {&Certificate::GetProductPrivateBuild, L"private"},
        {&Certificate::GetProductProductName, L"product"},
        {&Certificate::GetProductProductVersion, L"1.2.3.4 text"},
        {&Certificate::GetProductSpecialBuild, L"special"},
        {&Certificate::GetProductVersion, L"1.2.3.4"},
    };
    GMString value;
    for (auto const & [get, text] : cases)
    {
        EXPECT_TRUE((certificate.*get)(value));
        EXPECT_EQ(text, value);
    }
    EXPECT_TRUE(certificate.GetProductInfo(L"Missing", value));
    EXPECT_EQ(L"1.2.3.4", value); // as it was
    wchar_t const longName[] = L"A name of thirty-eight units in all!!! and more";
    EXPECT_TRUE(certificate.GetProductInfo(longName, value));
    EXPECT_EQ(L"whole", value);
    ULARGE_INTEGER number = {};
    EXPECT_TRUE(certificate.GetProductVersion(number));
    EXPECT_EQ(0x0001000200030004u, number.QuadPart);
}

TEST(GMFileCertificate, ReadsTheVersionOnceAndSharesItWithCopies)
{
    TemporaryFolder const folder;
    std::wstring const path = folder.Write(L"subject.dll", ReadBytes(Subject()));
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
    folder.Write(L"subject.dll", ReadBytes(Subject()));
    EXPECT_EQ(L"last", Description(late));
}

TEST(GMFileCertificate, NamesTheSignerAndTakesWholeRecordsOnly)
{
    GMFileCertificate::SignerInfo signer = {L"name", L"serial"};
    EXPECT_FALSE(GMFileCertificate(Subject()).GetFileSigner(signer)); // not signed
    EXPECT_FALSE(GMFileCertificate(L"C:\\missing.exe").GetFileSigner(signer));
    EXPECT_EQ(L"nameserial", signer.name + signer.serial);
    {
        ImportHook const hook("VerQueryValueW", &GiveHalfARecord);
        ULARGE_INTEGER number = {};
        EXPECT_FALSE(GMFileCertificate(Subject()).GetProductVersion(number));
    }
    if (!std::filesystem::exists(SignedSubject()))
        GTEST_SKIP() << "no signed file: openssl or osslsigncode was missing in the build";
    GMFileCertificate certificate(SignedSubject());
    EXPECT_TRUE(certificate.GetFileSigner(signer));
    EXPECT_EQ(L"\x6D4B\x8BD5\x6E38\x620F\x516C\x53F8", signer.name);
    EXPECT_EQ(L"01020a", signer.serial);
    EXPECT_EQ(signer.name, GMFileCertificate(certificate).GetFileSignerInfo());
    EXPECT_EQ(L"last", Description(certificate));
    ImportHook const hook("CryptMsgGetParam", &TellHalfASigner);
    EXPECT_EQ(L"", GMFileCertificate(SignedSubject()).GetFileSignerInfo());
}

} // namespace Velmora::Testing
