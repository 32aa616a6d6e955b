#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "VelmoraCommon/files/GMFile.h"
#include "tests/executable/PEBytes.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

class Peinspect : public ::testing::Test
{
protected:
    Peinspect() { SetCurrentDirectoryW(m_folder.Path().c_str()); }
    ~Peinspect() override { SetCurrentDirectoryW(L"C:\\"); }

    std::string Run(DWORD code, std::wstring const & arguments)
    {
        EXPECT_EQ(code, RunProgram(ProgramBeside(L"peinspect.exe") + L" " + arguments, L"output"));
        std::string output = ReadBytes(L"output");
        for (std::size_t at = 0; (at = output.find('\r', at)) != output.npos;)
            output.erase(at, 1);
        return output;
    }

    TemporaryFolder m_folder; // the current directory
};

void ExpectSays(std::string const & output, std::string const & text)
{
    EXPECT_NE(output.npos, output.find(text)) << text << "\n" << output;
}

std::string Wide(std::string bytes)
{
    Place(bytes, ntOffset + offsetof(IMAGE_NT_HEADERS32, OptionalHeader.Magic), WORD(0x20B));
    return bytes;
}

/// A folder of Windows for the libraries of a compiler, which a program's manifest would name.
class SideBySideFolder
{
public:
    SideBySideFolder() { std::filesystem::create_directories(m_path); }
    ~SideBySideFolder() { std::filesystem::remove_all(m_path); }
    std::wstring File(wchar_t const * name) const { return m_path + L"\\" + name; }

private:
    std::wstring m_path =
        L"C:\\windows\\winsxs\\x86_microsoft.vc-test-" + std::to_wstring(GetCurrentProcessId());
};

} // namespace

TEST_F(Peinspect, TellsFirstWhatIsMissing)
{
    struct Case
    {
        char const * what;
        std::map<std::wstring, std::string> files;
        DWORD code;
        char const * begin; // of the output
        std::vector<char const *> says;
    };
    std::string const sound = ProgramBytes({"KERNEL32.dll"});
    std::string nameless = ProgramBytes({"outside.dll", "v-none.dll"});
    Place(nameless, sectionOffset + offsetof(IMAGE_IMPORT_DESCRIPTOR, Name), DWORD(0x9000));
    Case const cases[] = {
        {"all is there",
         {{L"game.exe", ProgramBytes({"Engine.DLL", "KERNEL32.dll", "sound"})},
          {L"engine.dll", sound},
          {L"sound.dll", sound}},
         0,
         "nothing is missing; libraries found: ",
         {"a 32-bit program\n  without a version\n  not signed\n\nneeds\n  Engine.DLL: C:\\",
          "\\Engine.DLL\n    KERNEL32.dll: C:\\windows\\sys", "\\sound.dll\n    KERNEL32.dll"}},
        {"missing behind others",
         {{L"game.exe", ProgramBytes({"engine.dll", "kernel32.dll", "audio.dll"})},
          {L"engine.dll", ProgramBytes({"input.dll"})},
          {L"input.dll", ProgramBytes({"v-PAD.dll"})},
          {L"audio.dll", ProgramBytes({"V-Pad.dll", "v-None.dll"})}},
         1,
         "missing: V-Pad.dll (needed by game.exe, via audio.dll; also by input.dll)\n"
         "missing: v-None.dll (needed by game.exe, via audio.dll)\n",
         {"\n  engine.dll: C:\\", "\n      V-Pad.dll: MISSING\n", "\n    v-None.dll: MISSING\n"}},
        {"circles",
         {{L"game.exe", ProgramBytes({"a.dll", "a.dll"}, {"a.dll"})},
          {L"a.dll", ProgramBytes({"a.dll", "b.dll", "GAME.exe"})},
          {L"b.dll", ProgramBytes({"a.dll"})}},
         0,
         "nothing is missing; libraries found: 2\n",
         {"\\b.dll\n      a.dll: C:\\", "\\a.dll, as above\n    game.exe: C:\\"}},
        {"first use comes last, and counts only where the start doesn't need it too",
         {{L"game.exe", ProgramBytes({"a.dll"}, {"v-late.dll", "late.dll", "v-both.dll"})},
          {L"a.dll", ProgramBytes({"v-both.dll"})},
          {L"late.dll", ProgramBytes({"v-deep.dll"})}},
         1,
         "missing: v-both.dll (needed by game.exe, via a.dll; also by game.exe)\n"
         "missing at first use: v-late.dll (needed by game.exe)\n"
         "missing at first use: v-deep.dll (needed by game.exe, via late.dll)\n\n",
         {"v-late.dll: MISSING, at first use\n"}},
        {"Windows knows some libraries by names that no file has",
         {{L"game.exe",
           ProgramBytes({"api-ms-win-core-file-l1-1-0.dll", "api-ms-win-v-l1-1-0.dll"})}},
         1,
         "missing: api-ms-win-v-l1-1-0.dll (needed by game.exe)\n\n",
         {"api-ms-win-core-file-l1-1-0.dll: "}},
        {"libraries of no use",
         {{L"game.exe", ProgramBytes({"text.dll", "cut.dll", "names.dll", "wide.dll"})},
          {L"text.dll", "This is no library, but long enough to be one. " + std::string(400, '.')},
          {L"cut.dll", sound.substr(0, sectionsOffset + 10)},
          {L"names.dll", nameless},
          {L"wide.dll", Wide(sound)}},
         1,
         "unusable: text.dll: C:\\",
         {"\\cut.dll is damaged: its list of imports can't be read (needed by game.exe)\n",
          "\\names.dll is damaged: its list of imports can't be read (needed by game.exe)\n",
          "\\wide.dll is a 64-bit library, which a 32-bit program can't use (needed by",
          "missing: v-none.dll (needed by game.exe, via names.dll)\n",
          "\n  wide.dll: UNUSABLE C:\\"}},
        {"a damaged program",
         {{L"game.exe", sound.substr(0, 0x100)}},
         1,
         "unusable: game.exe: C:\\",
         {"\\game.exe has no sound headers: it is damaged, or isn't for Windows\n"}},
        {"a name with control units",
         {{L"game.exe", ProgramBytes({"v\n\x1B[2Jall is well.dll"})}},
         1,
         "missing: v  [2Jall is well.dll (needed by game.exe)\n\n",
         {}},
        {"a 64-bit program",
         {{L"game.exe", Wide(ProgramBytes({"v-none.dll"}))}},
         0,
         "a 64-bit program: only of 32-bit files the imports are read, so what is missing isn't",
         {"\\game.exe\n  a 64-bit program\n"}},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        for (auto const & [name, bytes] : each.files)
            m_folder.Write(name, bytes);
        std::string const output = Run(each.code, L"game.exe");
        EXPECT_EQ(each.begin, output.substr(0, std::string(each.begin).size()));
        for (char const * text : each.says)
            ExpectSays(output, text);
        for (auto const & file : each.files)
            std::filesystem::remove(file.first);
    }
}

TEST_F(Peinspect, ShowsWhatLibrariesOfWindowsNeedOnlyIfItIsMissing)
{
    SideBySideFolder const folder;
    m_folder.Write(L"game.exe", ProgramBytes({"v-runtime.dll"}));
    WriteBytes(folder.File(L"v-runtime.dll"), ProgramBytes({"kernel32.dll"}, {"v-late.dll"}));
    std::string output = Run(0, L"game.exe");
    ExpectSays(output, "nothing is missing; libraries found: ");
    ExpectSays(output, "\\v-runtime.dll\n");
    EXPECT_EQ(output.npos, output.find("kernel32.dll"));
    WriteBytes(folder.File(L"v-runtime.dll"), ProgramBytes({"v-none.dll"}));
    output = Run(1, L"game.exe");
    ExpectSays(output, "missing: v-none.dll (needed by game.exe, via v-runtime.dll)\n");
    ExpectSays(output, "\\v-runtime.dll\n    v-none.dll: MISSING\n");
}

TEST_F(Peinspect, TellsVersionAndSignerOfAFileWithAChineseName)
{
    std::wstring const beside = ProgramBeside(L"subject-signed.dll"); // in quotes
    std::wstring const signedFile = beside.substr(1, beside.size() - 2);
    if (!std::filesystem::exists(signedFile))
        GTEST_SKIP() << "no signed file: openssl or osslsigncode was missing in the build";
    std::string bytes = ReadBytes(signedFile);
    std::string const text("c\0o\0p\0y\0",
                           8); // what stands there isn't compared with the signature
    std::size_t const at = bytes.find(text);
    ASSERT_NE(bytes.npos, at);
    bytes.replace(at, 8, "\x34\xD8\"\0\\\0\n\0", 8); // half a character first
    m_folder.Write(L"\x6E38\x620F\\\x6D4B.dll", bytes);
    std::string output = Run(0, L"\x6E38\x620F\\\x6D4B.dll");
    for (char const * says :
         {"\\\xE6\xB8\xB8\xE6\x88\x8F\\\xE6\xB5\x8B.dll\n", "-bit library\n",
          "  version 9.8.7.6, of the product 1.2.3.4\n", "  Comments: \xE6\xB5\x8B\xE8\xAF\x95\n",
          "  LegalCopyright: \xEF\xBF\xBD\"\\ right\n",
          "  signed by \xE6\xB5\x8B\xE8\xAF\x95\xE6\xB8\xB8\xE6\x88\x8F\xE5\x85\xAC\xE5\x8F\xB8, "
          "serial number 01020a (not verified)\n"})
        ExpectSays(output, says);
    output = Run(0, L"--json \x6E38\x620F\\\x6D4B.dll");
    for (char const * says :
         {"\\\\\xE6\xB8\xB8\xE6\x88\x8F\\\\\xE6\xB5\x8B.dll\",\n",
          "\"LegalCopyright\": \"\xEF\xBF\xBD\\\"\\\\\\u000aright\",\n",
          "  \"signer\": \"\xE6\xB5\x8B\xE8\xAF\x95\xE6\xB8\xB8\xE6\x88\x8F\xE5\x85\xAC\xE5\x8F\xB8"
          "\",\n  \"serialNumber\": \"01020a\",\n"})
        ExpectSays(output, says);
}

TEST_F(Peinspect, WritesJson)
{
    m_folder.Write(L"game.exe", ProgramBytes({}, {"v\"\\.dll"}));
    std::string output = Run(1, L"game.exe --json");
    std::size_t const path = output.find("C:\\");
    ASSERT_NE(output.npos, path);
    std::string const folder = output.substr(path, output.find("game.exe") - path);
    for (std::size_t at = path; at != output.npos; at = output.find(folder))
        output.replace(at, folder.size(), "");
    EXPECT_EQ(R"({
  "file": "game.exe",
  "kind": "32-bit program",
  "problems": ["v\"\\.dll"],
  "fileVersion": null,
  "productVersion": null,
  "texts": {},
  "signer": null,
  "serialNumber": null,
  "icons": [],
  "libraries": [
    {
      "name": "game.exe",
      "path": "game.exe",
      "state": "found",
      "trouble": null,
      "is64Bit": false,
      "atFirstUse": false,
      "way": [],
      "needs": ["v\"\\.dll"],
      "neededBy": []
    },
    {
      "name": "v\"\\.dll",
      "path": null,
      "state": "missing",
      "trouble": null,
      "is64Bit": false,
      "atFirstUse": true,
      "way": ["game.exe"],
      "needs": [],
      "neededBy": ["game.exe"]
    }
  ]
}
)",
              output);
}

TEST_F(Peinspect, SavesIcons)
{
    std::wstring const file = L"C:\\windows\\notepad.exe";
    std::string const output = Run(0, file + L" --icon o.ico --png o.png --json");
    EXPECT_EQ(output.npos, output.find("\"icons\": []"));
    ExpectSays(output, "\"icons\": [\"");
    std::string const icon = ReadBytes(L"o.ico");
    EXPECT_EQ(std::string("\0\0\1\0", 4), icon.substr(0, 4));
    EXPECT_EQ("\x89PNG\r\n\x1A\n", ReadBytes(L"o.png").substr(0, 8));
}

TEST_F(Peinspect, SaysWhatItCanTDo)
{
    m_folder.Write(L"readme.txt", "text");
    m_folder.Write(L"empty.exe");
    m_folder.Write(L"game.exe", ProgramBytes({}));
    GMFile lock;
    lock.Create(m_folder.Write(L"locked.exe"), GENERIC_READ, 0, OPEN_EXISTING, 0);
    std::pair<wchar_t const *, char const *> const cases[] = {
        {L"readme.txt", "readme.txt: isn't an executable file\n"},
        {L"empty.exe", "empty.exe: isn't an executable file\n"},
        {L"locked.exe", "locked.exe: can't be read: Sharing violation (code 32)\n"},
        {L"missing.exe", "missing.exe: can't be read: File not found (code 2)\n"},
        {L"", "peinspect FILE"},
        {L"a.exe b.exe", "peinspect FILE"},
        {L"a.exe --no", "peinspect FILE"},
        {L"--json", "peinspect FILE"},
        {L"game.exe --icon", "peinspect FILE"},
        {L"game.exe --icon o.ico", "game.exe: has no icon\n"},
        {L"game.exe --png .\\GAME.exe", "game.exe: would be overwritten by its icon\n"},
        {L"C:\\windows\\notepad.exe --icon no\\o.ico", ": its icon can't be saved as no\\o.ico\n"},
        {L"C:\\windows\\notepad.exe --png no\\o.png", ": its icon can't be saved as no\\o.png\n"},
    };
    for (auto const & [arguments, says] : cases)
        ExpectSays(Run(2, arguments), says);
}

} // namespace Velmora::Testing
