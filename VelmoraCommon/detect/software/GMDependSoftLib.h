#pragma once

#include <array>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// A set of prerequisites, and the text forms in which it travels. A plain value.
///
/// A flag has a number, its id, from 1 to 35. What an id stands for is the client's matter: its
/// table binds each to a test, see GMSoftwareDetect.
///
/// There are two forms of text. "A" opens a list of ids in hexadecimal: "A1,1F,20". A text that
/// begins with a digit is the older, compact one: a decimal number whose bits stand for 16 of the
/// flags.
class VELMORA_API GMDependSoftLib
{
public:
    /// 38 flags in two words of 32 bits: all bits of the first and the lowest six of the second. Id
    /// 1 to 31 is bit 0 to 30 of the first word, id 32 to 35 is bit 1 to 4 of the second. The other
    /// flags have no id; no text form knows them, but copies carry them.
    struct VELMORA_API GMLibs
    {
        /// No flag.
        GMLibs() : m_words{} {}

        /// Copies all 64 bits.
        GMLibs(GMLibs const &) = default;

        /// Takes the 38 flags. The bits of the second word above them keep their value.
        GMLibs & operator=(GMLibs const & other);

        // These go by all 64 bits.
        /// Both together.
        GMLibs operator|(GMLibs & other) const;

        /// What both have.
        GMLibs operator&(GMLibs & other) const;

        /// Whether there is any.
        operator bool() const { return (m_words[0] | m_words[1]) != 0; }

        std::array<unsigned int, 2> m_words; ///< the flags, as told above
    };

    /// The set that \p text names; empty for a text of neither form, such as "a1".
    explicit GMDependSoftLib(wchar_t const * text = L"");

    /// Adds the flags of a compact text. Bits that stand for no flag don't count.
    void ParseV0(wchar_t const * text);

    /// Adds the flags of a list of ids, without the "A". Pieces that are no id don't count.
    void ParseVA(wchar_t const * text);

    /// The compact form, "0" for no flag. Flags that it has no bit for are left out.
    GMString FormatToString();

    GMLibs m_libs; ///< the set; may be read and changed
};

} // namespace Velmora
