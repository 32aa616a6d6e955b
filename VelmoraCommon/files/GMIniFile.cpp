#include "VelmoraCommon/files/GMIniFile.h"

#include <algorithm>
#include <iterator>

#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

namespace
{

// Sizes of the buffers that the system fills, in units with the terminators. What doesn't fit is cut.
constexpr DWORD valueSize = 4096;
constexpr DWORD sectionSize = 6000;
constexpr DWORD namesSize = 2048;

/// The texts of a list in which each one ends in a NUL; one without its NUL before \p end is left
/// out.
template <class Use>
void ForEachText(wchar_t const * list, wchar_t const * end, Use use)
{
    wchar_t const * nul;
    for (; (nul = std::find(list, end, L'\0')) != end; list = nul + 1)
        use(GMString(list, nul));
}

} // namespace

GMIniFile::GMIniFile(GMString const & fileName) : m_fileName(fileName) {}

GMString GMIniFile::GetFileName() const { return m_fileName; }

GMString GMIniFile::GetStringValue(GMString const & section, GMString const & key,
                                   GMString const & defaultValue) const
{
    wchar_t buffer[valueSize] = {};
    GetPrivateProfileStringW(section.c_str(), key.c_str(), defaultValue.c_str(), buffer, valueSize,
                             m_fileName.c_str());
    return buffer;
}

bool GMIniFile::SetStringValue(GMString const & section, GMString const & key,
                               GMString const & value) const
{
    // Of a bare name GetDirectory would make a directory of the file's own name.
    GMString path = m_fileName;
    GMFileName::NormalizePath(path, GMFileName::smc_backslashes);
    bool const namesDirectory = path.find(GMFileName::GetDirDelimiter()) != GMString::npos;
    if (namesDirectory && !GMFilePathUtils::CreateDirectories(GMFileName::GetDirectory(path)))
        return false;
    return WritePrivateProfileStringW(section.c_str(), key.c_str(), value.c_str(),
                                      m_fileName.c_str()) != FALSE;
}

bool GMIniFile::ClearSection(GMString const & section, bool remove) const
{
    constexpr wchar_t noLines[] = L"\0"; // a list ends in a NUL of its own
    return WritePrivateProfileSectionW(section.c_str(), remove ? nullptr : noLines,
                                       m_fileName.c_str()) != FALSE;
}

unsigned int GMIniFile::GetKeyValues(std::vector<GMString> & keys, std::vector<GMString> & values,
                                     GMString const & section) const
{
    wchar_t buffer[sectionSize] = {};
    DWORD const size =
        GetPrivateProfileSectionW(section.c_str(), buffer, sectionSize, m_fileName.c_str());
    if (size == 0)
        return 0;

    keys.clear();
    values.clear();
    ForEachText(buffer, buffer + size,
                [&](GMString const & line)
                {
                    GMString::size_type const mark = line.find(L'=');
                    keys.push_back(line.substr(0, mark));
                    values.push_back(line.substr(mark + 1)); // none found: npos + 1 is 0
                });
    return static_cast<unsigned int>(keys.size());
}

unsigned int GMIniFile::GetKeyValues(std::map<GMString, GMString> & map,
                                     GMString const & section) const
{
    std::vector<GMString> keys;
    std::vector<GMString> values;
    GetKeyValues(keys, values, section);
    for (std::size_t i = 0; i < keys.size(); ++i)
        map[keys[i]] = values[i];
    return static_cast<unsigned int>(map.size());
}

unsigned int GMIniFile::GetSections(std::vector<GMString> & sections) const
{
    wchar_t buffer[namesSize] = {};
    if (GetPrivateProfileSectionNamesW(buffer, namesSize, m_fileName.c_str()) == 0)
        return 0;

    sections.clear();
    ForEachText(buffer, std::end(buffer),
                [&](GMString const & name)
                {
                    if (!name.empty()) // the rest of the buffer
                        sections.push_back(name);
                });
    return static_cast<unsigned int>(sections.size());
}

} // namespace Velmora
