#include "VelmoraCommon/frame/GMSharedLibrary.h"

#include <gtest/gtest.h>

#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

using namespace Velmora;
using namespace Velmora::Testing;

namespace
{

// A small library that no program has loaded on its own account.
wchar_t const * const someLibrary = L"lz32.dll";
char const * const someExport = "LZOpenFileW";

int freed = 0;
bool refuseToFree = false;
decltype(&FreeLibrary) originalFree = nullptr;

BOOL WINAPI CountedFree(HMODULE module)
{
    ++freed;
    if (refuseToFree)
        return FALSE;
    BOOL const result = originalFree(module);
    SetLastError(ERROR_BUSY); // a module that is let go of may leave anything behind
    return result;
}

TEST(GMSharedLibrary, HoldsOneModule)
{
    GMSharedLibrary library;
    EXPECT_FALSE(library.UnloadSharedLib());
    EXPECT_EQ(nullptr, library.GetSharedLibProc("GetVersion")); // of no module, not of the program
    ASSERT_TRUE(library.LoadSharedLib(someLibrary));
    EXPECT_EQ(nullptr, library.GetSharedLibProc(nullptr));
    EXPECT_EQ(GetModuleHandleW(someLibrary), library.GetHandle());
    EXPECT_NE(nullptr, library.GetSharedLibProc(someExport));
    SetLastError(NO_ERROR);
    EXPECT_FALSE(library.LoadSharedLib(L"no_such_library.dll"));
    EXPECT_EQ(DWORD{ERROR_MOD_NOT_FOUND}, GetLastError());
    EXPECT_NE(nullptr, library.GetSharedLibProc(someExport)); // it keeps the one that it has
    EXPECT_TRUE(library.UnloadSharedLib());
    EXPECT_FALSE(library.IsLoaded());
    EXPECT_EQ(nullptr, GetModuleHandleW(someLibrary));
}

TEST(GMSharedLibrary, FreesEveryModuleOnce)
{
    freed = 0;
    ImportHook const hook("FreeLibrary", &CountedFree, originalFree);
    {
        GMSharedLibrary library;
        ASSERT_TRUE(library.LoadSharedLib(someLibrary));
        ASSERT_TRUE(library.LoadSharedLibEx(L"version.dll", 0));
        EXPECT_EQ(1, freed);
        EXPECT_EQ(nullptr, GetModuleHandleW(someLibrary));

        refuseToFree = true;
        EXPECT_FALSE(library.UnloadSharedLib());
        refuseToFree = false;
        freed = 0;
        SetLastError(ERROR_ACCESS_DENIED);
    }
    EXPECT_EQ(1, freed);
    EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, GetLastError());
}

// The longest path that is told has 260 units; one more, and there is no answer.
TEST(GMSharedLibrary, TellsPathsOfUpTo260Units)
{
    TemporaryFolder const folder;
    EXPECT_EQ(L"", GMSharedLibrary::GetModuleFullName(reinterpret_cast<HMODULE>(16)));
    for (std::size_t const length : {260u, 261u})
    {
        std::wstring path = folder.File(L"");
        path.append(length - path.size() - 4, L'n').append(L".dll");
        ASSERT_TRUE(CopyFileW(
            GMSharedLibrary::GetModuleFullName(GetModuleHandleW(L"VelmoraCommon.dll")).c_str(),
            (L"\\\\?\\" + path).c_str(), TRUE));
        GMSharedLibrary library;
        ASSERT_TRUE(library.LoadSharedLib(path)) << GetLastError();
        EXPECT_EQ(length > 260 ? L"" : path,
                  GMSharedLibrary::GetModuleFullName(library.GetHandle()));
    }
}

} // namespace
