#pragma once

#include "VelmoraCommon/frame/WindowsApi.h"
#include "tests/support/ImportHook.h"

namespace Velmora::Testing
{

/// The calls that all FailingCalls together have seen in a FailureScope, and the one of them to
/// fail; 0 outside of a scope.
inline unsigned int g_callsSeen = 0;
inline unsigned int g_callToFail = 0;

constexpr DWORD injectedError = ERROR_CRC;

/// Has the library's call of one system function answer \p failure, with injectedError, when it is
/// the g_callToFail-th of all that are watched. \p Number is another one for each function that a
/// place watches, since functions may have the same type.
template <int Number, class Function>
class FailingCall;

template <int Number, class Result, class... Arguments>
class FailingCall<Number, Result(WINAPI *)(Arguments...)>
{
public:
    FailingCall(char const * name, Result failure) : m_hook(name, &Call, s_original)
    {
        s_failure = failure;
    }

private:
    static Result WINAPI Call(Arguments... arguments)
    {
        if (g_callToFail == 0 || ++g_callsSeen != g_callToFail)
            return s_original(arguments...);
        SetLastError(injectedError);
        return s_failure;
    }
    static inline Result(WINAPI * s_original)(Arguments...) = nullptr;
    static inline Result s_failure;

    ImportHook m_hook;
};

/// Runs \p attempt with the first call failing, then with the second, and so on until it makes
/// fewer calls than that; \p attempt gets the number.
/// \return the calls that an attempt makes when none fails
template <class Attempt>
unsigned int FailEachCall(Attempt attempt)
{
    for (unsigned int call = 1;; ++call)
    {
        attempt(call);
        if (g_callsSeen < call)
            return g_callsSeen;
    }
}

/// Counts calls while it lives, and has one fail.
class FailureScope
{
public:
    explicit FailureScope(unsigned int call)
    {
        g_callsSeen = 0;
        g_callToFail = call;
    }
    ~FailureScope() { g_callToFail = 0; }
    FailureScope(FailureScope const &) = delete;
    FailureScope & operator=(FailureScope const &) = delete;
};

} // namespace Velmora::Testing
