#pragma once

#include <utility>

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// Notes the thread's last error and puts it back at the end of its scope: closing must not hide
/// from the caller why an operation failed.
class LastErrorKeeper
{
public:
    LastErrorKeeper() noexcept : m_error(GetLastError()) {}
    ~LastErrorKeeper() { SetLastError(m_error); }
    LastErrorKeeper(LastErrorKeeper const &) = delete;
    LastErrorKeeper & operator=(LastErrorKeeper const &) = delete;

private:
    DWORD m_error;
};

/// Owns one system handle for the length of a scope. \p Traits names the handle's type, its empty
/// value and the way to close it; each way of closing is a type of its own.
template <class Traits>
class ScopedHandle
{
public:
    using Handle = typename Traits::Handle;

    explicit ScopedHandle(Handle handle = Traits::None()) noexcept : m_handle(handle) {}
    ScopedHandle(ScopedHandle && other) noexcept : m_handle(other.Release()) {}
    ScopedHandle & operator=(ScopedHandle && other) noexcept
    {
        if (this != &other)
        {
            Reset();
            m_handle = other.Release();
        }
        return *this;
    }
    ~ScopedHandle() { Reset(); }

    explicit operator bool() const noexcept { return m_handle != Traits::None(); }
    Handle Get() const noexcept { return m_handle; }
    Handle Release() noexcept { return std::exchange(m_handle, Traits::None()); }

    /// For out-parameters; what is held is closed first.
    Handle * Receive() noexcept
    {
        Reset();
        return &m_handle;
    }

    void Reset() noexcept
    {
        Handle const old = Release();
        if (old == Traits::None())
            return;
        LastErrorKeeper const keeper;
        Traits::Close(old);
    }

private:
    Handle m_handle;
};

struct RegKeyTraits
{
    using Handle = HKEY;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle key) noexcept { RegCloseKey(key); }
};
using ScopedRegKey = ScopedHandle<RegKeyTraits>;

/// Handles of `CreateFileW`, whose empty value has all bits set.
struct FileTraits
{
    using Handle = HANDLE;
    static Handle None() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle file) noexcept { CloseHandle(file); }
};
using ScopedFile = ScopedHandle<FileTraits>;

/// Events, processes, threads, tokens and the like, whose empty value is null.
struct KernelObjectTraits
{
    using Handle = HANDLE;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle object) noexcept { CloseHandle(object); }
};
using ScopedKernelObject = ScopedHandle<KernelObjectTraits>;

struct FindTraits
{
    using Handle = HANDLE;
    static Handle None() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle find) noexcept { FindClose(find); }
};
using ScopedFind = ScopedHandle<FindTraits>;

struct ModuleTraits
{
    using Handle = HMODULE;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle module) noexcept { FreeLibrary(module); }
};
using ScopedModule = ScopedHandle<ModuleTraits>;

/// Blocks that the system hands out for `LocalFree`.
template <class T>
struct LocalMemoryTraits
{
    using Handle = T *;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle block) noexcept { LocalFree(block); }
};
template <class T>
using ScopedLocalMemory = ScopedHandle<LocalMemoryTraits<T>>;

} // namespace Velmora
