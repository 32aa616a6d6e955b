#pragma once

#include <atomic>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "tests/support/ImportHook.h"

namespace Velmora::Benchmarks
{

/// The calls that all counters together have seen since it was set to 0.
inline std::atomic<unsigned int> g_calls = 0;

/// Counts the library's calls of one system function while it lives. \p Number is another one for
/// each function that a place counts, since functions may have the same type.
template <int Number, class Function>
class CallCounter;

template <int Number, class Result, class... Arguments>
class CallCounter<Number, Result(WINAPI *)(Arguments...)>
{
public:
    explicit CallCounter(char const * name) : m_hook(name, &Call, s_original) {}

private:
    static Result WINAPI Call(Arguments... arguments)
    {
        ++g_calls;
        return s_original(arguments...);
    }
    static inline Result(WINAPI * s_original)(Arguments...) = nullptr;

    Testing::ImportHook m_hook;
};

} // namespace Velmora::Benchmarks
