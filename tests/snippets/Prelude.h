#pragma once

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/threads/GMSemaphore.h"

#include <objbase.h>

// What the snippets of the documents take for granted: a client's own functions and values, and files
// where they look for some.

inline Velmora::GMStringA const bytes = "a;\xD6\xD0,c";
inline std::map<Velmora::GMString, unsigned int> const gpuScores;
inline HWND const window = nullptr;
inline HWND const notified = nullptr;
inline int g_installed = 0;
inline std::string g_shown;

template <class... Values>
void Show(Values const &...)
{
}
inline void Show(Velmora::GMString const & text)
{
    g_shown += std::string(text.begin(), text.end()) + "|";
}
inline void Listen(Velmora::GMString const & name, unsigned int port)
{
    Show(name + L":" + std::to_wstring(port));
}
template <class... Values>
void Install(Values const &...)
{
    ++g_installed;
}
inline void Report(Velmora::GMString const &) { g_shown += "failed|"; }

inline void Begin(char const * snippet)
{
    std::puts(snippet);
    std::fflush(stdout); // so that it is known which one ended the program
}

inline void WriteFile(wchar_t const * path, std::string const & content)
{
    Velmora::GMFile file;
    unsigned int written = 0;
    file.Create(path, GENERIC_WRITE, 0, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
    file.Write(content.data(), static_cast<unsigned int>(content.size()), written);
}

inline void Prepare()
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    CreateDirectoryW(L"C:\\Games", nullptr);
    SetCurrentDirectoryW(L"C:\\Games");
    WriteFile(L"C:\\Games\\readme.txt", "read me");
    WriteFile(L"C:\\Games\\cache\\a\\b", "cached");
    WriteFile(L"C:\\Games\\update\\new.txt", "new");
    WriteFile(L"C:\\Games\\settings.reg",
              "REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\Software\\SnippetGame]\r\n\"Path\"=\"C:"
              "\\\\Games\"\r\n");
}

/// \return 0 if the snippets have done what they say
inline int Finish()
{
    std::pair<char const *, bool> const facts[] = {
        {"the cache is gone", GetFileAttributesW(L"C:\\Games\\cache") == INVALID_FILE_ATTRIBUTES},
        {"the update is copied",
         GetFileAttributesW(L"C:\\Games\\new.txt") != INVALID_FILE_ATTRIBUTES},
        {"the queues have done all of their work", g_installed >= 201},
        {"texts are shown", g_shown.find("read me|") != std::string::npos},
        {"options are read", g_shown.find("John Doe:8080|") != std::string::npos},
        {"nothing is left of the registry",
         !Velmora::GMRegFile().OpenKey(HKEY_CURRENT_USER, L"Software\\SnippetGame", KEY_READ,
                                       false)},
        {"no install failed", g_shown.find("failed|") == std::string::npos},
    };
    int failures = 0;
    for (auto const & [fact, isTrue] : facts)
    {
        std::printf("%s: %s\n", isTrue ? "true" : "FALSE", fact);
        failures += !isTrue;
    }
    return failures;
}
