#include "tools/reginstall/Records.h"

#include <map>
#include <utility>

#include "VelmoraCommon/text/GMStringUtils.h"
#include "tools/common/Messages.h"

using namespace Velmora;

namespace Tools
{
namespace
{

/// Opens \p key for reading; false if it is missing.
bool Open(GMRegFile & store, GMRegKey const & key, View const & view)
{
    if (store.OpenKey(key.GetRoot(), key.GetSubPath(), KEY_READ | view.access, false))
        return true;
    if (store.LastError() != ERROR_FILE_NOT_FOUND)
        Fail(key, SystemMessage(store.LastError()));
    return false;
}

/// Whether the open key holds just what \p value says.
bool IsStored(GMRegFile const & store, GMRegValue const & value)
{
    DWORD type = 0;
    DWORD size = 0;
    GMString const name = value.GetName();
    LSTATUS code = RegQueryValueExW(store.GetKey(), name.c_str(), nullptr, &type, nullptr, &size);
    if (value.GetRemoveFlag() || code != ERROR_SUCCESS)
        return value.GetRemoveFlag() && code == ERROR_FILE_NOT_FOUND;
    Bytes bytes(size);
    code = RegQueryValueExW(store.GetKey(), name.c_str(), nullptr, &type, bytes.data(), &size);
    return code == ERROR_SUCCESS && type == value.GetType() && bytes == BytesOf(value);
}

/// The path as the registry spells it, so that the key comes back under its own name.
GMString StoredPath(GMRegFile const & store, GMRegKey const & key)
{
    GMString const path = key.GetSubPath();
    GMString const whole = GMRegFile::GetKeyPathFromHKEY(store.GetKey());
    GMString const stored = GMStringUtils::Right(whole, static_cast<int>(path.size()));
    bool const same = !ByName()(stored, path) && !ByName()(path, stored);
    return same ? stored : path; // they differ below a key that is another name of its target
}

/// What the registry holds for the names of \p key, and under its own spelling of them.
void AddStoredValues(GMRegFile & store, GMRegKey const & key, GMRegKey & record)
{
    std::vector<GMString> names;
    if (!store.EnumValueNames(names))
        Fail(key, SystemMessage(store.LastError()));
    std::set<GMString, ByName> const stored(names.begin(), names.end());
    for (GMRegValue const & value : key.GetValues())
    {
        auto const name = stored.find(value.GetName());
        GMRegValue old(REG_NONE, name != stored.end() ? *name : value.GetName());
        if (name != stored.end())
            store.GetValue(*name, &old); // what can't be read is found when the record is checked
        else
            old.SetRemoveFlag(true);
        record.GetValues().push_back(std::move(old));
    }
}

/// Fails if a record would not bring back the very bytes that the registry holds.
void CheckExact(GMRegKey const & record, View const & view)
{
    CheckStored(record, view, L"is stored in a form that can't be recorded");
    GMRegKey readBack;
    GMBuffer<unsigned char> const serial = record.Serial();
    if (!readBack.Deserial(serial.m_data, serial.m_length))
        Fail(record, L"holds a value of a type that can't be recorded");
}

} // namespace

void Fail(GMRegKey const & key, GMString const & what)
{
    throw Failure{key.GetRegFullPath(false) + L": " + what};
}

void CheckStored(GMRegKey const & whole, View const & view, wchar_t const * complaint)
{
    std::vector<GMRegKey const *> pending{&whole};
    while (!pending.empty())
    {
        GMRegKey const & key = *pending.back();
        pending.pop_back();
        GMRegFile store;
        bool const found = Open(store, key, view);
        if (found == key.GetRemoveFlag())
            Fail(key, found ? L"is still there" : L"is missing");
        if (!found)
            continue;

        // Of values with the same name the last one counts.
        std::map<GMString, GMRegValue const *, ByName> last;
        for (GMRegValue const & value : key.GetValues())
            last[value.GetName()] = &value;
        for (auto const & [name, value] : last)
        {
            if (!IsStored(store, *value))
                Fail(key, L"\"" + name + L"\" " + complaint);
        }
        for (GMRegKey const & subKey : key.GetSubKeys())
            pending.push_back(&subKey);
    }
}

void History::Add(GMRegKey const & key)
{
    GMRegFile store;
    if (Open(store, key, view))
        AddFound(store, key);
    else if (!key.GetRemoveFlag()) // to bring back a missing key would be to create it
        AddMissing(key);
}

/// GMRegInstall::GenerateAntiReg makes records, too. It looks for the key in the default view and
/// for names in their exact case, though, which isn't enough to be exact in every case.
void History::AddFound(GMRegFile & store, GMRegKey const & key)
{
    GMRegKey record(key.GetRoot(), key.GetSubPath());
    if (key.GetRemoveFlag())
    {
        record.SetSubPath(StoredPath(store, key));
        GMRegInstall::UpdateFromSystem(record, false, view.type);
    }
    else
        AddStoredValues(store, key, record);
    CheckExact(record, view);
    records.push_front(std::move(record));
}

/// The install makes the keys above a new key as well, so they have to go, too, after it.
void History::AddMissing(GMRegKey const & key)
{
    GMString const path = key.GetSubPath();
    for (auto end = path.find(L'\\');; end = path.find(L'\\', end + 1))
    {
        GMRegKey above(key.GetRoot(), path.substr(0, end));
        GMRegFile store;
        if (!Open(store, above, view) && m_missing.insert(above.GetRegFullPath(false)).second)
        {
            above.SetRemoveFlag(true);
            records.push_front(std::move(above));
        }
        if (end == GMString::npos)
            return;
    }
}

} // namespace Tools
