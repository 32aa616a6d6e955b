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

/// \throws _com_error for want of memory
ScopedBstr MakeBstr(wchar_t const * text)
{
    ScopedBstr bstr(SysAllocString(text));
    if (!bstr)
        _com_issue_error(E_OUTOFMEMORY);
    return bstr;
}

/// A row that comes with a warning or an error is passed over.
void ReadRows(IEnumWbemClassObject & rows, long patience, GMWmiSession::Visitor const & visit)
{
    for (;;)
    {
        ComPtr<IWbemClassObject> row; // released before the next one comes
        ULONG count = 0;
        HRESULT const result = rows.Next(patience, 1, row.GetAddressOf(), &count);
        if (result == WBEM_S_FALSE || row == nullptr ||
            (result == WBEM_S_NO_ERROR && !visit(*row.Get())))
        {
            return;
        }
    }
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

bool GMWmiSession::Query(wchar_t const * query, Visitor const & visit) const
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
    ReadRows(*rows.Get(), static_cast<long>(WBEM_INFINITE), visit);
    return true;
}

bool GMWmiSession::ReadClass(wchar_t const * name, long patience, Visitor const & visit) const
{
    ScopedBstr const text = MakeBstr(name);
    ComPtr<IEnumWbemClassObject> rows;
    if (m_services == nullptr || FAILED(m_services->CreateInstanceEnum(
                                     text.Get(), WBEM_FLAG_SHALLOW, nullptr, rows.GetAddressOf())))
    {
        return false;
    }
    ReadRows(*rows.Get(), patience, visit);
    return true;
}

ComPtr<IWbemClassObject> GMWmiSession::Object(GMString const & path) const
{
    ScopedBstr const text = MakeBstr(path.c_str());
    ComPtr<IWbemClassObject> object;
    if (m_services != nullptr)
        m_services->GetObject(text.Get(), 0, nullptr, object.GetAddressOf(), nullptr);
    return object;
}

WmiValue::WmiValue(IWbemClassObject * row, wchar_t const * name)
    : m_isThere(row != nullptr && SUCCEEDED(row->Get(name, 0, m_value.Receive(), nullptr, nullptr)))
{
}

GMString WmiValue::Text() { return IsEmpty() ? GMString() : BstrText(As(VT_BSTR).bstrVal); }

int WmiValue::Number() { return IsEmpty() ? 0 : As(VT_I4).lVal; }

unsigned __int64 WmiValue::Size()
{
    if (m_value->vt == VT_I8 || m_value->vt == VT_UI8)
        return m_value->ullVal;
    if (m_value->vt == VT_I4) // WMI's form of 32 bits without sign: negative from 2 GB on
        return static_cast<unsigned int>(m_value->lVal);
    return IsEmpty() ? 0 : As(VT_UI4).ulVal;
}

GMString WmiValue::StoredText() const
{
    return m_value->vt == VT_BSTR ? BstrText(m_value->bstrVal) : GMString();
}

bool WmiValue::IsEmpty() const noexcept
{
    return m_value->vt == VT_EMPTY || m_value->vt == VT_NULL;
}

VARIANT const & WmiValue::As(VARTYPE type)
{
    if (m_value->vt == type)
        return m_value.Get();
    HRESULT const result = VariantChangeType(&m_value.Get(), &m_value.Get(), 0, type);
    if (FAILED(result))
        _com_issue_error(result);
    return m_value.Get();
}

} // namespace Velmora
