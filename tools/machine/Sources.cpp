#include "tools/machine/Sources.h"

#include <vector>

#include "VelmoraCommon/files/GMTextReader.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/text/GMStringToken.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "tools/common/Messages.h"

using namespace Velmora;

namespace Tools
{

namespace
{

/// The key of the drivers of all display adapters; each has a key with a number below it.
constexpr wchar_t displayClass[] =
    L"SYSTEM\\CurrentControlSet\\Control\\Class\\{4d36e968-e325-11ce-bfc1-08002be10318}";

constexpr std::size_t mostDigits = 9; // what surely fits 32 bits
constexpr wchar_t blanks[] = L" \t\r";

void AddScore(GMString const & line, std::map<GMString, unsigned int> & scores)
{
    GMString::size_type const mark = line.rfind(L'=');
    GMString name = line.substr(0, mark);
    GMString score = mark == GMString::npos ? GMString() : line.substr(mark + 1);
    GMStringUtils::Trim(name, blanks);
    GMStringUtils::Trim(score, blanks);
    if (name.empty() || score.size() > mostDigits || !GMStringUtils::IsDigits(score))
        throw Failure{OnOneLine(line) + L": not of the form NAME = SCORE"};
    scores[name] = GMStringUtils::ToUInt32(score) / 10;
}

} // namespace

std::map<GMString, unsigned int> ReadScores(GMString const & path)
{
    GMTextReader reader(path);
    if (!reader.LoadContent(true))
        throw Failure{path + L": can't be read"};
    std::vector<GMString> lines;
    GMStringToken::StringToArray(reader.GetFileContent(), L'\n', lines);
    std::map<GMString, unsigned int> scores;
    for (GMString & line : lines)
    {
        GMStringUtils::Trim(line, blanks);
        if (!line.empty() && line.front() != L'#')
            AddScore(line, scores);
    }
    return scores;
}

std::map<GMString, unsigned __int64> ReadVideoMemory()
{
    std::map<GMString, unsigned __int64> memory;
    GMRegFile drivers;
    std::vector<GMString> names;
    drivers.OpenKey(HKEY_LOCAL_MACHINE, displayClass, KEY_READ, false);
    drivers.EnumSubKeys(names);
    for (GMString const & name : names)
    {
        GMRegFile driver;
        unsigned __int64 size = 0;
        if (driver.OpenKey(HKEY_LOCAL_MACHINE, displayClass + (L'\\' + name), KEY_READ, false) &&
            driver.GetValue(L"HardwareInformation.qwMemorySize", size))
        {
            memory[driver.GetStringValue(L"DriverDesc", GMString())] = size;
        }
    }
    return memory;
}

} // namespace Tools
