#include "VelmoraCommon/files/GMFileName.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "VelmoraCommon/files/internal/PathText.h"
#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/text/internal/WhiteSpace.h"

#include <shlwapi.h>

namespace Velmora
{

namespace
{

constexpr std::wstring_view invalidInPath = L"*?<>|:\"";
constexpr std::wstring_view invalidInFileName = L"*?<>|:\"\\/";
constexpr wchar_t const * reservedNames[] = {L"CON", L"PRN", L"AUX", L"NUL"};

bool IsInvalid(wchar_t unit, std::wstring_view invalid)
{
    return unit < L' ' || invalid.find(unit) != std::wstring_view::npos;
}

void AppendToList(GMString & list, std::wstring_view entry)
{
    if (!list.empty())
        list += L' ';
    list += entry;
}

void ReplaceInvalid(GMString & text, std::wstring_view invalid, GMString const & replacement)
{
    GMString repaired;
    repaired.reserve(text.size());
    for (wchar_t const unit : text)
    {
        if (IsInvalid(unit, invalid))
            repaired += replacement;
        else
            repaired += unit;
    }
    text = std::move(repaired);
}

} // namespace

wchar_t GMFileName::GetDirDelimiter() { return L'\\'; }

wchar_t GMFileName::GetPosixDirDelimiter() { return L'/'; }

wchar_t GMFileName::GetAnyStringWildcard() { return L'*'; }

wchar_t GMFileName::GetDirsSplitChar() { return L'?'; }

void GMFileName::NormalizePath(GMString & path, unsigned int flags)
{
    if (flags & smc_lowerCase)
        GMStringUtils::MakeLower(path);
    if (flags & smc_upperCase)
        GMStringUtils::MakeUpper(path);
    if (flags & smc_unquote)
        path = Unquoted(path);
    if (flags & smc_noEndDelimiter)
        path = WithoutEndDelimiter(std::move(path));
    else if (flags & smc_endDelimiter)
        path = WithEndDelimiter(std::move(path));
    if (flags & smc_backslashes)
        std::replace(path.begin(), path.end(), GetPosixDirDelimiter(), GetDirDelimiter());
}

void GMFileName::Canonicalize(GMString & path)
{
    // The call doesn't measure what it is given.
    if (path.size() >= MAX_PATH)
        return;
    wchar_t canonical[MAX_PATH] = {};
    PathCanonicalizeW(canonical, path.c_str());
    path = canonical;
}

bool GMFileName::IsCompletedPath(GMString const & path)
{
    if (path.size() < 2)
        return false;
    if (path[0] == L'\\' && path[1] == L'\\')
        return true;
    return path[1] == L':' && (path.size() == 2 || path[2] == L'\\' || path[2] == L'/');
}

GMString GMFileName::JoinFileName(GMString const & directory, GMString const & name)
{
    GMString tail = Unquoted(name);
    if (IsCompletedPath(tail))
        return tail;

    GMString joined = WithEndDelimiter(Unquoted(directory));
    return joined.append(tail, std::min(tail.find_first_not_of(pathDelimiters), tail.size()));
}

GMString GMFileName::GetDirectory(GMString const & path)
{
    GMString directory = WithoutEndDelimiter(Unquoted(path));
    GMString::size_type const mark = directory.rfind(GetDirDelimiter());
    if (mark != GMString::npos)
        directory.erase(mark);
    return directory;
}

GMString GMFileName::GetParentDirectory(GMString const & path)
{
    return GetDirectory(WithoutEndDelimiter(path));
}

void GMFileName::SplitNameToPureNameAndExtension(GMString const & name, GMString & pure,
                                                 GMString & delimiter, GMString & tail)
{
    GMString const whole = name; // any of the results may be the name's own object
    GMString::size_type const mark = whole.rfind(GetDirDelimiter());
    bool const split = mark != GMString::npos;
    pure = whole.substr(0, mark);
    delimiter = split ? L"\\" : L"";
    tail = split ? whole.substr(mark + 1) : GMString();
}

GMString GMFileName::GetQuotedFilePath(GMString const & path) { return L'"' + path + L'"'; }

bool GMFileName::HasWildcardChar(GMString const & path)
{
    return path.find_first_of(L"*?") != GMString::npos;
}

bool GMFileName::CheckFilePath(GMString const & path, GMString & invalid)
{
    invalid.clear();
    bool const hasDrive = IsCompletedPath(path);
    for (GMString::size_type i = 0; i < path.size(); ++i)
    {
        bool const isDriveColon = hasDrive && i == 1 && path[i] == L':';
        if (!isDriveColon && IsInvalid(path[i], invalidInPath))
            AppendToList(invalid, std::wstring_view(&path[i], 1));
    }
    return invalid.empty();
}

bool GMFileName::CheckFilePathParts(GMString const & path, GMString & invalid)
{
    invalid.clear();
    GMString::size_type begin = 0;
    while (begin < path.size())
    {
        GMString::size_type const end =
            std::min(path.find_first_of(pathDelimiters, begin), path.size());
        GMString part = path.substr(begin, end - begin);
        GMStringUtils::Trim(part, whiteSpace);
        for (wchar_t const * const name : reservedNames)
        {
            if (GMStringUtils::CompareNoCase(part, name) == 0)
                AppendToList(invalid, name);
        }
        begin = end + 1;
    }
    return invalid.empty();
}

bool GMFileName::CheckFilePathError(GMString const & path)
{
    GMString invalid;
    return CheckFilePath(path, invalid) && CheckFilePathParts(path, invalid);
}

void GMFileName::RepairInvalidPath(GMString & path, GMString const & replacement)
{
    ReplaceInvalid(path, invalidInPath, replacement);
}

void GMFileName::RepairInvalidFileName(GMString & name, GMString const & replacement)
{
    ReplaceInvalid(name, invalidInFileName, replacement);
}

} // namespace Velmora
