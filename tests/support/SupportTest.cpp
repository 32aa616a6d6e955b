// The test bed proves itself: a tool that sees nothing would let every test pass.
#include <gtest/gtest.h>

#include "VelmoraCommon/frame/GMBuffer.h"
#include "VelmoraCommon/frame/GMEnvironmentVariable.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/GuardBuffer.h"
#include "tests/support/GuardHeap.h"
#include "tests/support/ImportHook.h"

namespace Velmora::Testing
{

namespace
{

DWORD WINAPI NoVariable(wchar_t const *, wchar_t *, DWORD) { return 0; }

bool Faults(void (*read)())
{
    // A child process would be slower by a factor of thousands; a vectored handler is enough here.
    static bool s_faulted;
    s_faulted = false;
    struct Recovery
    {
        static LONG CALLBACK Handle(EXCEPTION_POINTERS * pointers)
        {
            if (pointers->ExceptionRecord->ExceptionCode != EXCEPTION_ACCESS_VIOLATION)
                return EXCEPTION_CONTINUE_SEARCH;
            s_faulted = true;
            auto const page = pointers->ExceptionRecord->ExceptionInformation[1] & ~ULONG_PTR(4095);
            VirtualAlloc(reinterpret_cast<void *>(page), 4096, MEM_COMMIT, PAGE_READWRITE);
            return EXCEPTION_CONTINUE_EXECUTION; // the access runs again and succeeds
        }
    };
    void * const handler = AddVectoredExceptionHandler(1, &Recovery::Handle);
    read();
    RemoveVectoredExceptionHandler(handler);
    return s_faulted;
}

// Volatile, so that the compiler neither sees nor drops the forbidden reads.
unsigned char const * volatile g_block;
int volatile g_sink;
std::size_t volatile s_index;

} // namespace

TEST(ImportHook, ReplacesTheLibrarysImportAndNothingElse)
{
    wchar_t name[] = L"PATH";
    {
        ImportHook const hook("GetEnvironmentVariableW", &NoVariable);
        EXPECT_EQ(L"", GMEnvironmentVariable::GetEnvironmentVar(name));
        EXPECT_NE(0u, GetEnvironmentVariableW(name, nullptr, 0));
    }
    EXPECT_NE(L"", GMEnvironmentVariable::GetEnvironmentVar(name));
    EXPECT_THROW(ImportHook("NoSuchFunction", &NoVariable), std::runtime_error);
}

TEST(GuardBuffer, EndsAtAnUnreadablePage)
{
    auto const read = []
    {
        GuardBuffer<char> const buffer("abc", 3);
        g_sink = buffer.Data()[s_index];
    };
    s_index = 2;
    EXPECT_FALSE(Faults(read));
    s_index = 3;
    EXPECT_TRUE(Faults(read));
}

TEST(GuardHeap, CatchesReadsBehindABlockAndAfterItsRelease)
{
    if (!IsGuardHeapInstalled())
        GTEST_SKIP() << "only the build with run-time checks has the guard heap";
    EXPECT_TRUE(Faults(
        []
        {
            GMBuffer<unsigned char> const buffer(64);
            g_block = buffer.m_data;
            g_sink = g_block[64];
        }));
    EXPECT_TRUE(Faults(
        []
        {
            {
                GMBuffer<unsigned char> const buffer(64);
                g_block = buffer.m_data;
            }
            g_sink = g_block[0];
        }));
}

TEST(AllocationMeter, SeesThePeakAndNotTheSum)
{
    AllocationMeter const meter;
    for (int i = 0; i < 10; ++i)
    {
        GMBuffer<unsigned char> const buffer(1000000);
        g_block = buffer.m_data; // else the compiler leaves the allocation out
    }
    EXPECT_GE(meter.Peak(), 1000000u);
    EXPECT_LT(meter.Peak(), 1500000u);
}

} // namespace Velmora::Testing
