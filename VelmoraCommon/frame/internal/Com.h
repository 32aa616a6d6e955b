#pragma once

#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"

#include <objbase.h>
#include <oleauto.h>
#include <wrl/client.h>

namespace Velmora
{

/// Counted owner of a COM object; `GetAddressOf` of an empty one serves out-parameters.
template <class Interface>
using ComPtr = Microsoft::WRL::ComPtr<Interface>;

/// COM on this thread for a scope. It stands before the objects that are made in it, so that it is
/// left after they are gone.
class ComApartment
{
public:
    /// \p model is of the `COINIT_` values.
    explicit ComApartment(DWORD model) noexcept : m_result(CoInitializeEx(nullptr, model)) {}
    ~ComApartment()
    {
        if (SUCCEEDED(m_result)) // also S_FALSE, for each success is undone once
            CoUninitialize();
    }
    ComApartment(ComApartment const &) = delete;
    ComApartment & operator=(ComApartment const &) = delete;

    /// What `CoInitializeEx` answered. `RPC_E_CHANGED_MODE`: the thread has COM in the other model,
    /// which can be used, too.
    HRESULT Result() const noexcept { return m_result; }

private:
    HRESULT m_result;
};

struct BstrTraits
{
    using Handle = BSTR;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle text) noexcept { SysFreeString(text); }
};
using ScopedBstr = ScopedHandle<BstrTraits>;

/// The text of \p bstr with all its units, NULs too; empty for null.
inline GMString BstrText(BSTR bstr)
{
    return bstr == nullptr ? GMString() : GMString(bstr, SysStringLen(bstr));
}

/// Owns what a VARIANT holds.
class ScopedVariant
{
public:
    ScopedVariant() noexcept { VariantInit(&m_value); }
    ~ScopedVariant() { VariantClear(&m_value); }
    ScopedVariant(ScopedVariant const &) = delete;
    ScopedVariant & operator=(ScopedVariant const &) = delete;

    VARIANT const * operator->() const noexcept { return &m_value; }
    VARIANT & Get() noexcept { return m_value; }

    /// For out-parameters; what is held is released first.
    VARIANT * Receive() noexcept
    {
        VariantClear(&m_value);
        return &m_value;
    }

private:
    VARIANT m_value;
};

} // namespace Velmora
