#pragma once

#include <map>
#include <string>
#include <vector>

#include "VelmoraCommon/frame/WindowsApi.h"

#include <oleauto.h>

namespace Velmora::Testing
{

/// A value as WMI stores it: a number or, for VT_BSTR, a text.
struct WmiCell
{
    VARTYPE type;
    __int64 number;
    wchar_t const * text = nullptr;
};

struct WmiRow
{
    std::map<std::wstring, WmiCell> cells;
    HRESULT result = S_OK; // what comes with it
};

/// Answers in place of the system's WMI while it lives, on its thread. One at a time.
class FakeWmi
{
public:
    FakeWmi();
    ~FakeWmi();
    FakeWmi(FakeWmi const &) = delete;
    FakeWmi & operator=(FakeWmi const &) = delete;

    /// The objects that are held now.
    static int References();

    std::map<std::wstring, std::vector<WmiRow>> answers; // by class, query or path
    HRESULT connection = S_OK;
    HRESULT security = S_OK;
    HRESULT question = S_OK;
    unsigned int connections = 0;
    DWORD authentication = 0; // of the last connection
    bool keptRow = false;     // whether a row was held when the next one was asked for

private:
    DWORD m_class = 0;
};

} // namespace Velmora::Testing
