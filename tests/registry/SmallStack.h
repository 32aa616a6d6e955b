#pragma once

#include <functional>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora::Testing
{

/// Runs \p work on a thread with the stack of a small program. Wine ends a thread that runs over its
/// stack without a word, so the end of the work is looked for.
inline void RunOnSmallStack(std::function<void()> const & work)
{
    struct Run
    {
        static DWORD WINAPI Start(void * run)
        {
            auto & self = *static_cast<Run *>(run);
            self.work();
            self.finished = true;
            return 0;
        }
        std::function<void()> const & work;
        bool finished = false;
    };
    Run run = {work};
    ScopedKernelObject const thread(CreateThread(nullptr, 1 << 20, &Run::Start, &run,
                                                 STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr));
    ASSERT_TRUE(thread);
    WaitForSingleObject(thread.Get(), INFINITE);
    EXPECT_TRUE(run.finished) << "the stack was too small";
}

} // namespace Velmora::Testing
