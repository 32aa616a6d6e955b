#include "VelmoraCommon/registry/GMRegUtils.h"

#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/text/GMStringToken.h"

namespace Velmora
{

namespace
{

/// Expands the wildcards of \p pattern from the unit \p from on; what stands before is a name found.
/// A key's name may itself hold wildcards: looked up again, two of them could stand for each other
/// without end.
void ExpandWildcards(GMString const & pattern, GMString::size_type from,
                     std::vector<GMString> & found)
{
    GMString::size_type const wildcard = pattern.find_first_of(L"*?", from);
    if (wildcard == GMString::npos)
    {
        found.push_back(pattern);
        return;
    }
    GMString::size_type const before = pattern.rfind(L'\\', wildcard);
    if (before == GMString::npos)
        return;

    GMString::size_type const behind = pattern.find(L'\\', wildcard);
    GMString const parent = pattern.substr(0, before);
    GMString const mask = pattern.substr(before + 1, behind - before - 1); // to the end if none
    GMString const tail = behind == GMString::npos ? GMString() : pattern.substr(behind);
    std::vector<GMString> names;
    GMRegUtils::EnumSubKeys(parent, names);
    for (GMString const & name : names)
    {
        if (!GMStringToken::WildcardMatch(name, mask))
            continue;
        GMString const candidate = parent + L'\\' + name;
        if (tail.empty() || mask.find(name) != GMString::npos)
            found.push_back(candidate + tail);
        else
            ExpandWildcards(candidate + tail, candidate.size(), found);
    }
}

/// The letter half the alphabet further; any other character as it is.
template <class Character>
Character Rotate(Character letter)
{
    constexpr Character half = 13;
    auto const lies = [letter](char first, char last)
    { return letter >= static_cast<Character>(first) && letter <= static_cast<Character>(last); };
    if (lies('a', 'm') || lies('A', 'M'))
        return static_cast<Character>(letter + half);
    if (lies('n', 'z') || lies('N', 'Z'))
        return static_cast<Character>(letter - half);
    return letter;
}

} // namespace

unsigned long GMRegUtils::GetIntValue(GMString const & fullPath, GMString const & name,
                                      unsigned long defaultValue, REGSAM access)
{
    GMRegFile file;
    return file.OpenKey(fullPath, access | KEY_READ, false)
               ? file.GetUInt32Value(name, defaultValue)
               : defaultValue;
}

unsigned long GMRegUtils::GetIntValue(HKEY root, GMString const & subKey, GMString const & name,
                                      unsigned long defaultValue, REGSAM access)
{
    GMRegFile file;
    return file.OpenKey(root, subKey, access | KEY_READ, false)
               ? file.GetUInt32Value(name, defaultValue)
               : defaultValue;
}

GMString GMRegUtils::GetStringValue(GMString const & fullPath, GMString const & name,
                                    GMString const & defaultValue, REGSAM access)
{
    GMRegFile file;
    return file.OpenKey(fullPath, access | KEY_READ, false)
               ? file.GetStringValue(name, defaultValue)
               : defaultValue;
}

GMString GMRegUtils::GetStringValue(HKEY root, GMString const & subKey, GMString const & name,
                                    GMString const & defaultValue, REGSAM access)
{
    GMRegFile file;
    return file.OpenKey(root, subKey, access | KEY_READ, false)
               ? file.GetStringValue(name, defaultValue)
               : defaultValue;
}

bool GMRegUtils::SetIntValue(GMString const & fullPath, GMString const & name, unsigned long value,
                             REGSAM access)
{
    GMRegFile file;
    return file.OpenKey(fullPath, access | KEY_WRITE, true) && file.SetValue(name, value);
}

bool GMRegUtils::SetIntValue(HKEY root, GMString const & subKey, GMString const & name,
                             unsigned long value, REGSAM access)
{
    GMRegFile file;
    return file.OpenKey(root, subKey, access | KEY_WRITE, true) && file.SetValue(name, value);
}

bool GMRegUtils::SetStringValue(GMString const & fullPath, GMString const & name,
                                GMString const & text, REGSAM access)
{
    GMRegFile file;
    return file.OpenKey(fullPath, access | KEY_WRITE, true) && file.SetValue(name, text.c_str());
}

bool GMRegUtils::SetStringValue(HKEY root, GMString const & subKey, GMString const & name,
                                GMString const & text, REGSAM access)
{
    GMRegFile file;
    return file.OpenKey(root, subKey, access | KEY_WRITE, true) &&
           file.SetValue(name, text.c_str());
}

unsigned long GMRegUtils::EnumSubKeys(GMString const & fullPath, std::vector<GMString> & names)
{
    GMRegFile file;
    std::vector<GMString> found;
    if (!file.OpenKey(fullPath, KEY_READ, false) || !file.EnumSubKeys(found))
        return file.LastError();
    names.swap(found);
    return ERROR_SUCCESS;
}

bool GMRegUtils::CheckEmpty(GMString const & fullPath, bool resultOnError)
{
    GMRegFile file;
    std::vector<GMString> subKeys;
    std::vector<GMString> valueNames;
    if (!file.OpenKey(fullPath, KEY_READ, false) || !file.EnumKeyValueName(subKeys, valueNames))
        return resultOnError;
    return subKeys.empty() && valueNames.empty();
}

std::vector<GMString> GMRegUtils::GetMatchKeys(GMString const & pattern)
{
    std::vector<GMString> found;
    ExpandWildcards(pattern, 0, found);
    return found;
}

void GMRegUtils::Rot13(GMString & text)
{
    for (wchar_t & character : text)
        character = Rotate(character);
}

void GMRegUtils::Rot13(char * text)
{
    for (; *text != '\0'; ++text)
        *text = Rotate(*text);
}

} // namespace Velmora
