#include "VelmoraCommon/detect/system/internal/GMWmiSession.h"

#include <comdef.h>

namespace Velmora
{

namespace
{

/// \p strict sets the authentication service that the system's own protocol has.
HRESULT SetProxySecurity(IUnknown & proxy, bool strict)
{
    return CoSetProxyBlanket(&proxy, strict ? RPC_C_AUTHN_WINNT : RPC_C_AUTHN_DEFAULT,
                             RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_CALL,
                             RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE);
}

} // namespace

GMWmiSession::GMWmiSession(Strictness strictness) : m_apartment(COINIT_APARTMENTTHREADED)
{
    // Of a process the first to ask is heard; RPC_E_TOO_LATE says that somebody was before.
    HRESULT const security =
        CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                             RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    if (strictness == strict && FAILED(security) && security != RPC_E_TOO_LATE)
        return;
    if (FAILED(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER,
                                IID_PPV_ARGS(m_locator.GetAddressOf()))))
    {
        return;
    }
    ScopedBstr const space = MakeBstr(L"ROOT\\CIMV2");
    ComPtr<IWbemServices> services;
    if (FAILED(m_locator->ConnectServer(space.Get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr,
                                        services.GetAddressOf())))
    {
        return;
    }
    if (SUCCEEDED(SetProxySecurity(*services.Get(), strictness == strict)) || strictness == lenient)
        m_services = services;
}

bool GMWmiSession::Query(wchar_t const * query,
                         std::function<bool(IWbemClassObject &)> const & visit) const
{
    ScopedBstr const language = MakeBstr(L"WQL");
    ScopedBstr const text = MakeBstr(query);
    ComPtr<IEnumWbemClassObject> rows;
    if (m_services == nullptr ||
        FAILED(m_services->ExecQuery(language.Get(), text.Get(),
                                     WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr,
                                     rows.GetAddressOf())))
    {
        return false;
    }
    for (;;)
    {
        ComPtr<IWbemClassObject> row; // released before the next one comes
        ULONG count = 0;
        HRESULT const next = rows->Next(WBEM_INFINITE, 1, row.GetAddressOf(), &count);
        if (FAILED(next))
            return false;
        if (next != WBEM_S_NO_ERROR || row == nullptr || !visit(*row.Get()))
            return true;
    }
}

ScopedBstr MakeBstr(wchar_t const * text)
{
    ScopedBstr bstr(SysAllocString(text));
    if (!bstr)
        _com_issue_error(E_OUTOFMEMORY);
    return bstr;
}

GMString TextProperty(IWbemClassObject & row, wchar_t const * name)
{
    ScopedVariant value;
    if (FAILED(row.Get(name, 0, value.Receive(), nullptr, nullptr)) || value->vt != VT_BSTR)
        return GMString();
    return BstrText(value->bstrVal);
}

} // namespace Velmora
