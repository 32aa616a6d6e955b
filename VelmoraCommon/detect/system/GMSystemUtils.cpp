#include "VelmoraCommon/detect/system/GMSystemUtils.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "VelmoraCommon/detect/system/GMSystemInfo.h"
#include "VelmoraCommon/files/GMFileSystemUtils.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/registry/GMRegValue.h"
#include "VelmoraCommon/text/GMStringUtils.h"

#include <shellapi.h>

namespace Velmora
{
namespace
{

constexpr unsigned int lastWithListsAlone = 5;     // Windows XP and 2003
constexpr std::intptr_t greatestShellFailure = 32; // of ShellExecuteW
constexpr unsigned int greatestDecimal = 0xFFFF;

#define VELMORA_POLICY L"\\Services\\SharedAccess\\Parameters\\FirewallPolicy\\"
#define VELMORA_LIST L"\\AuthorizedApplications\\List"
constexpr wchar_t const * firewallLists[] = {
    L"SYSTEM\\ControlSet001" VELMORA_POLICY L"DomainProfile" VELMORA_LIST,
    L"SYSTEM\\ControlSet001" VELMORA_POLICY L"StandardProfile" VELMORA_LIST,
    L"SYSTEM\\CurrentControlSet" VELMORA_POLICY L"DomainProfile" VELMORA_LIST,
    L"SYSTEM\\CurrentControlSet" VELMORA_POLICY L"StandardProfile" VELMORA_LIST,
};
#undef VELMORA_LIST
#undef VELMORA_POLICY

bool RunFirewallCommand(GMString const & path, GMString const & name)
{
    GMString directory;
    if (!GMFileSystemUtils::MyGetSystemDirectory(directory))
        return false;
    if (directory.back() != L'\\')
        directory += L'\\';
    GMString const arguments = GMStringUtils::FormatResult(
        L"/c netsh firewall add allowedprogram program=\"%s\" name=\"%s\" mode=ENABLE scope=ALL",
        path.c_str(), name.c_str());
    HINSTANCE const answer = ShellExecuteW(nullptr, L"open", (directory + L"cmd.exe").c_str(),
                                           arguments.c_str(), nullptr, SW_HIDE);
    return reinterpret_cast<std::intptr_t>(answer) > greatestShellFailure;
}

/// Closes the clipboard again.
class OpenedClipboard
{
public:
    OpenedClipboard() : m_open(OpenClipboard(nullptr)) {}
    ~OpenedClipboard()
    {
        if (m_open)
            CloseClipboard();
    }
    OpenedClipboard(OpenedClipboard const &) = delete;
    OpenedClipboard & operator=(OpenedClipboard const &) = delete;

    explicit operator bool() const { return m_open; }

private:
    bool m_open;
};

struct GlobalMemoryTraits
{
    using Handle = HGLOBAL;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle memory) noexcept { GlobalFree(memory); }
};

} // namespace

bool GMSystemUtils::AddAppToFirewall(GMString const & path, GMString const & name)
{
    if (path.empty() || name.empty())
        return false;
    unsigned int major = 0;
    GMSystemInfo::GetWindowsVersion(&major, nullptr);
    if (major > lastWithListsAlone)
        return RunFirewallCommand(path, name);
    return std::all_of(std::begin(firewallLists), std::end(firewallLists),
                       [&](wchar_t const * key)
                       { return WriteAppToFilewallByReg(path, name, key); });
}

bool GMSystemUtils::WriteAppToFilewallByReg(GMString const & path, GMString const & name,
                                            GMString const & key)
{
    GMRegFile list;
    if (!list.OpenKey(HKEY_LOCAL_MACHINE, key, KEY_QUERY_VALUE | KEY_SET_VALUE, true))
        return false;
    GMRegValue rule;
    if (list.GetValue(path, &rule) && rule.GetType() == REG_SZ)
        return true;
    return list.SetValue(path, (path + L":*:Enabled:" + name).c_str());
}

std::vector<GMString> GMSystemUtils::QueryDropFiles(WPARAM drop)
{
    std::vector<GMString> paths;
    auto const files = reinterpret_cast<HDROP>(drop);
    constexpr UINT askCount = 0xFFFFFFFF;
    UINT const count = DragQueryFileW(files, askCount, nullptr, 0);
    GMString path;
    for (UINT i = 0; i != count; ++i)
    {
        path.resize(DragQueryFileW(files, i, nullptr, 0));
        if (path.empty())
            continue;
        // The size counts the NUL, for which a string has room.
        path.resize(DragQueryFileW(files, i, path.data(), static_cast<UINT>(path.size() + 1)));
        if (!path.empty())
            paths.push_back(path);
    }
    return paths;
}

bool GMSystemUtils::SetClipboardText(GMString text)
{
    OpenedClipboard const clipboard;
    if (!clipboard || !EmptyClipboard())
        return false;
    std::size_t const units = text.size() + 1;
    ScopedHandle<GlobalMemoryTraits> memory(GlobalAlloc(GMEM_MOVEABLE, units * sizeof(wchar_t)));
    if (!memory)
        return false;
    void * const place = GlobalLock(memory.Get());
    if (place == nullptr)
        return false;
    std::copy_n(text.c_str(), units, static_cast<wchar_t *>(place));
    GlobalUnlock(memory.Get());
    if (SetClipboardData(CF_UNICODETEXT, memory.Get()) == nullptr)
        return false;
    memory.Release(); // the clipboard's now
    return true;
}

GMString GMSystemUtils::GetSystemErrorDesc(int code)
{
    constexpr wchar_t aroundTheText[] = L"\r\t\n。.";
    constexpr DWORD userLanguage = 0x400; // MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT)

    auto const number = code == 0 ? GetLastError() : static_cast<DWORD>(code);
    ScopedLocalMemory<wchar_t> text;
    if (FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, number,
                       userLanguage, reinterpret_cast<wchar_t *>(text.Receive()), 0,
                       nullptr) != 0 &&
        text)
    {
        GMString description = text.Get();
        GMStringUtils::Trim(description, aroundTheText);
        return description;
    }
    GMString const words = L"系统错误码";
    if (number <= greatestDecimal)
        return words + GMStringUtils::ToString(static_cast<unsigned int>(number));
    return words + L"0x" + GMStringUtils::ConvertUInt32ToHex(static_cast<unsigned int>(number));
}

} // namespace Velmora
