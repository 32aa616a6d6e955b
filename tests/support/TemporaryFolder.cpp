#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora::Testing
{

namespace
{

std::wstring UniquePath()
{
    static unsigned int number = 0;
    wchar_t temp[MAX_PATH];
    DWORD const length = GetTempPathW(MAX_PATH, temp);
    return std::wstring(temp, length) + L"velmora-" + std::to_wstring(GetCurrentProcessId()) +
           L"-" + std::to_wstring(GetTickCount()) + L"-" + std::to_wstring(++number);
}

void DeleteTree(std::wstring const & path)
{
    {
        WIN32_FIND_DATAW entry;
        ScopedFind const find(FindFirstFileW((path + L"\\*").c_str(), &entry));
        for (bool more = static_cast<bool>(find); more; more = FindNextFileW(find.Get(), &entry))
        {
            std::wstring const name = entry.cFileName;
            if (name == L"." || name == L"..")
                continue;
            std::wstring const full = path + L"\\" + name;
            SetFileAttributesW(full.c_str(), FILE_ATTRIBUTE_NORMAL);
            if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
                DeleteFileW(full.c_str());
            else if ((entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
                RemoveDirectoryW(full.c_str());
            else
                DeleteTree(full);
        }
    }
    RemoveDirectoryW(path.c_str());
}

} // namespace

TemporaryFolder::TemporaryFolder() : m_path(UniquePath())
{
    if (!CreateDirectoryW(m_path.c_str(), nullptr))
        throw std::runtime_error("TemporaryFolder: no directory");
}

TemporaryFolder::~TemporaryFolder() { DeleteTree(m_path); }

std::wstring TemporaryFolder::Write(std::wstring const & name, std::string const & bytes) const
{
    for (std::size_t end = 0; (end = name.find(L'\\', end)) != name.npos; ++end)
        CreateDirectoryW(File(name.substr(0, end)).c_str(), nullptr);
    WriteBytes(File(name), bytes);
    return File(name);
}

void WriteBytes(std::wstring const & path, std::string const & bytes)
{
    std::ofstream file(std::filesystem::path(path), std::ios::binary);
    if (!file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush())
        throw std::runtime_error("WriteBytes: not written");
}

std::string ReadBytes(std::wstring const & path)
{
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    if (!file.is_open() || file.bad())
        throw std::runtime_error("ReadBytes: not read");
    return bytes.str();
}

} // namespace Velmora::Testing
