#include "VelmoraCommon/executable/GMIconFile.h"

#include <vector>

#include "VelmoraCommon/executable/internal/IconFormat.h"
#include "VelmoraCommon/files/GMFile.h"

namespace Velmora
{

struct GMIconFile::IconDirectory
{
    IconHeader header;
    std::vector<IconEntry> entries; // as many as the header says
};

namespace
{

bool OpenForReading(GMFile & file, GMString const & path)
{
    return file.Create(path, GENERIC_READ, 0, OPEN_EXISTING, 0);
}

bool ReadAll(GMFile & file, void * buffer, unsigned int size)
{
    unsigned int read = 0;
    return file.Read(buffer, size, read) && read == size;
}

struct Size
{
    int width;
    int height;
};

Size SizeOf(IconEntry const & entry)
{
    // Older images of that size don't exist: two zeros without 32 bits are no size.
    if (entry.width == 0 && entry.height == 0 && entry.bits == 32)
        return {256, 256};
    return {entry.width, entry.height};
}

} // namespace

GMIconFile::GMIconFile() : m_isValid(false) {}

GMIconFile::GMIconFile(GMString const & path) : m_path(path), m_isValid(false)
{
    ReadIcoFromFile(path);
}

GMIconFile::~GMIconFile() = default;
GMIconFile::GMIconFile(GMIconFile const &) = default;
GMIconFile & GMIconFile::operator=(GMIconFile const &) = default;

void GMIconFile::ReadIcoFromFile(GMString const &)
{
    ReleaseIconDir();
    m_isValid = false;
    GMFile file;
    unsigned long long size = 0;
    if (!OpenForReading(file, m_path) || !file.GetSize(size))
        return;
    CreateIconDir();
    IconHeader & header = m_directory->header;
    std::vector<IconEntry> & entries = m_directory->entries;
    if (ReadAll(file, &header, sizeof(header)) &&
        header.count <= (size - sizeof(header)) / sizeof(IconEntry))
    {
        entries.resize(header.count);
        m_isValid = header.count == 0 ||
                    ReadAll(file, entries.data(),
                            static_cast<unsigned int>(entries.size() * sizeof(IconEntry)));
    }
    if (!m_isValid)
        ReleaseIconDir();
}

bool GMIconFile::IsValidIco() { return m_isValid; }

bool GMIconFile::QuerySize(int width, int height)
{
    if (!m_directory)
        return false;
    for (IconEntry const & entry : m_directory->entries)
    {
        if (entry.width == static_cast<BYTE>(width) && entry.height == static_cast<BYTE>(height))
            return true;
    }
    return false;
}

bool GMIconFile::QueryBetter(int width, int height, int & betterWidth, int & betterHeight)
{
    if (!m_directory)
        return false;
    bool found = false;
    Size best = {};
    for (IconEntry const & entry : m_directory->entries)
    {
        Size const size = SizeOf(entry);
        if (size.width <= width || size.height <= height ||
            (found && (size.width >= best.width || size.height >= best.height)))
            continue;
        best = size;
        found = true;
    }
    if (found)
    {
        betterWidth = best.width;
        betterHeight = best.height;
    }
    return found;
}

bool GMIconFile::ReadBuffer(GMBuffer<unsigned char> & buffer, int width, int height)
{
    if (!m_directory)
        return false;
    GMFile file; // opened for the first image that fits, and once for all that do
    unsigned long long fileSize = 0;
    for (IconEntry const & entry : m_directory->entries)
    {
        Size const size = SizeOf(entry);
        if (size.width != width || size.height != height)
            continue;
        if (!file.IsOpen() && (!OpenForReading(file, m_path) || !file.GetSize(fileSize)))
            return false;
        unsigned long long position = 0;
        if (entry.offset > fileSize || entry.size > fileSize - entry.offset ||
            !file.Seek(entry.offset, FILE_BEGIN, position))
            continue;
        buffer.Resize(entry.size);
        buffer.SetLength(entry.size);
        return ReadAll(file, buffer.m_data, entry.size);
    }
    return false;
}

/// An empty directory, of this object alone.
void GMIconFile::CreateIconDir() { m_directory = std::make_shared<IconDirectory>(); }

void GMIconFile::ReleaseIconDir() { m_directory.reset(); }

} // namespace Velmora
