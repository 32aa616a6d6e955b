#pragma once

#include <functional>

#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/internal/Com.h"

#include <wbemcli.h>

namespace Velmora
{

/// A connection to WMI's classes about the machine (`ROOT\CIMV2`), which lives on the stack of one
/// detection, with COM on the thread for as long.
class GMWmiSession
{
public:
    /// How much of the set-up has to work.
    enum Strictness
    {
        lenient, // only what the connection can't do without
        strict   // the security settings, too, unless another part of the process has made them
    };

    /// Connects; nothing is reported.
    explicit GMWmiSession(Strictness strictness);

    /// False when connecting failed.
    explicit operator bool() const noexcept { return m_services != nullptr; }

    /// Gets one row; false ends the reading.
    using Visitor = std::function<bool(IWbemClassObject &)>;

    // Both read the rows one at a time. \return false without a connection, or if the rows can't be
    // asked for

    /// \param query in WQL
    bool Query(wchar_t const * query, Visitor const & visit) const;

    /// Reads the objects of a class itself, without those of classes derived from it.
    /// \param patience for each row, in milliseconds
    bool ReadClass(wchar_t const * name, long patience, Visitor const & visit) const;

    /// The object at a path; null if there is none, and without a connection.
    ComPtr<IWbemClassObject> Object(GMString const & path) const;

private:
    ComApartment m_apartment; // first, since it is left last
    ComPtr<IWbemLocator> m_locator;
    ComPtr<IWbemServices> m_services; // null when connecting failed
};

/// One property of a row. A property that is missing or null is an empty text and the number 0.
///
/// Values of other types are converted; `_com_error` is thrown for one that can't be.
class WmiValue
{
public:
    /// \param row may be null, and then has nothing
    WmiValue(IWbemClassObject * row, wchar_t const * name);

    /// Whether the row has the property, be it null.
    bool IsThere() const noexcept { return m_isThere; }

    GMString Text();
    int Number();

    /// 64 bits if it is stored so, else 32 bits without sign.
    unsigned __int64 Size();

    /// The text as stored: empty for any other type.
    GMString StoredText() const;

private:
    bool IsEmpty() const noexcept;
    VARIANT const & As(VARTYPE type);

    ScopedVariant m_value;
    bool m_isThere;
};

} // namespace Velmora
