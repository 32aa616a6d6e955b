#include <cstdio>
#include <random>
#include <stdexcept>
#include <string>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/registry/GMRegInstall.h"
#include "VelmoraCommon/registry/GMRegParser.h"
#include "benchmarks/Families.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Benchmarks
{

namespace
{

using Testing::ImportHook;

std::wstring const root = L"HKEY_CURRENT_USER\\Software\\VelmoraCommonBench";

void Clear() { GMRegFile::DeleteKeyEx(root, 0); }

/// The key of the workload and its removal at the end.
struct Workplace
{
    Workplace() { Clear(); }
    ~Workplace() { Clear(); }
    Testing::TemporaryFolder folder;
};

// Counts the calls to the registry. One counter serves all; the number keeps functions apart that
// have the same type.
unsigned int g_calls;

template <int Number, class Function>
struct Counter;

template <int Number, class Result, class... Arguments>
struct Counter<Number, Result(WINAPI *)(Arguments...)>
{
    static Result WINAPI Call(Arguments... arguments)
    {
        ++g_calls;
        return s_original(arguments...);
    }
    static inline Result(WINAPI * s_original)(Arguments...) = nullptr;

    explicit Counter(char const * name) : m_hook(name, &Call, s_original) {}
    ImportHook m_hook;
};

/// The registry calls of \p run.
template <class Run>
double CallsOf(Run run)
{
    Counter<0, decltype(&RegOpenKeyExW)> const open("RegOpenKeyExW");
    Counter<1, decltype(&RegCreateKeyExW)> const create("RegCreateKeyExW");
    Counter<2, decltype(&RegCloseKey)> const close("RegCloseKey");
    Counter<3, decltype(&RegQueryInfoKeyW)> const info("RegQueryInfoKeyW");
    Counter<4, decltype(&RegEnumKeyExW)> const enumKey("RegEnumKeyExW");
    Counter<5, decltype(&RegEnumValueW)> const enumValue("RegEnumValueW");
    Counter<6, decltype(&RegQueryValueExW)> const query("RegQueryValueExW");
    Counter<7, decltype(&RegSetValueExW)> const set("RegSetValueExW");
    Counter<8, decltype(&RegDeleteValueW)> const deleteValue("RegDeleteValueW");
    Counter<9, decltype(&RegDeleteKeyW)> const deleteKey("RegDeleteKeyW");
    g_calls = 0;
    run();
    return g_calls;
}

/// Runs a command line of the system's registry tool.
void RunTool(std::wstring command)
{
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    ScopedFile const nowhere(CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_WRITE,
                                         &inherited, OPEN_EXISTING, 0, nullptr));
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = startup.hStdOutput = startup.hStdError = nowhere.Get();
    PROCESS_INFORMATION process = {};
    DWORD exitCode = 1;
    if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                       &startup, &process))
    {
        WaitForSingleObject(process.hProcess, INFINITE);
        GetExitCodeProcess(process.hProcess, &exitCode);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    if (exitCode != 0)
        throw std::runtime_error("the system's registry tool failed");
}

/// Registry text in a file, of \p keys keys with \p values values of the usual types each.
class RegText
{
public:
    /// \p nested: each key lies in the one before.
    RegText(Workplace const & place, std::wstring const & name, unsigned int keys,
            unsigned int values, bool nested = false)
        : m_path(place.folder.File(name + L".reg")),
          m_key(root + L"\\" + name)
    {
        std::mt19937 random(20);
        std::string const start = "[" + std::string(m_key.begin(), m_key.end());
        std::string nest;
        std::string text = "REGEDIT4\r\n\r\n" + start + "]\r\n\r\n";
        for (unsigned int key = 0; key < keys; ++key)
        {
            std::string const part = "\\K" + std::to_string(key);
            nest = nested ? nest + "\\K" : part;
            text += start + nest + "]\r\n";
            for (unsigned int value = 0; value < values; ++value)
                text += "\"value " + std::to_string(value) + "\"=" + Data(random) + "\r\n";
            text += "\r\n";
        }
        Testing::WriteBytes(m_path, text);
    }

    std::wstring const & Path() const { return m_path; }
    std::wstring const & Key() const { return m_key; }

    void Import() const { RunTool(L"reg.exe import \"" + m_path + L"\""); }

    /// All of an install: reads the file, changes the registry, keeps the undo buffer.
    GMBuffer<unsigned char> Install() const
    {
        GMRegParser parser;
        GMRegInstall install;
        GMBuffer<unsigned char> undo;
        parser.Load(m_path);
        if (!install.Install(parser.GetRegList(), false))
            throw std::runtime_error("the install failed");
        install.GetUninstallData(undo);
        return undo;
    }

private:
    static std::string Data(std::mt19937 & random)
    {
        char text[64];
        auto const number = static_cast<unsigned int>(random());
        switch (number % 4)
        {
        case 0:
            std::snprintf(text, sizeof text, "dword:%08x", number);
            break;
        case 1:
            std::snprintf(text, sizeof text, "hex:%02x,%02x,00,ff", number >> 24, number & 255);
            break;
        default:
            std::snprintf(text, sizeof text, "\"C:\\\\Games\\\\Title %u\\\\Game.exe\"", number);
        }
        return text;
    }

    std::wstring m_path;
    std::wstring m_key;
};

void MeasureFirstInstall(Report & report, Workplace const & place)
{
    std::string const name = "install, 2,000 keys x 10 values, store empty";
    if (!report.IsWanted(name))
        return;
    RegText const text(place, L"first", 2000, 10);
    report.Measure({name,
                    20000,
                    "values",
                    [&] { text.Install(); },
                    {{"reg import", [&] { text.Import(); }, Bar::TimeAtMost(1.15)}},
                    7,
                    &Clear});
    Clear();
    // One call a value; what is left is for the keys, of which the text has one more.
    double const calls = CallsOf([&] { text.Install(); });
    report.Figure(name + ": calls a key beside one a value", (calls - 20000) / 2001, "calls", 6);
    Clear();
}

void MeasureInstallOver(Report & report, Workplace const & place)
{
    std::string const name = "install over existing values, 2,000 keys x 10";
    std::string const undoName = "undo of it";
    if (!report.IsWanted(name) && !report.IsWanted(undoName))
        return;
    RegText const text(place, L"over", 2000, 10);
    std::wstring const backup = place.folder.File(L"backup.reg");
    auto const save = [&]
    { RunTool(L"reg.exe export \"" + text.Key() + L"\" \"" + backup + L"\" /y"); };
    GMBuffer<unsigned char> undo = text.Install();
    report.Measure({name,
                    20000,
                    "values",
                    [&] { undo = text.Install(); },
                    {{"by hand: reg export, reg import",
                      [&]
                      {
                          save();
                          text.Import();
                      },
                      Bar::TimeAtMost(1.0)}},
                    7});
    report.Figure(name + ": calls a value", CallsOf([&] { undo = text.Install(); }) / 20000,
                  "calls", 3);

    save();
    report.Measure(
        {undoName,
         20000,
         "values",
         [&] { GMRegInstall::Uninstall(undo); },
         {{"reg import of the backup", [&] { RunTool(L"reg.exe import \"" + backup + L"\""); },
           Bar::TimeAtMost(1.2)}},
         7});
    report.Figure(undoName + ": calls a value",
                  CallsOf([&] { GMRegInstall::Uninstall(undo); }) / 20000, "calls", 1.5);
}

void MeasureShapes(Report & report, Workplace const & place)
{
    std::string const wide = "install over one key x 20,000 values";
    if (report.IsWanted(wide))
    {
        RegText const one(place, L"wide", 1, 20000);
        RegText const many(place, L"over", 2000, 10);
        one.Install();
        many.Install();
        report.Measure({wide,
                        20000,
                        "values",
                        [&] { one.Install(); },
                        {{"ours, 10 values a key", [&] { many.Install(); }, Bar::TimeAtMost(1.3)}},
                        7});
    }

    std::string const deep = "install, 200 levels x 10 values, store empty";
    RegText const text(place, L"deep", 200, 10, true);
    report.Measure({deep,
                    2000,
                    "values",
                    [&] { text.Install(); },
                    {{"reg import", [&] { text.Import(); }, Bar::TimeAtMost(1.15)}},
                    7,
                    &Clear});
}

} // namespace

void MeasureRegInstall(Report & report)
{
    Workplace const place;
    MeasureFirstInstall(report, place);
    MeasureInstallOver(report, place);
    MeasureShapes(report, place);
}

} // namespace Velmora::Benchmarks
