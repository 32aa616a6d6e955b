// registry_undo: installs a .reg file, shows what that changed, and takes it back. Try
//     registry_undo settings.reg
// For a program that keeps the way back in a file and refuses what it can't install see the tool
// reginstall.

#include <cstdio>

#include "VelmoraCommon/frame/GMBuffer.h"
#include "VelmoraCommon/registry/GMRegInstall.h"
#include "VelmoraCommon/registry/GMRegParser.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"

using namespace Velmora;

namespace
{

void Print(GMString const & line) { std::puts(GMStringConvert::GMStringToUtf8(line).c_str()); }

int InstallAndUndo(GMString const & path)
{
    GMRegParser parser;
    parser.Load(path);

    // While it installs, it records what is there before. On a failure it takes back what it did.
    GMRegInstall install;
    if (!install.Install(parser.GetRegList(), false))
    {
        GMRegException const failure = install.GetLastExcption();
        Print(failure.m_keyPath +
              GMStringUtils::FormatResult(L": failed with code %u", failure.m_lastError));
        return 1;
    }

    // The records are a list of keys like the one in the file. Their bytes can be kept anywhere.
    GMBuffer<unsigned char> undo;
    install.GetUninstallData(undo);
    std::deque<GMRegKey> records;
    GMRegInstall::DeserialRegFromBuffer(undo, records);
    Print(L"Installed. The way back:");
    for (GMRegKey const & key : records)
    {
        Print(L"  " + key.GetRegFullPath(true)); // `-` in front: the key was new
        for (GMRegValue const & value : key.GetValues())
        {
            GMString text;
            if (!value.GetRemoveFlag())
                value.SaveValueToString(text);
            Print(L"    " + value.GetName() + (value.GetRemoveFlag() ? L" goes" : L" = " + text));
        }
    }

    GMRegInstall::Uninstall(undo);
    Print(L"Taken back.");
    return 0;
}

} // namespace

int wmain(int argc, wchar_t ** argv)
{
    if (argc != 2)
    {
        std::fputs("registry_undo FILE.reg\n", stderr);
        return 2;
    }
    try
    {
        return InstallAndUndo(argv[1]);
    }
    catch (GMRegException const & error)
    {
        Print(error.m_keyPath + L": can't be read or written");
    }
    catch (std::exception const & error) // a file that can't be read, or isn't a registry file
    {
        std::puts(error.what());
    }
    return 1;
}
