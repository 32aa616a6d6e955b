#include "VelmoraCommon/threads/GMFuncTaskListSingleton.h"

#include "VelmoraCommon/frame/GMSingleton.h"

namespace Velmora
{

GMFuncTaskList & GMFuncTaskListSingleton::Instance()
{
    static GMSingleton<GMFuncTaskList> s_list(1u);
    return s_list.Get();
}

} // namespace Velmora
