#include "tools/peinspect/Search.h"

#include <vector>

#include "VelmoraCommon/executable/GMPEDepend.h"
#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMFindFile.h"
#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"

using namespace Velmora;

namespace Tools
{

Search::Search(GMString const & program) : m_program(program)
{
    wchar_t path[MAX_PATH] = {};
    GetSystemWindowsDirectoryW(path, MAX_PATH);
    m_windows = path;
    // A 64-bit Windows keeps its 32-bit libraries apart. A 64-bit peinspect has to look there
    // first, for what it is told to be the system directory is that of the 64-bit ones.
    m_extra = GetSystemWow64DirectoryW(path, MAX_PATH) != 0 ? path : L"";
    m_runs32Bit = sizeof(void *) == 4 ||
                  GMFilePathUtils::IsExistsFile(GMFileName::JoinFileName(m_extra, L"ntdll.dll"));
    if (m_extra.empty())
        m_extra = GMFileName::GetDirectory(program);
}

GMString Search::Find(GMString const & name) const
{
    // The loader completes names, too.
    GMString const file = name.find(L'.') == GMString::npos ? name + L".dll" : name;
    GMString const path = GMPEDepend::GetDllFullPath(file, m_program, m_extra);
    return path.empty() ? FindSideBySide(file) : path;
}

bool Search::IsOfWindows(GMString const & path) const
{
    return GMStringUtils::BeginWithNoCase(path, m_windows + L"\\");
}

bool Search::IsPath(GMString const & name) { return name.find_first_of(L"\\/:") != GMString::npos; }

/// Windows 10 can be asked; on older ones each of these names has a file, which Find finds.
bool Search::IsApiSet(GMString const & name)
{
    if (!GMStringUtils::BeginWithNoCase(name, L"api-ms-") &&
        !GMStringUtils::BeginWithNoCase(name, L"ext-ms-"))
        return false;
    using Ask = BOOL WINAPI(char const *);
    auto const ask = reinterpret_cast<Ask *>(reinterpret_cast<void *>(
        GetProcAddress(GetModuleHandleW(L"kernelbase.dll"), "IsApiSetImplemented")));
    return ask != nullptr &&
           ask(GMStringConvert::GMStringToUtf8(GMFilePathUtils::BaseName(name)).c_str());
}

/// The run time libraries of older compilers lie in folders that a program names in its
/// manifest. That the manifest does so is taken for granted.
GMString Search::FindSideBySide(GMString const & file) const
{
    GMString const folder = m_windows + L"\\winsxs\\";
    std::vector<GMFileInfo> candidates;
    GMFindFile::FindFiles(folder + L"x86_microsoft.vc*", candidates);
    for (GMFileInfo const & candidate : candidates)
    {
        GMString path = GMFileName::JoinFileName(folder + candidate.GetFileName(), file);
        if (GMFilePathUtils::IsExistsFile(path))
            return path;
    }
    return GMString();
}

} // namespace Tools
