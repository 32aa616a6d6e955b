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

constexpr wchar_t signerName[] = L"\x6D4B\x8BD5\x6E38\x620F\x516C\x53F8";

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

#define VELMORA_SKIP_UNSIGNED()                                                                    \
    if (!std::filesystem::exists(SignedSubject()))                                                 \
    GTEST_SKIP() << "no signed file: openssl or osslsigncode was missing in the build"

} // namespace

TEST(GMFileCertificate, ReadsTheTextsOfBothTranslations)
{
    GMFileCertificate certificate(Subject());
    std::pair<bool (GMFileCertificate::*)(GMString & value), wchar_t const *> const cases[] = {
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
    for (auto const & [get, text] : cases)
    {
        GMString value;
        EXPECT_TRUE((certificate.*get)(value));
        EXPECT_EQ(text, value);
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

TEST(GMFileCertificate, TakesWholeRecordsOnly)
{
    {
        ImportHook const hook("VerQueryValueW", &GiveHalfARecord);
        ULARGE_INTEGER number = {};
        EXPECT_FALSE(GMFileCertificate(Subject()).GetProductVersion(number));
    }
    VELMORA_SKIP_UNSIGNED();
    ImportHook const hook("CryptMsgGetParam", &TellHalfASigner);
    EXPECT_EQ(L"", GMFileCertificate(SignedSubject()).GetFileSignerInfo());
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

} // namespace Velmora::Testing
