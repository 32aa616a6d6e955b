#include "VelmoraCommon/registry/GMRegFile.h"

#include <string>
#include <vector>

#include <aclapi.h>
#include <gmock/gmock.h>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/registry/GMRegValue.h"
#include "tests/support/Hex.h"
#include "tests/support/ImportHook.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/RegistrySnapshot.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

using ::testing::ElementsAre;

std::wstring const keep = L"as it was";

/// A scratch key that a GMRegFile has open, and ways around the library to its content.
class GMRegFileTest : public ::testing::Test
{
protected:
    GMRegFileTest() { EXPECT_TRUE(m_file.OpenKey(Full(), KEY_ALL_ACCESS, false)); }

    std::wstring Full(std::wstring const & below = L"") const
    {
        return L"HKEY_CURRENT_USER\\" + m_scratch.Path() + below;
    }

    void Store(wchar_t const * name, std::string const & bytes, DWORD type = REG_BINARY)
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
DWORD g_failingIndex;
std::vector<REGSAM> g_accesses;
DWORD g_type;
DWORD g_size;
std::string g_missingExport;
std::wstring g_objectName;

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

LSTATUS WINAPI AnswerInfo(HKEY, LPWSTR, LPDWORD, LPDWORD, LPDWORD, LPDWORD, LPDWORD, LPDWORD,
                          LPDWORD, LPDWORD, LPDWORD, PFILETIME)
{
    return g_answer;
}

LSTATUS WINAPI AnswerRestore(HKEY, LPCWSTR, DWORD) { return g_answer; }

decltype(RegEnumValueW) * g_enumValue;
LSTATUS WINAPI FailingEnumValue(HKEY key, DWORD index, LPWSTR name, LPDWORD length,
                                LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size)
{
    return index == g_failingIndex
               ? g_answer
               : g_enumValue(key, index, name, length, reserved, type, data, size);
}

LSTATUS WINAPI NoteSet(HKEY, LPCWSTR, DWORD, DWORD type, BYTE const *, DWORD size)
{
    g_type = type;
    g_size = size;
    return ERROR_SUCCESS;
}

decltype(RegQueryValueExW) * g_query;
LSTATUS WINAPI GrowingQuery(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                            LPDWORD size)
{
    LSTATUS const code = g_query(key, name, reserved, type, data, size);
    std::string const more(*size + 100, 'x');
    if (code == ERROR_MORE_DATA && *size < 3000)
        RegSetValueExW(key, name, 0, REG_BINARY,
                       reinterpret_cast<unsigned char const *>(more.data()),
                       static_cast<DWORD>(more.size()));
    return code;
}

decltype(GetProcAddress) * g_getProcAddress;
FARPROC WINAPI WithoutExport(HMODULE module, LPCSTR name)
{
    return g_missingExport == name ? nullptr : g_getProcAddress(module, name);
}

DWORD WINAPI NoteObject(LPCWSTR name, SE_OBJECT_TYPE, SECURITY_INFORMATION, PSID *, PSID *, PACL *,
                        PACL *, PSECURITY_DESCRIPTOR *)
{
    g_objectName = name;
    return ERROR_ACCESS_DENIED;
}

LSTATUS WINAPI KeepB(HKEY root, LPCWSTR subKey, REGSAM view, DWORD reserved)
{
    std::wstring const path = subKey;
    return path.substr(path.size() - 2) == L"\\b" ? ERROR_ACCESS_DENIED
                                                  : RegDeleteKeyExW(root, subKey, view, reserved);
}

TEST_F(GMRegFileTest, TakesPathsApart)
{
    struct Case
    {
        char const * what;
        wchar_t const * path;
        HKEY root;
        std::wstring subPath;
    };
    Case const cases[] = {
        {"long name", L"HKEY_CURRENT_CONFIG\\A\\B", HKEY_CURRENT_CONFIG, L"A\\B"},
        {"short name", L"HKCR\\.txt", HKEY_CLASSES_ROOT, L".txt"},
        {"root alone", L"HKEY_USERS", HKEY_USERS, keep},
        {"nothing behind the backslash", L"HKLM\\", HKEY_LOCAL_MACHINE, keep},
        {"case counts", L"hkcu\\A", HKEY_LOCAL_MACHINE, L"hkcu\\A"},
        {"no root", L"Software\\X", HKEY_LOCAL_MACHINE, L"Software\\X"},
        {"start of a name", L"HKEY_USERS_X\\A", HKEY_LOCAL_MACHINE, L"HKEY_USERS_X\\A"},
        {"only a handle", L"HKEY_DYN_DATA\\A", HKEY_LOCAL_MACHINE, L"HKEY_DYN_DATA\\A"},
        {"leading backslash", L"\\A", HKEY_LOCAL_MACHINE, L"\\A"},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        std::wstring subPath = keep;
        HKEY root = nullptr;
        GMRegFile::SplitKeyPath(each.path, subPath, root);
        EXPECT_EQ(each.root, root);
        EXPECT_EQ(each.subPath, subPath);
    }
}

TEST_F(GMRegFileTest, TellsThePathOfAKey)
{
    EXPECT_EQ(L"HKEY_PERFORMANCE_TEXT", GMRegFile::GetKeyPathFromHKEY(HKEY_PERFORMANCE_TEXT));
    EXPECT_EQ(L"HKEY_DYN_DATA\\A", GMRegFile::CombineKeyPath(HKEY_DYN_DATA, L"A"));
    EXPECT_EQ(L"", GMRegFile::GetKeyPathFromHKEY(nullptr));
    EXPECT_EQ(L"", GMRegFile::GetKeyPathFromHKEY(reinterpret_cast<HKEY>(0x7FFFFF0)));

    std::wstring const path = GMRegFile::GetKeyPathFromHKEY(m_scratch.Key());
    EXPECT_EQ(0u, path.find(L"\\REGISTRY\\")) << Hex(path);
    EXPECT_EQ(path.size() - m_scratch.Path().size(), path.find(m_scratch.Path())) << Hex(path);
    EXPECT_EQ(path, GMRegFile::GetKeyPathFromHKEY(m_file.GetKey()));

    g_missingExport = "ZwQueryKey";
    ImportHook const hook("GetProcAddress", &WithoutExport, g_getProcAddress);
    EXPECT_EQ(L"", GMRegFile::GetKeyPathFromHKEY(m_scratch.Key()));
}

TEST_F(GMRegFileTest, OpensWhatThePathSays)
{
    EXPECT_TRUE(m_file.OpenKey(L"Software\\Microsoft", KEY_READ, false));
    EXPECT_TRUE(m_file.OpenKey(L"HKCU\\", KEY_READ, false));
    EXPECT_FALSE(m_file.OpenKey(L"", KEY_READ, true));
    EXPECT_EQ(0u, m_file.LastError());
    EXPECT_FALSE(m_file.OpenKey(Full(L"\\missing"), KEY_READ, false));
    EXPECT_EQ(DWORD(ERROR_FILE_NOT_FOUND), m_file.LastError());
    EXPECT_EQ(nullptr, m_file.GetKey());
    m_file.CloseKey();
    EXPECT_EQ(0u, m_file.LastError());
}

TEST_F(GMRegFileTest, MakesMissingKeysWithAllAccess)
{
    ASSERT_TRUE(m_file.OpenKey(Full(L"\\a\\b"), KEY_READ, true));
    EXPECT_EQ(0u, m_file.LastError());
    EXPECT_TRUE(m_file.SetValue(L"v", 1ul));
    GMRegValue value;
    EXPECT_TRUE(m_file.GetValue(L"v", &value));
    EXPECT_EQ(Full(L"\\a\\b"), value.GetKeyPath());

    ImportHook const open("RegOpenKeyExW", &AnswerOpen);
    ImportHook const create("RegCreateKeyExW", &AnswerCreate);
    struct Case
    {
        char const * what;
        LSTATUS openAnswer;
        REGSAM access;
        std::vector<REGSAM> passedOn;
        DWORD lastError;
    };
    Case const cases[] = {
        {"64-bit view goes on", 2, KEY_READ | 0x100, {KEY_READ | 0x100, 0xF013F}, ERROR_DISK_FULL},
        {"32-bit view doesn't", 2, KEY_READ | 0x200, {KEY_READ | 0x200, 0xF003F}, ERROR_DISK_FULL},
        {"only a missing key is made", 5, KEY_WRITE, {KEY_WRITE}, ERROR_ACCESS_DENIED},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        g_accesses.clear();
        g_answer = each.openAnswer;
        EXPECT_FALSE(m_file.OpenKey(Full(), each.access, true));
        EXPECT_EQ(each.passedOn, g_accesses);
        EXPECT_EQ(each.lastError, m_file.LastError());
    }
}

TEST_F(GMRegFileTest, ReadsNumbersOfAnyTypeThatFit)
{
    struct Case
    {
        char const * what;
        std::string bytes;
        bool fits4;
        unsigned long number4;
        bool fits8;
        unsigned __int64 number8;
    };
    Case const cases[] = {
        {"four bytes", {"\1\2\3\x80", 4}, true, 0x80030201, true, 0x80030201},
        {"two bytes", {"\1\2", 2}, true, 0x0201, true, 0x0201},
        {"eight bytes", {"\1\2\3\4\5\6\7\x88", 8}, false, 0, true, 0x8807060504030201},
        {"nine bytes", {"123456789", 9}, false, 0, false, 0},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        Store(L"n", each.bytes);
        unsigned long number4 = 77;
        unsigned __int64 number8 = 77;
        EXPECT_EQ(each.fits4, m_file.GetValue(L"n", number4));
        EXPECT_EQ(each.number4, number4);
        EXPECT_EQ(each.fits8, m_file.GetValue(L"n", number8));
        EXPECT_EQ(each.number8, number8);
        EXPECT_EQ(each.fits4 ? each.number4 : 9ul, m_file.GetUInt32Value(L"n", 9));
    }
    EXPECT_EQ(DWORD(ERROR_MORE_DATA), m_file.LastError());
    EXPECT_EQ(9ul, m_file.GetUInt32Value(L"missing", 9));
    EXPECT_EQ(DWORD(ERROR_FILE_NOT_FOUND), m_file.LastError());
}

TEST_F(GMRegFileTest, ReadsTextUpToItsNul)
{
    struct Case
    {
        char const * what;
        std::string bytes;
        bool fits;
        std::wstring text;
    };
    Case const cases[] = {
        {"terminated", {"a\0b\0\0\0", 6}, true, L"ab"},
        {"not terminated", {"a\0b\0", 4}, true, L"ab"},
        {"two texts", {"a\0\0\0b\0", 6}, true, L"a"},
        {"half a unit", {"a\0b", 3}, true, L"ab"},
        {"empty", "", true, L""},
        {"full, without NUL", std::string(1024, 'a'), true, std::wstring(512, 0x6161)},
        {"too long", std::string(1025, 'a'), false, L""},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        Store(L"t", each.bytes);
        std::wstring text = keep;
        EXPECT_EQ(each.fits, m_file.GetValue(L"t", text));
        EXPECT_EQ(each.text, text);
        EXPECT_EQ(each.fits ? each.text : L"default", m_file.GetStringValue(L"t", L"default"));
    }
    EXPECT_EQ(DWORD(ERROR_MORE_DATA), m_file.LastError());
}

TEST_F(GMRegFileTest, ReadsWholeValuesOfAnyTypeAndSize)
{
    struct Case
    {
        char const * what;
        DWORD type;
        std::size_t size;
        bool known;
    };
    Case const cases[] = {
        {"nothing", REG_DWORD, 0, true},          {"usual", REG_BINARY, 1024, true},
        {"larger", REG_BINARY, 1025, true},       {"large", REG_NONE, 100000, true},
        {"bad number", REG_DWORD, 3, false},      {"list", REG_RESOURCE_LIST, 5, false},
        {"long text", REG_EXPAND_SZ, 4000, true},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        Store(L"v", std::string(each.size, 'q'), each.type);
        GMRegValue value;
        EXPECT_EQ(each.known, m_file.GetValue(L"v", &value));
        EXPECT_EQ(each.type, value.GetType());
        EXPECT_EQ(L"v", value.GetName());
        if (each.type == REG_EXPAND_SZ)
        {
            EXPECT_EQ(std::wstring(each.size / 2 - 1, 0x7171), value.GetString());
        }
        else if (each.type != REG_DWORD)
        {
            EXPECT_EQ(each.size, value.GetBinary().m_length);
        }
    }

    ImportHook const hook("RegQueryValueExW", &GrowingQuery, g_query);
    Store(L"v", std::string(2000, 'q'));
    GMRegValue grown;
    EXPECT_TRUE(m_file.GetValue(L"v", &grown));
    EXPECT_EQ(3000u, grown.GetBinary().m_length);
    EXPECT_EQ(0u, m_file.LastError());
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
    m_file.Check(ERROR_DISK_FULL);
    EXPECT_TRUE(m_file.DeleteValue(L"A"));
    EXPECT_EQ(0u, m_file.LastError());

    GMRegFile readOnly;
    unsigned long read = 0;
    ASSERT_TRUE(readOnly.OpenKey(Full(), KEY_READ, false));
    EXPECT_FALSE(readOnly.SetValue(L"a", 1ul));
    EXPECT_FALSE(readOnly.DeleteValue(L"c"));
    EXPECT_TRUE(readOnly.GetValue(L"c", read));
    EXPECT_EQ(DWORD(ERROR_ACCESS_DENIED), readOnly.LastError()) << "successes leave it alone";

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
    EXPECT_TRUE(m_file.EnumKeyValueName(keys, names));
    EXPECT_THAT(keys, ElementsAre(L"A", longest));
    EXPECT_THAT(names, ElementsAre(L"", L"x", L"Y"));
    names = keys;
    EXPECT_TRUE(m_file.EnumValueNames(keys));
    EXPECT_TRUE(m_file.EnumSubKeys(names));
    EXPECT_THAT(keys, ElementsAre(L"", L"x", L"Y"));
    EXPECT_THAT(names, ElementsAre(L"A", longest));
}

TEST_F(GMRegFileTest, ListsAsFarAsItCan)
{
    for (wchar_t const * name : {L"a", L"b", L"c"})
        Store(name, "1");
    struct Case
    {
        char const * what;
        DWORD index;
        bool listed;
        std::vector<GMString> names;
    };
    Case const cases[] = {
        {"one in the middle fails", 1, true, {L"a", L"c"}},
        {"the last one fails", 2, false, {L"a", L"b"}},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        g_answer = ERROR_BADKEY;
        g_failingIndex = each.index;
        ImportHook const hook("RegEnumValueW", &FailingEnumValue, g_enumValue);
        std::vector<GMString> names = {keep};
        m_file.Check(ERROR_DISK_FULL);
        EXPECT_EQ(each.listed, m_file.EnumValueNames(names));
        EXPECT_EQ(each.names, names);
        EXPECT_EQ(DWORD(each.listed ? ERROR_DISK_FULL : ERROR_BADKEY), m_file.LastError());
    }

    ImportHook const hook("RegQueryInfoKeyW", &AnswerInfo);
    for (LSTATUS const code : {ERROR_ACCESS_DENIED, ERROR_BADKEY})
    {
        g_answer = code;
        std::vector<GMString> names = {keep};
        EXPECT_EQ(code == ERROR_ACCESS_DENIED, m_file.EnumValueNames(names));
        EXPECT_EQ(code == ERROR_ACCESS_DENIED, m_file.EnumSubKeys(names));
        EXPECT_EQ(code == ERROR_ACCESS_DENIED, m_file.EnumKeyValueName(names, names));
        EXPECT_THAT(names, ElementsAre(keep));
        EXPECT_EQ(DWORD(code), m_file.LastError());
    }
}

TEST_F(GMRegFileTest, TellsWhetherAKeyExists)
{
    bool exists = false;
    EXPECT_TRUE(GMRegFile::IsExist(HKEY_CURRENT_USER, m_scratch.Path(), exists));
    EXPECT_TRUE(exists);
    EXPECT_TRUE(GMRegFile::IsExist(HKEY_CURRENT_USER, m_scratch.Path() + L"\\no", exists));
    EXPECT_FALSE(exists);

    g_answer = ERROR_ACCESS_DENIED;
    ImportHook const hook("RegOpenKeyExW", &AnswerOpen);
    exists = true;
    EXPECT_FALSE(GMRegFile::IsExist(HKEY_CURRENT_USER, m_scratch.Path(), exists));
    EXPECT_TRUE(exists);
}

TEST_F(GMRegFileTest, DeletesTrees)
{
    std::string const before = Snapshot();
    for (char const * missing : {"", "RegDeleteKeyExW"})
    {
        SCOPED_TRACE(missing);
        MakeKey(L"t\\a\\x");
        MakeKey(L"t\\b");
        g_missingExport = missing;
        ImportHook const hook("GetProcAddress", &WithoutExport, g_getProcAddress);
        EXPECT_EQ(ERROR_ACCESS_DENIED,
                  GMRegFile::DeleteKey(HKEY_CURRENT_USER, m_scratch.Path() + L"\\t"));
        EXPECT_EQ(0, GMRegFile::DeleteKeyEx(Full(L"\\t"), 0));
        EXPECT_EQ(before, Snapshot());
        EXPECT_EQ(ERROR_FILE_NOT_FOUND, GMRegFile::DeleteKeyEx(Full(L"\\t"), 0));
    }
    EXPECT_EQ(0, GMRegFile::DeleteKeyEx(L"", 0));

    for (wchar_t const * each : {L"t\\a", L"t\\b", L"t\\c"})
        MakeKey(each);
    EXPECT_EQ(ERROR_ACCESS_DENIED, GMRegFile::DeleteKeyExHelper(
                                       HKEY_CURRENT_USER, m_scratch.Path() + L"\\t", 0, &KeepB));
    EXPECT_EQ("[]\n[\\t]\n[\\t\\b]\n[\\t\\c]\n", Snapshot()) << "it stops at what stays";
}

TEST_F(GMRegFileTest, DeletesValuesByPath)
{
    Store(L"", "1");
    Store(L"a", "1");
    EXPECT_EQ(0, GMRegFile::DeleteValueEx(Full(), L"a", KEY_WRITE));
    EXPECT_EQ(0, GMRegFile::DeleteValueEx(Full(), L"a", KEY_WRITE));
    EXPECT_EQ(0, GMRegFile::DeleteValueEx(Full(), L"", KEY_WRITE));
    EXPECT_EQ(0, GMRegFile::DeleteValueEx(L"", L"a", KEY_WRITE));
    EXPECT_EQ("[]\n  \"\" type 3: 31\n", Snapshot());
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, GMRegFile::DeleteValueEx(Full(L"\\no"), L"a", KEY_WRITE));
    EXPECT_EQ(ERROR_ACCESS_DENIED, GMRegFile::DeleteValueEx(Full(), L"a", KEY_READ));
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

    struct Case
    {
        wchar_t const * path;
        wchar_t const * name;
    };
    Case const cases[] = {
        {L"HKEY_LOCAL_MACHINE\\A", L"MACHINE\\A"},     {L"HKEY_USERS\\A", L"USERS\\A"},
        {L"HKEY_CURRENT_USER\\A", L"CURRENT_USER\\A"}, {L"HKLM\\A", L"HKLM\\A"},
        {L"HKEY_CLASSES_ROOT\\A", L"CLASSES_ROOT\\A"}, {L"", L""},
    };
    ImportHook const hook("GetNamedSecurityInfoW", &NoteObject);
    for (Case const & each : cases)
    {
        EXPECT_EQ(-1, GMRegFile::ModifyRegAccess(each.path));
        EXPECT_EQ(each.name, g_objectName);
    }
}

void Enable(wchar_t const * privilege)
{
    HANDLE token = nullptr;
    OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token);
    TOKEN_PRIVILEGES state = {1, {{{}, SE_PRIVILEGE_ENABLED}}};
    LookupPrivilegeValueW(nullptr, privilege, &state.Privileges[0].Luid);
    AdjustTokenPrivileges(token, FALSE, &state, 0, nullptr, nullptr);
    CloseHandle(token);
}

TEST_F(GMRegFileTest, SavesAndLoadsHives)
{
    TemporaryFolder const folder;
    Store(L"v", "hive");
    EXPECT_FALSE(m_file.SaveKey(folder.File(L"hive")));
    EXPECT_EQ(DWORD(ERROR_PRIVILEGE_NOT_HELD), m_file.LastError());

    Enable(SE_BACKUP_NAME);
    Enable(SE_RESTORE_NAME);
    ASSERT_TRUE(m_file.SaveKey(folder.File(L"hive"))) << m_file.LastError();
    EXPECT_FALSE(m_file.LoadKey(HKEY_USERS, L"VelmoraCommonTest", folder.File(L"missing")));
    ASSERT_TRUE(m_file.LoadKey(HKEY_USERS, L"VelmoraCommonTest", folder.File(L"hive")));
    EXPECT_EQ(Snapshot(), RegistrySnapshot(HKEY_USERS, L"VelmoraCommonTest"));
    EXPECT_EQ(ERROR_SUCCESS, RegUnLoadKeyW(HKEY_USERS, L"VelmoraCommonTest"));

    // The system of the tests says yes to this one and does nothing.
    g_answer = ERROR_BADDB;
    ImportHook const hook("RegRestoreKeyW", &AnswerRestore);
    EXPECT_FALSE(m_file.RestoreKey(folder.File(L"hive"), REG_FORCE_RESTORE));
    EXPECT_EQ(DWORD(ERROR_BADDB), m_file.LastError());
}

} // namespace

} // namespace Velmora::Testing
