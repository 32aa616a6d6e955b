#include "VelmoraCommon/registry/GMRegFile.h"

#include <algorithm>
#include <cstddef>
#include <cwchar>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include <aclapi.h>

#include "VelmoraCommon/frame/GMBuffer.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/frame/internal/SystemFunction.h"
#include "VelmoraCommon/registry/GMRegValue.h"
#include "VelmoraCommon/registry/internal/KeyEnumeration.h"

namespace Velmora
{

namespace
{

struct RootRow
{
    unsigned long number;
    std::wstring_view name;
    std::wstring_view shortName; // the name again if there is none
    bool inPaths;                // false: only handles are known, no full path begins with it
};

constexpr RootRow roots[] = {
    {0x80000000, L"HKEY_CLASSES_ROOT", L"HKCR", true},
    {0x80000001, L"HKEY_CURRENT_USER", L"HKCU", true},
    {0x80000002, L"HKEY_LOCAL_MACHINE", L"HKLM", true},
    {0x80000003, L"HKEY_USERS", L"HKEY_USERS", true},
    {0x80000004, L"HKEY_PERFORMANCE_DATA", L"HKEY_PERFORMANCE_DATA", false},
    {0x80000005, L"HKEY_CURRENT_CONFIG", L"HKEY_CURRENT_CONFIG", true},
    {0x80000006, L"HKEY_DYN_DATA", L"HKEY_DYN_DATA", false},
    {0x80000050, L"HKEY_PERFORMANCE_TEXT", L"HKEY_PERFORMANCE_TEXT", false},
};

/// The handle of a predefined root is its number, extended with its sign.
HKEY RootHandle(unsigned long number)
{
    return static_cast<HKEY>(LongToHandle(static_cast<long>(number)));
}

/// Takes a value of at most the size of \p number; 0 on failure.
template <class Number>
LSTATUS QueryNumber(HKEY key, GMString const & name, Number & number)
{
    number = 0;
    Number stored = 0;
    DWORD size = sizeof stored;
    LSTATUS const code = RegQueryValueExW(key, name.c_str(), nullptr, nullptr,
                                          reinterpret_cast<unsigned char *>(&stored), &size);
    if (code == ERROR_SUCCESS)
        number = stored;
    return code;
}

/// Path of a key as the functions for security descriptors take it.
GMString SecurityObjectName(GMString const & fullPath)
{
    // The longest first: "HKEY_LOCAL_MACHINE\X" is "MACHINE\X", "HKEY_USERS\X" is "USERS\X".
    constexpr std::wstring_view machine = L"HKEY_LOCAL_MACHINE";
    constexpr std::wstring_view left = L"HKEY_LOCAL_";
    constexpr std::wstring_view other = L"HKEY_";
    if (fullPath.compare(0, machine.size(), machine) == 0)
        return fullPath.substr(left.size());
    if (fullPath.compare(0, other.size(), other) == 0)
        return fullPath.substr(other.size());
    return fullPath;
}

} // namespace

GMRegFile::GMRegFile() : m_key(nullptr), m_lastError(ERROR_SUCCESS) {}

GMRegFile::~GMRegFile() { CloseKey(); }

bool GMRegFile::OpenKey(HKEY root, GMString const & subKey, REGSAM access, bool create)
{
    CloseKey();
    m_keyPath = CombineKeyPath(root, subKey);
    HKEY key = nullptr;
    LSTATUS const code = Check(RegOpenKeyExW(root, subKey.c_str(), 0, access, &key));
    if (code == ERROR_FILE_NOT_FOUND && create)
        return CreateKey(root, subKey, (access & KEY_WOW64_64KEY) != 0);
    if (code == ERROR_SUCCESS)
        m_key = key;
    return code == ERROR_SUCCESS;
}

bool GMRegFile::OpenKey(GMString const & fullPath, REGSAM access, bool create)
{
    CloseKey();
    if (fullPath.empty())
        return false;
    GMString subKey;
    HKEY root = nullptr;
    SplitKeyPath(fullPath, subKey, root);
    return OpenKey(root, subKey, access, create);
}

bool GMRegFile::CreateKey(HKEY root, GMString const & subKey, bool use64BitView)
{
    CloseKey();
    m_keyPath = CombineKeyPath(root, subKey);
    REGSAM const access = KEY_ALL_ACCESS | (use64BitView ? KEY_WOW64_64KEY : 0);
    HKEY key = nullptr;
    if (!Succeeded(
            RegCreateKeyExW(root, subKey.c_str(), 0, nullptr, 0, access, nullptr, &key, nullptr)))
        return false;
    m_key = key;
    return true;
}

void GMRegFile::CloseKey()
{
    ScopedRegKey const closing(std::exchange(m_key, nullptr));
    m_lastError = ERROR_SUCCESS;
}

HKEY GMRegFile::GetKey() const { return m_key; }

unsigned long GMRegFile::LastError() const { return m_lastError; }

LSTATUS GMRegFile::Check(LSTATUS code)
{
    if (code != ERROR_SUCCESS)
        m_lastError = static_cast<unsigned long>(code);
    return code;
}

bool GMRegFile::Succeeded(LSTATUS code) { return Check(code) == ERROR_SUCCESS; }

bool GMRegFile::GetValue(GMString const & name, GMRegValue * value)
{
    // Nearly every value fits, and takes one call instead of one for the size and one for the data.
    unsigned char usual[1024];
    GMBuffer<unsigned char> larger;
    unsigned char * data = usual;
    DWORD capacity = sizeof usual;
    DWORD size = capacity;
    DWORD type = REG_NONE;
    LSTATUS code = RegQueryValueExW(m_key, name.c_str(), nullptr, &type, data, &size);
    while (code == ERROR_MORE_DATA && size > capacity) // once more if the value grew in between
    {
        larger.Resize(size);
        data = larger.m_data;
        capacity = size;
        code = RegQueryValueExW(m_key, name.c_str(), nullptr, &type, data, &size);
    }
    if (!Succeeded(code))
        return false;

    value->SetType(type);
    value->SetName(name);
    value->SetKeyPath(m_keyPath);
    return value->ParseValue(size == 0 ? nullptr : data, size);
}

bool GMRegFile::GetValue(GMString const & name, unsigned long & number)
{
    return Succeeded(QueryNumber(m_key, name, number));
}

bool GMRegFile::GetValue(GMString const & name, unsigned __int64 & number)
{
    return Succeeded(QueryNumber(m_key, name, number));
}

bool GMRegFile::GetValue(GMString const & name, GMString & text)
{
    wchar_t buffer[512 + 1] = {}; // the stored text may lack its NUL
    DWORD size = 512 * sizeof(wchar_t);
    text.clear();
    if (!Succeeded(RegQueryValueExW(m_key, name.c_str(), nullptr, nullptr,
                                    reinterpret_cast<unsigned char *>(buffer), &size)))
        return false;
    text = buffer;
    return true;
}

unsigned long GMRegFile::GetUInt32Value(GMString const & name, unsigned long defaultValue)
{
    unsigned long number = 0;
    return GetValue(name, number) ? number : defaultValue;
}

GMString GMRegFile::GetStringValue(GMString const & name, GMString const & defaultValue)
{
    GMString text;
    return GetValue(name, text) ? text : defaultValue;
}

bool GMRegFile::SetValue(GMString const & name, GMRegValue const * value)
{
    GMBuffer<unsigned char> data;
    value->ValueSerial(data);
    return Succeeded(
        RegSetValueExW(m_key, name.c_str(), 0, value->GetType(), data.m_data, data.m_length));
}

bool GMRegFile::SetValue(GMString const & name, unsigned long number)
{
    return Succeeded(RegSetValueExW(m_key, name.c_str(), 0, REG_DWORD,
                                    reinterpret_cast<unsigned char const *>(&number),
                                    sizeof number));
}

bool GMRegFile::SetValue(GMString const & name, wchar_t const * text)
{
    auto const size = static_cast<DWORD>(std::wcslen(text) * sizeof(wchar_t));
    return Succeeded(RegSetValueExW(m_key, name.c_str(), 0, REG_SZ,
                                    reinterpret_cast<unsigned char const *>(text), size));
}

bool GMRegFile::DeleteValue(GMString const & name)
{
    LSTATUS const code = RegDeleteValueW(m_key, name.c_str());
    if (code != ERROR_FILE_NOT_FOUND)
        return Succeeded(code);
    m_lastError = ERROR_SUCCESS;
    return true;
}

bool GMRegFile::EnumValueNames(std::vector<GMString> & names)
{
    KeySizes sizes;
    if (!Succeeded(QueryKeySizes(m_key, sizes)))
        return m_lastError == ERROR_ACCESS_DENIED;
    return Succeeded(ListValueNames(m_key, sizes, names));
}

bool GMRegFile::EnumSubKeys(std::vector<GMString> & names)
{
    KeySizes sizes;
    if (!Succeeded(QueryKeySizes(m_key, sizes)))
        return m_lastError == ERROR_ACCESS_DENIED;
    return Succeeded(ListSubKeyNames(m_key, sizes, names));
}

bool GMRegFile::EnumKeyValueName(std::vector<GMString> & subKeys,
                                 std::vector<GMString> & valueNames)
{
    KeySizes sizes;
    if (!Succeeded(QueryKeySizes(m_key, sizes)))
        return m_lastError == ERROR_ACCESS_DENIED;
    return Succeeded(ListSubKeyNames(m_key, sizes, subKeys)) &&
           Succeeded(ListValueNames(m_key, sizes, valueNames));
}

bool GMRegFile::IsExist(HKEY root, GMString const & subKey, bool & exists)
{
    ScopedRegKey key;
    LSTATUS const code = RegOpenKeyExW(root, subKey.c_str(), 0, KEY_READ, key.Receive());
    if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND)
        return false;
    exists = code == ERROR_SUCCESS;
    return true;
}

LSTATUS GMRegFile::DeleteKey(HKEY root, GMString const & subKey)
{
    return RegDeleteKeyW(root, subKey.c_str());
}

LSTATUS GMRegFile::DeleteKeyEx(HKEY root, GMString const & subKey, REGSAM samDesired)
{
    SystemFunction<KeyDeleter> const deleter(L"Advapi32.dll", "RegDeleteKeyExW");
    return DeleteKeyExHelper(root, subKey, samDesired, deleter.Get());
}

LSTATUS GMRegFile::DeleteKeyEx(GMString const & fullPath, REGSAM samDesired)
{
    if (fullPath.empty())
        return ERROR_SUCCESS;
    GMString subKey;
    HKEY root = nullptr;
    SplitKeyPath(fullPath, subKey, root);
    return DeleteKeyEx(root, subKey, samDesired);
}

LSTATUS GMRegFile::DeleteKeyExHelper(HKEY root, GMString const & subKey, REGSAM samDesired,
                                     KeyDeleter * deleter)
{
    struct Level
    {
        std::size_t pathSize;
        ScopedRegKey key;
    };

    GMString path = subKey; // of the key at hand
    auto const deleteIt = [&]
    {
        return deleter != nullptr ? deleter(root, path.c_str(), samDesired, 0)
                                  : RegDeleteKeyW(root, path.c_str());
    };
    std::vector<Level> levels; // the keys that are in use, from the given one down
    wchar_t name[260];         // a key's name has at most 255 units
    auto const findSubKey = [&]
    {
        // Always the first one: the one before has gone.
        DWORD length = static_cast<DWORD>(std::size(name));
        return RegEnumKeyExW(levels.back().key.Get(), 0, name, &length, nullptr, nullptr, nullptr,
                             nullptr) == ERROR_SUCCESS;
    };
    for (;;)
    {
        LSTATUS code = deleteIt();
        if (code != ERROR_SUCCESS)
        {
            ScopedRegKey key;
            code = RegOpenKeyExW(root, path.c_str(), 0, samDesired | KEY_READ, key.Receive());
            if (code == ERROR_SUCCESS)
                levels.push_back({path.size(), std::move(key)});
        }
        // A key is done when it has no sub-keys left, or one that can't be deleted.
        while (!levels.empty() && (code != ERROR_SUCCESS || !findSubKey()))
        {
            path.resize(levels.back().pathSize);
            levels.pop_back();
            code = deleteIt();
        }
        if (levels.empty())
            return code;
        path.resize(levels.back().pathSize);
        if (path.empty() || path.back() != L'\\')
            path += L'\\';
        path += name;
    }
}

LSTATUS GMRegFile::DeleteValueEx(GMString const & fullPath, GMString const & name, REGSAM access)
{
    if (fullPath.empty() || name.empty())
        return ERROR_SUCCESS;
    GMRegFile file;
    if (!file.OpenKey(fullPath, access, false))
        return static_cast<LSTATUS>(file.LastError());
    LSTATUS const code = RegDeleteValueW(file.GetKey(), name.c_str());
    return code == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : code;
}

bool GMRegFile::LoadKey(HKEY root, GMString const & subKey, GMString const & file)
{
    return Succeeded(RegLoadKeyW(root, subKey.c_str(), file.c_str()));
}

bool GMRegFile::RestoreKey(GMString const & file, unsigned long flags)
{
    return Succeeded(RegRestoreKeyW(m_key, file.c_str(), flags));
}

bool GMRegFile::SaveKey(GMString const & file)
{
    return Succeeded(RegSaveKeyW(m_key, file.c_str(), nullptr));
}

void GMRegFile::SplitKeyPath(GMString const & fullPath, GMString & subPath, HKEY & root)
{
    GMString::size_type const headLength = std::min(fullPath.find(L'\\'), fullPath.size());
    std::wstring_view const head(fullPath.data(), headLength);
    for (RootRow const & row : roots)
    {
        if (!row.inPaths || (head != row.name && head != row.shortName))
            continue;
        root = RootHandle(row.number);
        if (headLength + 1 < fullPath.size())
            subPath = fullPath.substr(headLength + 1);
        return;
    }
    root = HKEY_LOCAL_MACHINE;
    subPath = fullPath;
}

GMString GMRegFile::CombineKeyPath(HKEY root, GMString const & subKey)
{
    return GetKeyPathFromHKEY(root) + L'\\' + subKey;
}

GMString GMRegFile::GetKeyPathFromHKEY(HKEY key)
{
    if (key == nullptr)
        return GMString();
    for (RootRow const & row : roots)
    {
        if (HandleToULong(key) == row.number)
            return GMString(row.name);
    }

    // No header has these: the answer is the length in bytes, and behind it the path without a NUL.
    using QueryKey = LONG WINAPI(HANDLE, int informationClass, void *, ULONG size, ULONG * needed);
    constexpr int keyNameInformation = 3;
    constexpr LONG bufferTooSmall = static_cast<LONG>(0xC0000023);
    SystemFunction<QueryKey> const queryKey(L"ntdll.dll", "ZwQueryKey");
    ULONG size = 0;
    if (!queryKey || queryKey(key, keyNameInformation, static_cast<void *>(nullptr), 0ul, &size) !=
                         bufferTooSmall)
        return GMString();

    // The whole is wide: the length takes two units. The zeros behind it end the path.
    GMString answer(static_cast<GMString::size_type>(size) + 2, L'\0');
    if (queryKey(key, keyNameInformation, static_cast<void *>(answer.data()), size, &size) < 0)
        return GMString();
    return GMString(answer.c_str() + sizeof(ULONG) / sizeof(wchar_t));
}

int GMRegFile::ModifyRegAccess(GMString const & fullPath)
{
    constexpr int failed = -1;
    GMString name = SecurityObjectName(fullPath);
    PACL oldList = nullptr; // inside the descriptor
    ScopedLocalMemory<void> descriptor;
    if (GetNamedSecurityInfoW(name.data(), SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr,
                              nullptr, &oldList, nullptr, descriptor.Receive()) != ERROR_SUCCESS)
        return failed;

    wchar_t user[260];
    DWORD length = static_cast<DWORD>(std::size(user));
    if (!GetUserNameW(user, &length))
        return failed;

    EXPLICIT_ACCESSW access = {};
    BuildExplicitAccessWithNameW(&access, user, KEY_ALL_ACCESS, SET_ACCESS,
                                 SUB_CONTAINERS_AND_OBJECTS_INHERIT);
    ScopedLocalMemory<ACL> newList;
    if (SetEntriesInAclW(1, &access, oldList, newList.Receive()) != ERROR_SUCCESS ||
        SetNamedSecurityInfoW(name.data(), SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr,
                              nullptr, newList.Get(), nullptr) != ERROR_SUCCESS)
        return failed;
    return 0;
}

} // namespace Velmora
