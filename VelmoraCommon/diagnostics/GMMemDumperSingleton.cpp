#include "VelmoraCommon/diagnostics/GMMemDumperSingleton.h"

#include "VelmoraCommon/frame/GMSingleton.h"

namespace Velmora
{

GMMemDumper & GMMemDumperSingleton::Instance()
{
    static GMSingleton<GMMemDumper> s_dumper;
    return s_dumper.Get();
}

} // namespace Velmora
