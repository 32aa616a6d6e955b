#include "VelmoraCommon/files/GMFileSystemUtils.h"

#include <winioctl.h>

namespace Velmora
{

bool GMFileSystemUtils::SetSparseAttribute(HANDLE file)
{
    DWORD returned = 0;
    return DeviceIoControl(file, FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &returned, nullptr) !=
           FALSE;
}

bool GMFileSystemUtils::ClearSparseAttribute(HANDLE file)
{
    FILE_SET_SPARSE_BUFFER off = {FALSE};
    DWORD returned = 0;
    return DeviceIoControl(file, FSCTL_SET_SPARSE, &off, sizeof off, nullptr, 0, &returned,
                           nullptr) ||
           GetLastError() == ERROR_INVALID_FUNCTION;
}

bool GMFileSystemUtils::HasSparseAttribute(HANDLE file)
{
    LARGE_INTEGER size;
    BY_HANDLE_FILE_INFORMATION information;
    return GetFileSizeEx(file, &size) && GetFileInformationByHandle(file, &information) &&
           (information.dwFileAttributes & FILE_ATTRIBUTE_SPARSE_FILE) != 0;
}

bool GMFileSystemUtils::HasSparseRegion(HANDLE file)
{
    FILE_ALLOCATED_RANGE_BUFFER whole = {};
    if (!GetFileSizeEx(file, &whole.Length))
        return true;
    FILE_ALLOCATED_RANGE_BUFFER ranges[2] = {};
    DWORD returned = 0;
    if (!DeviceIoControl(file, FSCTL_QUERY_ALLOCATED_RANGES, &whole, sizeof whole, ranges,
                         sizeof ranges, &returned, nullptr))
    {
        return true;
    }
    return returned != sizeof ranges[0]; // one range counts as the whole file
}

} // namespace Velmora
