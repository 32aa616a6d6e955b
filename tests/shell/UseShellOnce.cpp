#include <gtest/gtest.h>

#include "VelmoraCommon/frame/internal/Com.h"

#include <shlobj.h>

namespace Velmora::Testing
{

namespace
{

/// The shell opens keys at its first uses and keeps them; that is no leak of a test's.
class UseShellOnce : public ::testing::Environment
{
    void SetUp() override
    {
        ComApartment const apartment(COINIT_APARTMENTTHREADED);
        for (wchar_t const * place : {L"C:\\", L"::{20D04FE0-3AEA-1069-A2D8-08002B30309D}"})
        {
            ComPtr<IShellItem> item;
            wchar_t * name = nullptr;
            SHCreateItemFromParsingName(place, nullptr, IID_PPV_ARGS(item.GetAddressOf()));
            if (item != nullptr && SUCCEEDED(item->GetDisplayName(SIGDN_NORMALDISPLAY, &name)))
                CoTaskMemFree(name);
        }
    }
};
auto * const s_use = ::testing::AddGlobalTestEnvironment(new UseShellOnce);

} // namespace

} // namespace Velmora::Testing
