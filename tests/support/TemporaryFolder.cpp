#include "tests/support/TemporaryFolder.h"

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
    ScopedFile const file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    if (!file ||
        !WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr))
    {
        throw std::runtime_error("WriteBytes: not written");
    }
}

std::string ReadBytes(std::wstring const & path)
{
    ScopedFile const file(CreateFileW(path.c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        throw std::runtime_error("ReadBytes: not opened");
    std::string bytes(GetFileSize(file.Get(), nullptr), '\0');
    DWORD read = 0;
    if (!ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr) ||
        read != bytes.size())
    {
        throw std::runtime_error("ReadBytes: not read");
    }
    return bytes;
}

} // namespace Velmora::Testing
