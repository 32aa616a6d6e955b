#pragma once

#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{

/// The export \p name of \p module; null for a missing module or export.
template <class Function>
Function * FindExport(HMODULE module, char const * name) noexcept
{
    if (module == nullptr)
        return nullptr;
    // By way of a data pointer: a cast between two function types is taken for a slip.
    return reinterpret_cast<Function *>(reinterpret_cast<void *>(GetProcAddress(module, name)));
}

/// A system function that some Windows versions lack; false when it is missing.
///
/// Keeps its library loaded, so it belongs into the operation that calls it and not into a static.
template <class Function>
class SystemFunction
{
public:
    SystemFunction(wchar_t const * library, char const * name) noexcept
        : m_library(LoadLibraryW(library)),
          m_function(FindExport<Function>(m_library.Get(), name))
    {
    }

    explicit operator bool() const noexcept { return m_function != nullptr; }

    /// The plain pointer, null when the function is missing; valid while this object lives.
    Function * Get() const noexcept { return m_function; }

    template <class... Arguments>
    auto operator()(Arguments... arguments) const
    {
        return m_function(arguments...);
    }

private:
    ScopedModule m_library; // first, for the function is looked up in it
    Function * m_function;
};

} // namespace Velmora
