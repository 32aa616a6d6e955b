#include "tools/common/WholeFile.h"

#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "tools/common/Messages.h"

using namespace Velmora;

namespace Tools
{

void WriteWholeFile(GMString const & path, void const * data, std::size_t size, bool replace)
{
    GMString const temporary = path + L".new";
    GMFile file;
    unsigned int written = 0;
    Require(file.Create(temporary, GENERIC_WRITE, 0, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL), path);
    try
    {
        Require(file.Write(data, static_cast<unsigned int>(size), written) &&
                    FlushFileBuffers(file.GetHandle()) && file.Close() &&
                    MoveFileExW(temporary.c_str(), path.c_str(),
                                MOVEFILE_WRITE_THROUGH | (replace ? MOVEFILE_REPLACE_EXISTING : 0)),
                path);
    }
    catch (Failure const &)
    {
        file.Close();
        GMFilePathUtils::RemoveFile(temporary);
        throw;
    }
}

} // namespace Tools
