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

    /// Runs a WQL query and calls \p visit with each row, one at a time, until it answers false.
    /// \return false if the query can't be run
    bool Query(wchar_t const * query, std::function<bool(IWbemClassObject &)> const & visit) const;

    IWbemServices * Services() const noexcept { return m_services.Get(); }

private:
    ComApartment m_apartment; // first, since it is left last
    ComPtr<IWbemLocator> m_locator;
    ComPtr<IWbemServices> m_services; // null when connecting failed
};

/// A text for COM. \throws _com_error for want of memory
ScopedBstr MakeBstr(wchar_t const * text);

/// A property that is a text; empty for any other type, and if the row doesn't have it.
GMString TextProperty(IWbemClassObject & row, wchar_t const * name);

} // namespace Velmora
