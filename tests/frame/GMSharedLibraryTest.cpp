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

int lookedUp = 0;

FARPROC WINAPI CountedLookUp(HMODULE, char const *)
{
    ++lookedUp;
    return nullptr;
}

TEST(GMSharedLibrary, HoldsOneModule)
{
    GMSharedLibrary library;
    EXPECT_FALSE(library.UnloadSharedLib());
    ASSERT_TRUE(library.LoadSharedLib(someLibrary));
    EXPECT_EQ(GetModuleHandleW(someLibrary), library.GetHandle());
    EXPECT_NE(nullptr, library.GetSharedLibProc(someExport));
    EXPECT_EQ(nullptr, library.GetSharedLibProc("noSuchExport"));
    EXPECT_TRUE(library.UnloadSharedLib());
    EXPECT_FALSE(library.IsLoaded());
    EXPECT_EQ(nullptr, GetModuleHandleW(someLibrary));
}

TEST(GMSharedLibrary, KeepsTheModuleWhenAnotherFailsToLoad)
{
    GMSharedLibrary library;
    ASSERT_TRUE(library.LoadSharedLib(someLibrary));
    HMODULE const module = library.GetHandle();
    SetLastError(NO_ERROR);
    EXPECT_FALSE(library.LoadSharedLib(L"no_such_library.dll"));
    EXPECT_EQ(DWORD{ERROR_MOD_NOT_FOUND}, GetLastError());
    EXPECT_FALSE(library.LoadSharedLibEx(L"no_such_library.dll", LOAD_LIBRARY_AS_DATAFILE));
    EXPECT_EQ(module, library.GetHandle());
    EXPECT_NE(nullptr, library.GetSharedLibProc(someExport));
}

TEST(GMSharedLibrary, FreesEveryModuleOnce)
{
    freed = 0;
    refuseToFree = false;
    ImportHook const hook("FreeLibrary", &CountedFree, originalFree);
    {
        GMSharedLibrary library;
        ASSERT_TRUE(library.LoadSharedLib(someLibrary));
        ASSERT_TRUE(library.LoadSharedLibEx(L"version.dll", 0));
        EXPECT_EQ(1, freed);
        EXPECT_EQ(nullptr, GetModuleHandleW(someLibrary));

        refuseToFree = true;
        EXPECT_FALSE(library.UnloadSharedLib());
        EXPECT_TRUE(library.IsLoaded());
        refuseToFree = false;
        freed = 0;
        SetLastError(ERROR_ACCESS_DENIED);
    }
    EXPECT_EQ(1, freed);
    EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, GetLastError());
}

TEST(GMSharedLibrary, LooksNothingUpWithoutModuleOrName)
{
    lookedUp = 0;
    ImportHook const hook("GetProcAddress", &CountedLookUp);
    GMSharedLibrary library;
    EXPECT_EQ(nullptr, library.GetSharedLibProc(someExport));
    ASSERT_TRUE(library.LoadSharedLib(someLibrary));
    EXPECT_EQ(nullptr, library.GetSharedLibProc(nullptr));
    EXPECT_EQ(0, lookedUp);
}

TEST(GMSharedLibrary, NullStandsForTheProgram)
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    EXPECT_EQ(path, GMSharedLibrary::GetModuleFullName(nullptr));
    EXPECT_EQ(L"", GMSharedLibrary::GetModuleFullName(reinterpret_cast<HMODULE>(16)));
}

// The longest path that is told has 260 units; one more, and there is no answer.
TEST(GMSharedLibrary, TellsPathsOfUpTo260Units)
{
    TemporaryFolder const folder;
    for (std::size_t const length : {259u, 260u, 261u})
    {
        SCOPED_TRACE(length);
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
