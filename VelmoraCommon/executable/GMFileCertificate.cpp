#include "VelmoraCommon/executable/GMFileCertificate.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include <wincrypt.h>

#include "VelmoraCommon/executable/internal/PEFormat.h"
#include "VelmoraCommon/files/GMFileSystemUtils.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/text/internal/VersionBlockSlack.h"

namespace Velmora
{

namespace
{

/// The most units of a path within a version block.
constexpr std::size_t subBlockLimit = 63;

constexpr DWORD encodings = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

struct CertStoreTraits
{
    using Handle = HCERTSTORE;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle store) noexcept { CertCloseStore(store, 0); }
};

struct CryptMessageTraits
{
    using Handle = HCRYPTMSG;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle message) noexcept { CryptMsgClose(message); }
};

struct CertificateTraits
{
    using Handle = CERT_CONTEXT const *;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle certificate) noexcept { CertFreeCertificateContext(certificate); }
};

/// The record of the first signer; its pointers lead into the same block. Null on failure.
ScopedLocalMemory<CMSG_SIGNER_INFO> FirstSigner(HCRYPTMSG message)
{
    DWORD size = 0;
    if (!CryptMsgGetParam(message, CMSG_SIGNER_INFO_PARAM, 0, nullptr, &size) ||
        size < sizeof(CMSG_SIGNER_INFO))
        return ScopedLocalMemory<CMSG_SIGNER_INFO>();
    ScopedLocalMemory<CMSG_SIGNER_INFO> signer(
        static_cast<CMSG_SIGNER_INFO *>(LocalAlloc(LPTR, size)));
    if (!signer || !CryptMsgGetParam(message, CMSG_SIGNER_INFO_PARAM, 0, signer.Get(), &size))
        return ScopedLocalMemory<CMSG_SIGNER_INFO>();
    return signer;
}

ScopedHandle<CertificateTraits> FindCertificate(HCERTSTORE store, CMSG_SIGNER_INFO const & signer)
{
    CERT_INFO wanted = {};
    wanted.Issuer = signer.Issuer;
    wanted.SerialNumber = signer.SerialNumber;
    return ScopedHandle<CertificateTraits>(
        CertFindCertificateInStore(store, encodings, 0, CERT_FIND_SUBJECT_CERT, &wanted, nullptr));
}

/// A number as people write it; the system keeps its lowest byte first.
GMString HexText(CRYPT_INTEGER_BLOB const & number)
{
    std::vector<unsigned char> bytes(number.pbData, number.pbData + number.cbData);
    std::reverse(bytes.begin(), bytes.end());
    GMStringA const digits = GMStringUtils::ConvertBinaryToHex(
        bytes.data(), static_cast<unsigned int>(bytes.size()), true);
    return GMString(digits.begin(), digits.end());
}

} // namespace

GMFileCertificate::GMFileCertificate(GMString const & path)
    : m_isLoaded(false),
      m_versionData(nullptr),
      m_path(path)
{
}

GMFileCertificate::~GMFileCertificate() = default;
GMFileCertificate::GMFileCertificate(GMFileCertificate const &) = default;
GMFileCertificate & GMFileCertificate::operator=(GMFileCertificate const &) = default;

bool GMFileCertificate::LoadVersionInfo()
{
    if (m_isLoaded)
        return true;
    DWORD ignored = 0;
    DWORD const size = GetFileVersionInfoSizeW(m_path.c_str(), &ignored);
    if (size == 0)
        return false;
    HGLOBAL const memory = GlobalAlloc(GHND, size + versionBlockSlack);
    if (memory == nullptr)
        return false;
    m_versionData = GlobalLock(memory);
    m_memory.reset(memory,
                   [](HGLOBAL handle)
                   {
                       GlobalUnlock(handle);
                       GlobalFree(handle);
                   });
    if (m_versionData == nullptr)
        return false;

    GetFileVersionInfoW(m_path.c_str(), 0, size, m_versionData); // the block says what came of it
    void * translations = nullptr;
    unsigned int length = 0;
    m_stringBlocks.clear();
    if (QueryValue(L"\\VarFileInfo\\Translation", translations, length))
    {
        auto const * const words = static_cast<unsigned char const *>(translations);
        for (unsigned int at = 0; length - at >= 2 * sizeof(WORD); at += 2 * sizeof(WORD))
            m_stringBlocks.push_back(GMStringUtils::FormatResult(
                L"\\StringFileInfo\\%04x%04x", ReadUnaligned<WORD>(words + at),
                ReadUnaligned<WORD>(words + at + sizeof(WORD))));
    }
    m_isLoaded = true;
    return true;
}

bool GMFileCertificate::GetProductInfo(GMString const & name, GMString & value)
{
    if (!LoadVersionInfo())
        return false;
    for (GMString const & block : m_stringBlocks)
    {
        void * text = nullptr;
        unsigned int length = 0;
        if (!QueryValue((block + L"\\" + name).substr(0, subBlockLimit), text, length) ||
            length == 0)
            continue;
        GMString const found(static_cast<wchar_t const *>(text), length);
        value = found.substr(0, found.find(L'\0')); // its length may count the terminator
    }
    return true;
}

bool GMFileCertificate::GetProductComments(GMString & value)
{
    return GetProductInfo(L"Comments", value);
}
bool GMFileCertificate::GetProductCompanyName(GMString & value)
{
    return GetProductInfo(L"CompanyName", value);
}
bool GMFileCertificate::GetProductFileDescription(GMString & value)
{
    return GetProductInfo(L"FileDescription", value);
}
bool GMFileCertificate::GetProductFileVersion(GMString & value)
{
    return GetProductInfo(L"FileVersion", value);
}
bool GMFileCertificate::GetProductInternalName(GMString & value)
{
    return GetProductInfo(L"InternalName", value);
}
bool GMFileCertificate::GetProductLegalCopyright(GMString & value)
{
    return GetProductInfo(L"LegalCopyright", value);
}
bool GMFileCertificate::GetProductLegalTrademarks(GMString & value)
{
    return GetProductInfo(L"LegalTrademarks", value);
}
bool GMFileCertificate::GetProductOriginalFileName(GMString & value)
{
    return GetProductInfo(L"OriginalFilename", value);
}
bool GMFileCertificate::GetProductPrivateBuild(GMString & value)
{
    return GetProductInfo(L"PrivateBuild", value);
}
bool GMFileCertificate::GetProductProductName(GMString & value)
{
    return GetProductInfo(L"ProductName", value);
}
bool GMFileCertificate::GetProductProductVersion(GMString & value)
{
    return GetProductInfo(L"ProductVersion", value);
}
bool GMFileCertificate::GetProductSpecialBuild(GMString & value)
{
    return GetProductInfo(L"SpecialBuild", value);
}

bool GMFileCertificate::GetProductVersion(_ULARGE_INTEGER & version)
{
    VS_FIXEDFILEINFO info;
    if (!GetFixedInfo(info))
        return false;
    version.HighPart = info.dwProductVersionMS;
    version.LowPart = info.dwProductVersionLS;
    return true;
}

bool GMFileCertificate::GetProductVersion(GMString & version)
{
    VS_FIXEDFILEINFO info;
    if (!GetFixedInfo(info))
        return false;
    version = GMStringUtils::FormatResult(
        L"%d.%d.%d.%d", HIWORD(info.dwProductVersionMS), LOWORD(info.dwProductVersionMS),
        HIWORD(info.dwProductVersionLS), LOWORD(info.dwProductVersionLS));
    return true;
}

bool GMFileCertificate::GetFileSigner(SignerInfo & info)
{
    // Wine looks for a text of unknown length in a file without bytes, wherever that leads.
    if (GMFileSystemUtils::GetFileSize(m_path) == 0)
        return false;
    ScopedHandle<CertStoreTraits> store;
    ScopedHandle<CryptMessageTraits> message;
    if (!CryptQueryObject(CERT_QUERY_OBJECT_FILE, m_path.c_str(), CERT_QUERY_CONTENT_FLAG_ALL,
                          CERT_QUERY_FORMAT_FLAG_ALL, 0, nullptr, nullptr, nullptr, store.Receive(),
                          message.Receive(), nullptr) ||
        !message)
        return false;
    auto const signer = FirstSigner(message.Get());
    if (!signer)
        return false;
    auto const certificate = FindCertificate(store.Get(), *signer.Get());
    if (!certificate || !GetName(certificate.Get()) || m_signerName.empty())
        return false;
    info = {m_signerName, HexText(signer.Get()->SerialNumber)};
    return true;
}

GMString GMFileCertificate::GetFileSignerInfo()
{
    SignerInfo info;
    GetFileSigner(info);
    return info.name;
}

/// Keeps the name to show of \p certificate.
bool GMFileCertificate::GetName(_CERT_CONTEXT const * certificate)
{
    DWORD const size =
        CertGetNameStringW(certificate, CERT_NAME_SIMPLE_DISPLAY_TYPE, 0, nullptr, nullptr, 0);
    GMString name(size, L'\0'); // with the terminator
    if (CertGetNameStringW(certificate, CERT_NAME_SIMPLE_DISPLAY_TYPE, 0, nullptr, name.data(),
                           size) == 0)
        return false;
    m_signerName = name.substr(0, name.find(L'\0'));
    return true;
}

/// A value of the version block. \p length is in units or bytes, as the value is text or not, and
/// never reaches behind the zeros that follow the block.
bool GMFileCertificate::QueryValue(GMString const & subBlock, void *& value,
                                   unsigned int & length) const
{
    return VerQueryValueW(m_versionData, subBlock.c_str(), &value, &length) && value != nullptr;
}

bool GMFileCertificate::GetFixedInfo(tagVS_FIXEDFILEINFO & info)
{
    void * fixed = nullptr;
    unsigned int length = 0;
    if (!LoadVersionInfo() || !QueryValue(L"\\", fixed, length) || length < sizeof(info))
        return false;
    info = ReadUnaligned<VS_FIXEDFILEINFO>(fixed);
    return true;
}

} // namespace Velmora
