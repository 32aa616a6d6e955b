#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMNonCopyAble.h"
#include "VelmoraCommon/threads/GMFuncTaskList.h"

namespace Velmora
{

/// The one task list of the process, with one worker.
///
/// It is destroyed while the library is unloaded and drops calls that haven't begun; wait for those
/// that matter. At the end of the process that is safe, whatever the worker is doing. A program that
/// unloads the library at run time first calls CloseTaskThread on the list: a worker can't end while
/// a module is being unloaded, and the unloading would hang in its wait for the worker.
class VELMORA_API GMFuncTaskListSingleton : public GMNonCopyAble
{
public:
    /// Made at the first call, without a thread: the worker starts with the first AddFunc.
    static GMFuncTaskList & Instance();
};

} // namespace Velmora
