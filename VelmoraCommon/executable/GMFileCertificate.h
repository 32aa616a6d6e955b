#pragma once

#include <memory>
#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

struct _CERT_CONTEXT;

namespace Velmora
{

/// What one executable file says about itself: the texts and numbers of its version resource, and
/// who signed it.
///
/// The version is read at the first question about it and kept; the signature is read anew at each
/// question. That a file is signed doesn't say that its signature is valid: nothing here checks
/// the file against it, or the certificate against those that the system trusts. A copy shares the
/// version that was read, which goes with the last of them. Use from one thread at a time.
class VELMORA_API GMFileCertificate
{
public:
    /// Who signed a file.
    struct SignerInfo
    {
        GMString name;   ///< the name to show of the certificate's subject
        GMString serial; ///< the certificate's serial number, two lower-case hex digits a byte
    };

    /// Reads nothing; the file may be missing.
    explicit GMFileCertificate(GMString const & path);
    ~GMFileCertificate();
    GMFileCertificate(GMFileCertificate const &);
    GMFileCertificate & operator=(GMFileCertificate const &);

    /// Reads the version resource, once.
    /// \return false if the file has none or can't be read; it is then tried again next time
    bool LoadVersionInfo();

    /// The text \p name of the version resource ("FileDescription"). Of several translations the
    /// last that has it counts. At most 38 units of \p name are looked at.
    /// \return false only if there is no version resource. A text that is missing gives true and
    ///     leaves \p value alone, so clear it first.
    bool GetProductInfo(GMString const & name, GMString & value);

    // The same for the text that stands in the operation's name.
    bool GetProductComments(GMString & value);
    bool GetProductCompanyName(GMString & value);
    bool GetProductFileDescription(GMString & value);
    bool GetProductFileVersion(GMString & value);
    bool GetProductInternalName(GMString & value);
    bool GetProductLegalCopyright(GMString & value);
    bool GetProductLegalTrademarks(GMString & value);
    bool GetProductOriginalFileName(GMString & value);
    bool GetProductPrivateBuild(GMString & value);
    bool GetProductProductName(GMString & value);
    bool GetProductProductVersion(GMString & value);
    bool GetProductSpecialBuild(GMString & value);

    /// The product version of the fixed part (`VS_FIXEDFILEINFO`): four numbers of 16 bits, the
    /// major one highest. On failure \p version stays as it was.
    bool GetProductVersion(_ULARGE_INTEGER & version);

    /// The same as text: "1.2.3.4".
    bool GetProductVersion(GMString & version);

    /// The certificate of the first signer.
    /// \return false, with \p info as it was, for a file that isn't signed, can't be read, or whose
    ///     signature is damaged
    bool GetFileSigner(SignerInfo & info);

    /// The name of the first signer; empty where GetFileSigner fails.
    GMString GetFileSignerInfo();

private:
    bool GetName(_CERT_CONTEXT const * certificate);
    bool QueryValue(GMString const & subBlock, void *& value, unsigned int & length) const;
    bool GetFixedInfo(tagVS_FIXEDFILEINFO & info);

    std::vector<GMString> m_stringBlocks; // "\StringFileInfo\080404b0", one for each translation
    bool m_isLoaded;
    std::shared_ptr<void> m_memory; // the handle of the version block
    void * m_versionData;           // the block itself, locked as long as the handle lives
    GMString m_path;
    GMString m_signerName;
};

} // namespace Velmora
