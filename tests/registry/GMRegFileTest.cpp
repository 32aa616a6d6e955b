#include "VelmoraCommon/registry/GMRegFile.h"

#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <aclapi.h>
#include <gmock/gmock.h>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/registry/GMRegValue.h"
#include "tests/support/FailingCall.h"
#include "tests/support/Hex.h"
#include "tests/support/ImportHook.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/RegistrySnapshot.h"

namespace Velmora::Testing
{

namespace
{

using ::testing::ElementsAre;

constexpr wchar_t const * keep = L"as it was";

/// A scratch key that a GMRegFile has open, and ways around the library to its content.
class GMRegFileTest : public ::testing::Test
{
protected:
    GMRegFileTest() { EXPECT_TRUE(m_file.OpenKey(Full(), KEY_ALL_ACCESS, false)); }

    std::wstring Full(std::wstring const & below = L"") const
    {
        return L"HKEY_CURRENT_USER\\" + m_scratch.Path() + below;
    }

    void Store(wchar_t const * name, std::string_view bytes, DWORD type = REG_BINARY)
    {
        RegSetValueExW(m_scratch.Key(), name, 0, type,
                       reinterpret_cast<unsigned char const *>(bytes.data()),
                       static_cast<DWORD>(bytes.size()));
    }

    void MakeKey(std::wstring const & below)
    {
        ScopedRegKey key;
        RegCreateKeyExW(m_scratch.Key(), below.c_str(), 0, nullptr, 0, KEY_READ, nullptr,
                        key.Receive(), nullptr);
    }

    std::string Snapshot() const { return RegistrySnapshot(HKEY_CURRENT_USER, m_scratch.Path()); }

    ScratchKey m_scratch;
    GMRegFile m_file;
};

// What the fakes answer and see. Each test sets what it uses.
LSTATUS g_answer;
std::vector<REGSAM> g_accesses;
DWORD g_type;
DWORD g_size;
std::string g_missingExport;

LSTATUS WINAPI AnswerOpen(HKEY, LPCWSTR, DWORD, REGSAM access, PHKEY)
{
    g_accesses.push_back(access);
    return g_answer;
}

LSTATUS WINAPI AnswerCreate(HKEY, LPCWSTR, DWORD, LPWSTR, DWORD, REGSAM access,
                            SECURITY_ATTRIBUTES *, PHKEY, LPDWORD)
{
    g_accesses.push_back(access);
    return ERROR_DISK_FULL;
}

LSTATUS WINAPI NoteSet(HKEY, LPCWSTR, DWORD, DWORD type, BYTE const *, DWORD size)
{
    g_type = type;
    g_size = size;
    return ERROR_SUCCESS;
}

decltype(GetProcAddress) * g_getProcAddress;
FARPROC WINAPI WithoutExport(HMODULE module, LPCSTR name)
{
    return g_missingExport == name ? nullptr : g_getProcAddress(module, name);
}

LSTATUS WINAPI KeepB(HKEY root, LPCWSTR subKey, REGSAM view, DWORD reserved)
{
    std::wstring const path = subKey;
    return path.substr(path.size() - 2) == L"\\b" ? ERROR_ACCESS_DENIED
                                                  : RegDeleteKeyExW(root, subKey, view, reserved);
}

TEST_F(GMRegFileTest, TakesPathsApart)
{
    for (auto const & [path, expectedRoot, expectedPath] : {
             std::tuple(L"HKCR\\.txt", HKEY_CLASSES_ROOT, L".txt"),
             std::tuple(L"HKEY_USERS", HKEY_USERS, keep), // nothing below
             // No root, so a path below the local machine: case counts, and the whole name.
             std::tuple(L"hkcu\\A", HKEY_LOCAL_MACHINE, L"hkcu\\A"),
             std::tuple(L"HKEY_USERS_X\\A", HKEY_LOCAL_MACHINE, L"HKEY_USERS_X\\A"),
         })
    {
        std::wstring subPath = keep;
        HKEY root = nullptr;
        GMRegFile::SplitKeyPath(path, subPath, root);
        EXPECT_EQ(expectedRoot, root) << Hex(std::wstring(path));
        EXPECT_EQ(expectedPath, subPath);
    }
}

TEST_F(GMRegFileTest, TellsThePathOfAKey)
{
    EXPECT_EQ(L"HKEY_DYN_DATA\\A", GMRegFile::CombineKeyPath(HKEY_DYN_DATA, L"A"));
    EXPECT_EQ(L"", GMRegFile::GetKeyPathFromHKEY(nullptr));
    EXPECT_EQ(L"", GMRegFile::GetKeyPathFromHKEY(reinterpret_cast<HKEY>(0x7FFFFF0)));

    std::wstring const path = GMRegFile::GetKeyPathFromHKEY(m_scratch.Key());
    EXPECT_EQ(0u, path.find(L"\\REGISTRY\\")) << Hex(path);
    EXPECT_EQ(path.size() - m_scratch.Path().size(), path.find(m_scratch.Path())) << Hex(path);

    g_missingExport = "ZwQueryKey";
    ImportHook const hook("GetProcAddress", &WithoutExport, g_getProcAddress);
    EXPECT_EQ(L"", GMRegFile::GetKeyPathFromHKEY(m_scratch.Key()));
}

TEST_F(GMRegFileTest, MakesMissingKeysWithAllAccess)
{
    EXPECT_FALSE(m_file.OpenKey(L"", KEY_READ, true));
    EXPECT_FALSE(m_file.OpenKey(Full(L"\\missing"), KEY_READ, false));
    EXPECT_EQ(DWORD(ERROR_FILE_NOT_FOUND), m_file.LastError());
    ASSERT_TRUE(m_file.OpenKey(Full(L"\\a\\b"), KEY_READ, true));
    EXPECT_EQ(0u, m_file.LastError());
    EXPECT_TRUE(m_file.SetValue(L"v", 1ul));
    GMRegValue value;
    EXPECT_TRUE(m_file.GetValue(L"v", &value));
    EXPECT_EQ(Full(L"\\a\\b"), value.GetKeyPath());

    ImportHook const open("RegOpenKeyExW", &AnswerOpen);
    ImportHook const create("RegCreateKeyExW", &AnswerCreate);
    using Accesses = std::vector<REGSAM>;
    for (auto const & [answer, view, passedOn, lastError] : {
             std::tuple(2, 0x100u, Accesses{KEY_READ | 0x100, 0xF013F}, ERROR_DISK_FULL),
             std::tuple(2, 0x200u, Accesses{KEY_READ | 0x200, 0xF003F}, ERROR_DISK_FULL),
             std::tuple(5, 0u, Accesses{KEY_READ}, ERROR_ACCESS_DENIED), // not a missing key
         })
    {
        g_accesses.clear();
        g_answer = answer;
        EXPECT_FALSE(m_file.OpenKey(Full(), KEY_READ | view, true));
        EXPECT_EQ(passedOn, g_accesses);
        EXPECT_EQ(DWORD(lastError), m_file.LastError());
    }
}

TEST_F(GMRegFileTest, ReadsNumbersOfAnyTypeThatFit)
{
    std::string const bytes("\1\2\3\4\5\6\7\x88\x09", 9);
    for (auto const & [size, fits4, expected4, fits8, expected8] :
         {std::tuple(2u, true, 0x0201ul, true, 0x0201ull),
          std::tuple(8u, false, 0ul, true, 0x8807060504030201ull),
          std::tuple(9u, false, 0ul, false, 0ull)})
    {
        Store(L"n", bytes.substr(0, size));
        unsigned long number4 = 77;
        unsigned __int64 number8 = 77;
        EXPECT_EQ(fits4, m_file.GetValue(L"n", number4));
        EXPECT_EQ(expected4, number4);
        EXPECT_EQ(fits8, m_file.GetValue(L"n", number8));
        EXPECT_EQ(expected8, number8);
    }
    EXPECT_EQ(DWORD(ERROR_MORE_DATA), m_file.LastError());
}

TEST_F(GMRegFileTest, ReadsTextUpToItsNul)
{
    std::string const units("a\0b\0\0\0c", 7);
    for (auto const & [bytes, fits, expected] : {
             std::tuple(units, true, std::wstring(L"ab")),
             std::tuple(units.substr(0, 3), true, std::wstring(L"ab")), // no NUL, half a unit
             std::tuple(std::string(1024, 'a'), true, std::wstring(512, 0x6161)),
             std::tuple(std::string(1025, 'a'), false, std::wstring()),
         })
    {
        SCOPED_TRACE(bytes.size());
        Store(L"t", bytes);
        std::wstring text = keep;
        EXPECT_EQ(fits, m_file.GetValue(L"t", text));
        EXPECT_EQ(expected, text);
    }
    EXPECT_EQ(DWORD(ERROR_MORE_DATA), m_file.LastError());
}

TEST_F(GMRegFileTest, ReadsWholeValuesOfAnyTypeAndSize)
{
    for (auto const & [type, size, known] : {
             std::tuple(REG_DWORD, 0u, true), std::tuple(REG_BINARY, 1024u, true),
             std::tuple(REG_BINARY, 1025u, true), std::tuple(REG_NONE, 100000u, true),
             std::tuple(REG_RESOURCE_LIST, 5u, false), // no form of its own, but its bytes are kept
         })
    {
        Store(L"v", std::string(size, 'q'), static_cast<DWORD>(type));
        GMRegValue value;
        EXPECT_EQ(known, m_file.GetValue(L"v", &value));
        EXPECT_EQ(static_cast<DWORD>(type), value.GetType());
        EXPECT_EQ(L"v", value.GetName());
        EXPECT_EQ(size, value.GetBinary().m_length);
    }
    // Without terminator the last unit goes. No NUL may follow, or the system stores it, too.
    std::string const units(4002, 'q');
    Store(L"v", {units.data(), 4000}, REG_SZ);
    GMRegValue text;
    EXPECT_TRUE(m_file.GetValue(L"v", &text));
    EXPECT_EQ(std::wstring(1999, 0x7171), text.GetString());
}

TEST_F(GMRegFileTest, WritesValues)
{
    GMRegValue const number(L"other name", 0x01020304u);
    GMRegValue const text(L"", std::wstring(L"ab"));
    GMRegValue const nothing(REG_NONE);
    EXPECT_TRUE(m_file.SetValue(L"a", &number));
    EXPECT_TRUE(m_file.SetValue(L"", &text));
    EXPECT_TRUE(m_file.SetValue(L"b", &nothing));
    EXPECT_TRUE(m_file.SetValue(L"c", 5ul));
    EXPECT_EQ("[]\n"
              "  \"\" type 1: 61 00 62 00 00 00\n"
              "  \"a\" type 4: 04 03 02 01\n"
              "  \"b\" type 0: \n"
              "  \"c\" type 4: 05 00 00 00\n",
              Snapshot());
    EXPECT_TRUE(m_file.DeleteValue(L"A"));
    EXPECT_TRUE(m_file.DeleteValue(L"A")) << "missing";

    GMRegFile readOnly;
    ASSERT_TRUE(readOnly.OpenKey(Full(), KEY_READ, false));
    EXPECT_FALSE(readOnly.DeleteValue(L"c"));
    EXPECT_EQ(DWORD(ERROR_ACCESS_DENIED), readOnly.LastError());

    // The system may add the terminator by itself, so what counts is what it is told.
    ImportHook const hook("RegSetValueExW", &NoteSet);
    EXPECT_TRUE(m_file.SetValue(L"t", L"abc"));
    EXPECT_EQ(DWORD(REG_SZ), g_type);
    EXPECT_EQ(6u, g_size);
    EXPECT_TRUE(m_file.SetValue(L"t", L""));
    EXPECT_EQ(0u, g_size);
}

TEST_F(GMRegFileTest, ListsNames)
{
    std::vector<GMString> keys = {keep};
    std::vector<GMString> names = {keep};
    EXPECT_TRUE(m_file.EnumKeyValueName(keys, names));
    EXPECT_THAT(keys, ElementsAre(keep)) << "nothing to list leaves the list alone";
    EXPECT_THAT(names, ElementsAre(keep));

    std::wstring const longest(255, L'k');
    MakeKey(longest);
    MakeKey(L"A");
    for (wchar_t const * name : {L"", L"x", L"Y"})
        Store(name, "1");
    for (bool const atOnce : {true, false})
    {
        keys = names = {keep};
        EXPECT_TRUE(atOnce ? m_file.EnumKeyValueName(keys, names)
                           : m_file.EnumSubKeys(keys) && m_file.EnumValueNames(names));
        EXPECT_THAT(keys, ElementsAre(L"A", longest));
        EXPECT_THAT(names, ElementsAre(L"", L"x", L"Y"));
    }

    // Of calls that fail the last one decides.
    FailingCall<0, decltype(&RegEnumValueW)> const enumerate("RegEnumValueW", ERROR_BADKEY);
    for (unsigned int const call : {2u, 3u})
    {
        FailureScope const scope(call);
        EXPECT_EQ(call == 2, m_file.EnumValueNames(names));
        EXPECT_THAT(names, ElementsAre(L"", call == 2 ? L"Y" : L"x"));
        EXPECT_EQ(DWORD(call == 2 ? 0 : ERROR_BADKEY), m_file.LastError());
    }
}

TEST_F(GMRegFileTest, DeletesTrees)
{
    for (char const * missing : {"", "RegDeleteKeyExW"})
    {
        SCOPED_TRACE(missing);
        MakeKey(L"t\\a\\x");
        MakeKey(L"t\\b");
        g_missingExport = missing;
        ImportHook const hook("GetProcAddress", &WithoutExport, g_getProcAddress);
        EXPECT_EQ(0, GMRegFile::DeleteKeyEx(Full(L"\\t"), 0));
        EXPECT_EQ("[]\n", Snapshot());
    }
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, GMRegFile::DeleteKeyEx(Full(L"\\t"), 0));
    EXPECT_EQ(0, GMRegFile::DeleteKeyEx(L"", 0));

    for (wchar_t const * each : {L"t\\a\\x", L"t\\a\\y", L"t\\b", L"t\\c"})
        MakeKey(each);
    EXPECT_EQ(ERROR_ACCESS_DENIED, GMRegFile::DeleteKeyExHelper(
                                       HKEY_CURRENT_USER, m_scratch.Path() + L"\\t", 0, &KeepB));
    EXPECT_EQ("[]\n[\\t]\n[\\t\\b]\n[\\t\\c]\n", Snapshot()) << "it stops at what stays";
}

TEST_F(GMRegFileTest, GrantsTheUserFullControl)
{
    ACL none = {};
    InitializeAcl(&none, sizeof none, ACL_REVISION);
    SetSecurityInfo(m_scratch.Key(), SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                    &none, nullptr);
    EXPECT_FALSE(m_file.OpenKey(Full(), KEY_READ, false));
    EXPECT_EQ(0, GMRegFile::ModifyRegAccess(Full()));
    EXPECT_TRUE(m_file.OpenKey(Full(), KEY_ALL_ACCESS, false)) << m_file.LastError();
    EXPECT_EQ(-1, GMRegFile::ModifyRegAccess(Full(L"\\missing")));
}

} // namespace

} // namespace Velmora::Testing
