#include "tests/detect/software/Machine.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <filesystem>
#include <sstream>

#include <gtest/gtest.h>

#include "VelmoraCommon/detect/software/GMSoftwareDetect.h"
#include "VelmoraCommon/frame/internal/Com.h"
#include "tests/support/ImportHook.h"

#include <msi.h>
#include <shlobj.h>

#undef GetProp
#include <dxdiag.h>

namespace Velmora::Testing
{

namespace
{

Machine * g_machine = nullptr;
int g_modules = 0; // loaded and not freed; the others likewise
int g_apartments = 0;
int g_objects = 0;

std::wstring Widen(std::string const & text) { return {text.begin(), text.end()}; }
std::string Narrow(std::wstring const & text) { return std::filesystem::path(text).string(); }

bool Has(std::string const & item) { return g_machine->items.count(item) != 0; }

/// What stands in a file; a bare name is found in the system directory.
std::string Content(std::wstring path)
{
    if (path.find(L'\\') == std::wstring::npos)
        path = g_machine->File(L"system32\\" + path);
    std::string const bytes = std::filesystem::is_regular_file(path) ? ReadBytes(path) : "";
    return bytes.empty() ? bytes : bytes + '\0';
}

HRESULT WINAPI Folder(HWND, int folder, HANDLE, DWORD, LPWSTR path)
{
    g_machine->log += "folder ";
    std::wcscpy(path, g_machine->File(folder == CSIDL_SYSTEM ? L"system32" : L".").c_str());
    return folder == CSIDL_SYSTEM || folder == CSIDL_WINDOWS ? S_OK : E_FAIL;
}

BOOL WINAPI SpecialFolder(HWND, LPWSTR path, int folder, BOOL)
{
    std::wcscpy(path, g_machine->File(L"Programs").c_str());
    return folder == CSIDL_PROGRAM_FILES;
}

UINT WINAPI SystemDirectory(LPWSTR path, UINT)
{
    return static_cast<UINT>(std::wcslen(std::wcscpy(path, g_machine->File(L"system32").c_str())));
}

BOOL WINAPI Version(OSVERSIONINFOW * info)
{
    info->dwMajorVersion = g_machine->description.major;
    info->dwMinorVersion = g_machine->description.minor;
    info->dwBuildNumber = g_machine->description.build;
    return info->dwOSVersionInfoSize == sizeof *info;
}

void WINAPI System(SYSTEM_INFO * info)
{
    info->wProcessorArchitecture = g_machine->description.processor;
}

// The content of a file serves as its version block.
DWORD WINAPI BlockSize(LPCWSTR path, DWORD *) { return static_cast<DWORD>(Content(path).size()); }

BOOL WINAPI Block(LPCWSTR path, DWORD, DWORD size, void * block)
{
    return Content(path).copy(static_cast<char *>(block), size) != 0;
}

BOOL WINAPI Query(LPCVOID block, LPCWSTR name, void ** value, UINT * size)
{
    static VS_FIXEDFILEINFO fixed;
    static WORD translations[] = {0x804, 1200, 0x409, 1200};
    static std::wstring text;
    unsigned int v[8] = {};
    int end = 0;
    auto const content = static_cast<char const *>(block);
    int const count = std::sscanf(content, "%u.%u.%u.%u%n %u.%u.%u.%u %n", v, v + 1, v + 2, v + 3,
                                  &end, v + 4, v + 5, v + 6, v + 7, &end);
    if (count < 4)
        return FALSE;
    if (count < 8) // the product has the file's version
        std::copy_n(v, 4, v + 4);
    std::wstring const query = name;
    if (query == L"\\")
    {
        fixed.dwFileVersionMS = v[0] << 16 | v[1];
        fixed.dwFileVersionLS = v[2] << 16 | v[3];
        fixed.dwProductVersionMS = v[4] << 16 | v[5];
        fixed.dwProductVersionLS = v[6] << 16 | v[7];
        *value = &fixed;
        *size = sizeof fixed;
    }
    else if (query == L"\\VarFileInfo\\Translation")
    {
        *value = translations;
        *size = sizeof translations;
    }
    else
    {
        text = query == L"\\StringFileInfo\\080404b0\\FileDescription" ? Widen(content + end) : L"";
        *value = text.data();
        *size = static_cast<UINT>(text.size() + 1);
    }
    return TRUE;
}

HMODULE WINAPI Load(LPCWSTR name)
{
    bool const isInstaller = std::wstring(name) == L"msi.dll";
    g_machine->log += isInstaller ? "load " : "";
    if ((!isInstaller && Content(name).empty()) ||
        Has("-" + Narrow(std::filesystem::path(name).filename())))
        return nullptr;
    ++g_modules;
    return LoadLibraryW(L"VelmoraCommon.dll");
}

BOOL WINAPI Free(HMODULE module)
{
    --g_modules;
    return FreeLibrary(module);
}

UINT WINAPI ErrorMode(UINT mode)
{
    g_machine->log += "mode" + std::to_string(mode) + " ";
    return SetErrorMode(mode);
}

INSTALLSTATE WINAPI ProductState(LPCWSTR code)
{
    g_machine->asked.push_back(Narrow(code));
    return Has(Narrow(code)) ? INSTALLSTATE_DEFAULT : INSTALLSTATE_ADVERTISED;
}

BOOL WINAPI IsWow64(HANDLE, BOOL * answer) { return *answer = TRUE; }

BOOL WINAPI Disable(void ** old)
{
    g_machine->log += "disable ";
    *old = &g_machine;
    return TRUE;
}

BOOL WINAPI Revert(void * old)
{
    g_machine->log += old == &g_machine ? "revert " : "revert-nothing ";
    return TRUE;
}

FARPROC WINAPI Export(HMODULE module, LPCSTR name)
{
    std::string const wanted = name;
    std::pair<char const *, void *> const rows[] = {
        {"MsiQueryProductStateW", reinterpret_cast<void *>(&ProductState)},
        {"NxCreatePhysicsSDK", reinterpret_cast<void *>(&Export)},
        {"IsWow64Process", reinterpret_cast<void *>(&IsWow64)},
        {"Wow64DisableWow64FsRedirection", reinterpret_cast<void *>(&Disable)},
        {"Wow64RevertWow64FsRedirection", reinterpret_cast<void *>(&Revert)}};
    for (auto const & [known, function] : rows)
    {
        if (wanted == known && Has("!" + wanted))
            return reinterpret_cast<FARPROC>(function);
    }
    return wanted == rows[0].first ? nullptr : GetProcAddress(module, name);
}

HRESULT WINAPI ClassOf(LPCWSTR progId, CLSID * classId)
{
    *classId = {};
    return Has("@" + Narrow(progId)) ? S_OK : REGDB_E_CLASSNOTREG;
}

/// Counts its references among all objects.
template <class Interface>
struct Fake : Interface
{
    HRESULT WINAPI QueryInterface(REFIID, void **) override { return E_NOINTERFACE; }
    ULONG WINAPI AddRef() override { return static_cast<ULONG>(++g_objects); }
    ULONG WINAPI Release() override { return static_cast<ULONG>(--g_objects); }
};

/// What follows "*" in a description.
std::string ToolText()
{
    auto const item = g_machine->items.lower_bound("*");
    return item != g_machine->items.end() && (*item)[0] == '*' ? item->substr(1) : "";
}

struct Container : Fake<IDxDiagContainer>
{
    HRESULT WINAPI GetNumberOfChildContainers(DWORD *) override { return E_NOTIMPL; }
    HRESULT WINAPI EnumChildContainerNames(DWORD, LPWSTR, DWORD) override { return E_NOTIMPL; }
    HRESULT WINAPI GetNumberOfProps(DWORD *) override { return E_NOTIMPL; }
    HRESULT WINAPI EnumPropNames(DWORD, LPWSTR, DWORD) override { return E_NOTIMPL; }

    HRESULT WINAPI GetChildContainer(LPCWSTR name, IDxDiagContainer ** child) override
    {
        EXPECT_STREQ(L"DxDiag_SystemInfo", name);
        AddRef();
        *child = this;
        return S_OK;
    }

    HRESULT WINAPI GetProp(LPCWSTR name, VARIANT * value) override
    {
        std::string const text = ToolText();
        std::wstring const property = name;
        ULONG numbers[2] = {};
        char letter[2] = {};
        bool const isOther = text[0] == 'i';
        std::sscanf(text.c_str() + isOther, "%lu %lu %1[^|]", numbers, numbers + 1, letter);
        value->vt = VT_BSTR;
        if (property == L"szDirectXVersionLongEnglish")
            value->bstrVal = SysAllocString(Widen(text.substr(text.find('|') + 1)).c_str());
        else if (property == L"szDirectXVersionLetter")
            value->bstrVal = *letter == '0'
                                 ? nullptr
                                 : SysAllocString(*letter == '_' ? L" " : Widen(letter).c_str());
        else
        {
            value->vt = isOther ? VT_I4 : VT_UI4;
            value->ulVal = numbers[property == L"dwDirectXVersionMinor"];
        }
        return S_OK;
    }
};

struct Provider : Fake<IDxDiagProvider>
{
    HRESULT WINAPI Initialize(DXDIAG_INIT_PARAMS * parameters) override
    {
        EXPECT_EQ(sizeof *parameters, parameters->dwSize);
        EXPECT_EQ(111u, parameters->dwDxDiagHeaderVersion);
        return S_OK;
    }

    HRESULT WINAPI GetRootContainer(IDxDiagContainer ** root) override
    {
        static Container container;
        return container.GetChildContainer(L"DxDiag_SystemInfo", root);
    }
};

HRESULT WINAPI Create(REFCLSID classId, IUnknown *, DWORD context, REFIID, void ** object)
{
    static Fake<IUnknown> document;
    static Provider provider;
    EXPECT_EQ(DWORD(CLSCTX_INPROC_SERVER), context);
    bool const isTool = classId.Data1 == 0xA65B8071;
    if (isTool && ToolText().empty())
        return REGDB_E_CLASSNOTREG;
    IUnknown * const made = isTool ? static_cast<IUnknown *>(&provider) : &document;
    made->AddRef();
    *object = made;
    return S_OK;
}

HRESULT WINAPI Enter(void *, DWORD model)
{
    EXPECT_EQ(DWORD(COINIT_MULTITHREADED), model);
    ++g_apartments;
    return S_OK;
}

void WINAPI Leave()
{
    EXPECT_EQ(0, g_objects) << "left before an object of it";
    --g_apartments;
}

} // namespace

struct Machine::Hooks
{
    ImportHook hooks[16] = {{"SHGetFolderPathW", &Folder},
                            {"SHGetSpecialFolderPathW", &SpecialFolder},
                            {"GetSystemDirectoryW", &SystemDirectory},
                            {"GetVersionExW", &Version},
                            {"GetSystemInfo", &System},
                            {"GetFileVersionInfoSizeW", &BlockSize},
                            {"GetFileVersionInfoW", &Block},
                            {"VerQueryValueW", &Query},
                            {"LoadLibraryW", &Load},
                            {"FreeLibrary", &Free},
                            {"SetErrorMode", &ErrorMode},
                            {"GetProcAddress", &Export},
                            {"CLSIDFromProgID", &ClassOf},
                            {"CoCreateInstance", &Create},
                            {"CoInitializeEx", &Enter},
                            {"CoUninitialize", &Leave}};
};

Machine::Machine(MachineDescription given)
    : description(std::move(given)),
      items{"!MsiQueryProductStateW"}
{
    std::istringstream lines(description.content);
    ScopedRegKey key;
    for (std::string line; std::getline(lines, line);)
    {
        std::istringstream pieces(line);
        for (std::string item; std::getline(pieces >> std::ws, item, ';');)
            Add(item, key);
    }
    wchar_t windir[MAX_PATH] = {};
    GetEnvironmentVariableW(L"WINDIR", windir, MAX_PATH);
    m_windir = windir;
    SetEnvironmentVariableW(L"WINDIR", m_folder.Path().c_str());
    g_machine = this;
    m_hooks = std::make_unique<Hooks>();
}

Machine::~Machine()
{
    m_hooks.reset();
    SetEnvironmentVariableW(L"WINDIR", m_windir.c_str());
    SetErrorMode(m_errorMode);
    EXPECT_EQ(0, g_modules) << "modules left loaded";
    EXPECT_EQ(0, g_apartments) << "apartments left entered";
    EXPECT_EQ(0, g_objects) << "objects left alive";
}

void Machine::Add(std::string item, ScopedRegKey & key)
{
    static std::pair<std::string, HKEY> const roots[] = {
        {"[HKLM", HKEY_LOCAL_MACHINE}, {"[HKCU", HKEY_CURRENT_USER}, {"[HKCR", HKEY_CLASSES_ROOT}};
    for (auto const & [name, root] : roots)
    {
        if (item.compare(0, 5, name) == 0)
        {
            ASSERT_EQ(0,
                      RegCreateKeyExW(root, Widen(item.substr(6, item.size() - 7)).c_str(), 0,
                                      nullptr, 0, KEY_ALL_ACCESS, nullptr, key.Receive(), nullptr));
            return;
        }
    }
    if (item[0] == '+')
    {
        std::size_t const end = std::min(item.find(' ', item.rfind('\\') + 1), item.size());
        std::wstring const path = Widen(item.substr(1, end - 1));
        if (path.back() == L'\\')
            std::filesystem::create_directories(File(path));
        else
            m_folder.Write(path, item.substr(end));
        return;
    }
    if (std::string("@{!-*").find(item[0]) != std::string::npos)
    {
        items.insert(item);
        return;
    }
    std::size_t const mark = item.find_first_of("=:!");
    std::string const name = item.substr(0, mark);
    std::string data = item.substr(mark + 1);
    bool const isNumber = item[mark] == ':';
    std::istringstream digits(data);
    std::wstring text = Widen(data);
    if (auto const at = text.find(L'$'); at != std::wstring::npos)
        text.replace(at, 1, m_folder.Path());
    data.assign(reinterpret_cast<char const *>(text.c_str()), (text.size() + 1) * sizeof(wchar_t));
    if (item[mark] != '=')
        data.clear();
    for (DWORD number = 0; item[mark] != '=' && digits >> std::hex >> number;)
        data.append(reinterpret_cast<char const *>(&number), isNumber ? sizeof number : 1);
    RegSetValueExW(key.Get(), Widen(name).c_str(), 0, isNumber ? REG_DWORD : REG_SZ,
                   reinterpret_cast<BYTE const *>(data.data()), static_cast<DWORD>(data.size()));
}

std::string LibraryFolderName()
{
    return GMSoftwareDetect::IsWow64() ? "SysWOW64\\" : "system32\\";
}

} // namespace Velmora::Testing
