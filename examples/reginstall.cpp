// reginstall: installs .reg files into the registry in a way that can be taken back.
//
// An install goes through these steps, and nothing in the registry changes before the last one:
//   1. read the file, and refuse what it could not mean;
//   2. look up what the registry holds of it now, and turn that into undo records;
//   3. write the records to a temporary file and give it its name: from here on `undo` works;
//   4. change the registry key by key, and check each one.
// The program may be killed at any moment. The records say what was, not what was done, so `undo` can
// run after half an install, after half an undo, and twice.

#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <set>
#include <vector>

#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/registry/GMRegFileParser.h"
#include "VelmoraCommon/registry/GMRegInstall.h"
#include "VelmoraCommon/registry/GMRegParser.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "examples/Messages.h"

using namespace Velmora;

namespace
{

using Buffer = GMBuffer<unsigned char>;
using Keys = std::deque<GMRegKey>;

constexpr char usage[] =
    "reginstall show FILE.reg\n"
    "reginstall install FILE.reg --undo FILE.undo [--view default|64|both] [--ignore-errors]\n"
    "reginstall undo FILE.undo\n"
    "reginstall merge A.reg B.reg OUT.reg\n";

// ---- Messages ----------------------------------------------------------------------------------

[[noreturn]] void Fail(GMRegKey const & key, GMString const & what)
{
    throw Failure{key.GetRegFullPath(false) + L": " + what};
}

[[noreturn]] void Fail(GMRegKey const & key, GMRegValue const & value, wchar_t const * what)
{
    Fail(key, L"\"" + value.GetName() + L"\" " + what);
}

// ---- Views -------------------------------------------------------------------------------------

/// One view of the registry, as the library and as the system name it.
struct View
{
    GMRegInstallType type;
    REGSAM access;
};
constexpr View views[] = {{GMRegInstallDefaultView, 0}, {GMRegInstall64BitView, KEY_WOW64_64KEY}};

/// Orders names as the registry tells them apart: by their units, and without their case.
struct ByName
{
    bool operator()(GMString const & left, GMString const & right) const
    {
        return CompareStringOrdinal(left.c_str(), -1, right.c_str(), -1, TRUE) == CSTR_LESS_THAN;
    }
};

/// Opens \p key for reading; false if it is missing.
bool Open(GMRegFile & store, GMRegKey const & key, View const & view)
{
    if (store.OpenKey(key.GetRoot(), key.GetSubPath(), KEY_READ | view.access, false))
        return true;
    if (store.LastError() != ERROR_FILE_NOT_FOUND)
        Fail(key, SystemMessage(store.LastError()));
    return false;
}

// ---- Reading .reg files ------------------------------------------------------------------------

/// Refuses lines that the parser would take in a harmless but different meaning.
class LineCheck : public GMRegFileObserver
{
public:
    /// \p text without its header, which stood in the first line.
    explicit LineCheck(GMString const & text) : m_position(text.c_str()) {}

    void OnKeyFound(wchar_t const * begin, wchar_t const * end) override
    {
        GMString const path(begin, end);
        bool const removed = GMStringUtils::BeginWith(path, L"-");
        GMString const rootName =
            path.substr(removed ? 1 : 0, path.find(L'\\') - (removed ? 1 : 0));
        GMRegKey key;
        HKEY root = nullptr;
        if (!GMRegKey::StringToHKEY(rootName, root) || !key.ParseRegFullPath(path))
            Refuse(begin, L"unknown root in [" + path + L"]");
        if (removed && key.GetSubPath().empty())
            Refuse(begin, L"a whole root can't be removed: [" + path + L"]");
    }

    void OnValueFound(wchar_t const * nameBegin, wchar_t const *, wchar_t const * dataBegin,
                      wchar_t const * dataEnd) override
    {
        GMString const data(dataBegin, dataEnd);
        GMRegValue value;
        if (!value.ParseValue(data))
            Refuse(nameBegin, L"data of no known form: " + data.substr(0, 40));
        // The system writes the type in `hex(type)` as a hexadecimal number, which the parser
        // doesn't expect.
        if (GMStringUtils::BeginWith(data, L"hex(") &&
            GMStringUtils::ConvertHexToUInt32(data.substr(4)) != value.GetType())
        {
            Refuse(nameBegin, L"data of a type that can't be installed: " + data.substr(0, 40));
        }
    }

private:
    [[noreturn]] void Refuse(wchar_t const * where, GMString const & what)
    {
        for (; m_position != where; ++m_position)
            m_line += *m_position == L'\n' ? 1u : 0u;
        throw Failure{GMStringUtils::FormatResult(L"line %u: ", m_line) + what};
    }

    wchar_t const * m_position;
    unsigned int m_line = 1;
};

/// Gives a value the meaning that the system's own tools give to its text: the parser keeps the
/// terminator of `hex(2)` in the text, and the bytes of `hex(1)`, `hex(4)` and the like as bytes.
void ReadAsTheSystemDoes(GMRegValue & value)
{
    GMString text = value.GetExpandString(false);
    if (value.GetType() == REG_EXPAND_SZ && GMStringUtils::EndWith(text, GMString(1, L'\0')))
    {
        text.pop_back();
        value.SetString(text, true);
    }
    else if (Buffer const bytes = value.GetBinary(); bytes.m_length != 0)
        value.ParseValue(bytes.m_data, bytes.m_length);
}

Keys ReadRegFile(GMString const & path)
{
    Buffer buffer;
    GMString text;
    if (!GMRegParser::ReadFile(path, buffer))
        throw Failure{path + L": can't be read, or is empty"};
    if (GMRegParser::GetRegVersion(buffer, text) == 0)
        throw Failure{path + L": isn't a registry file"};
    try
    {
        LineCheck check(text);
        GMRegFileParser(&check).Parse(text.c_str());
        GMRegParser parser;
        parser.Load(buffer);
        for (GMRegKey & key : parser.GetRegList())
        {
            for (GMRegValue & value : key.GetValues())
                ReadAsTheSystemDoes(value);
        }
        return parser.GetRegList();
    }
    catch (Failure const & failure)
    {
        throw Failure{path + L": " + failure.text};
    }
}

// ---- Comparing with the registry ---------------------------------------------------------------

std::vector<unsigned char> BytesOf(GMRegValue const & value)
{
    Buffer buffer;
    value.ValueSerial(buffer);
    return {buffer.m_data, buffer.m_data + buffer.m_length};
}

/// Whether the open key holds just what \p value says.
bool IsStored(GMRegFile const & store, GMRegValue const & value)
{
    DWORD type = 0;
    DWORD size = 0;
    LSTATUS code =
        RegQueryValueExW(store.GetKey(), value.GetName().c_str(), nullptr, &type, nullptr, &size);
    if (value.GetRemoveFlag() || code != ERROR_SUCCESS)
        return value.GetRemoveFlag() && code == ERROR_FILE_NOT_FOUND;
    std::vector<unsigned char> bytes(size);
    code = RegQueryValueExW(store.GetKey(), value.GetName().c_str(), nullptr, &type, bytes.data(),
                            &size);
    return code == ERROR_SUCCESS && type == value.GetType() && bytes == BytesOf(value);
}

/// Fails if the registry doesn't hold what \p key says.
void CheckStored(GMRegKey const & key, View const & view, wchar_t const * complaint)
{
    GMRegFile store;
    bool const found = Open(store, key, view);
    if (found == key.GetRemoveFlag())
        Fail(key, found ? L"is still there" : L"is missing");
    if (!found)
        return;

    // Of values with the same name the last one counts.
    std::map<GMString, GMRegValue const *, ByName> last;
    for (GMRegValue const & value : key.GetValues())
        last[value.GetName()] = &value;
    for (auto const & [name, value] : last)
    {
        if (!IsStored(store, *value))
            Fail(key, *value, complaint);
    }
    for (GMRegKey const & subKey : key.GetSubKeys())
        CheckStored(subKey, view, complaint);
}

// ---- Undo records ------------------------------------------------------------------------------

/// What one view held before an install: replayed from its first record to its last.
class History
{
public:
    explicit History(View const & of) : view(of) {}

    /// Records what is about to be changed by \p key, in front of the records made before.
    void Add(GMRegKey const & key)
    {
        GMRegFile store;
        if (Open(store, key, view))
            AddFound(store, key);
        else if (!key.GetRemoveFlag()) // to bring back a missing key would be to create it
            AddMissing(key);
    }

    View view;
    Keys records;

private:
    /// GMRegInstall::GenerateAntiReg makes records, too. It looks for the key in the default view
    /// and for names in their exact case, though, which isn't enough to be exact in every case.
    void AddFound(GMRegFile & store, GMRegKey const & key)
    {
        GMRegKey record(key.GetRoot(), key.GetSubPath());
        if (key.GetRemoveFlag())
        {
            record.SetSubPath(StoredPath(store, key));
            GMRegInstall::UpdateFromSystem(record, false, view.type);
        }
        else
            AddStoredValues(store, key, record);
        CheckExact(record);
        records.push_front(std::move(record));
    }

    /// The path as the registry spells it, so that the key comes back under its own name.
    static GMString StoredPath(GMRegFile const & store, GMRegKey const & key)
    {
        GMString const path = key.GetSubPath();
        GMString const whole = GMRegFile::GetKeyPathFromHKEY(store.GetKey());
        GMString const stored = GMStringUtils::Right(whole, static_cast<int>(path.size()));
        bool const same = !ByName()(stored, path) && !ByName()(path, stored);
        return same ? stored : path; // they differ below a key that is another name of its target
    }

    /// What the registry holds for the names of \p key, and under its own spelling of them.
    static void AddStoredValues(GMRegFile & store, GMRegKey const & key, GMRegKey & record)
    {
        std::vector<GMString> names;
        if (!store.EnumValueNames(names))
            Fail(key, SystemMessage(store.LastError()));
        std::set<GMString, ByName> const stored(names.begin(), names.end());
        for (GMRegValue const & value : key.GetValues())
        {
            auto const name = stored.find(value.GetName());
            GMRegValue old(REG_SZ, name != stored.end() ? *name : value.GetName());
            if (name != stored.end())
                store.GetValue(*name, &old); // CheckExact finds what can't be read
            else
                old.SetRemoveFlag(true);
            record.GetValues().push_back(std::move(old));
        }
    }

    /// The install makes the keys above a new key as well, so they have to go, too, after it.
    void AddMissing(GMRegKey const & key)
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

    /// Fails if a record would not bring back the very bytes that the registry holds.
    void CheckExact(GMRegKey const & record) const
    {
        CheckStored(record, view, L"is stored in a form that can't be recorded");
        GMRegKey readBack;
        Buffer const serial = record.Serial();
        if (!readBack.Deserial(serial.m_data, serial.m_length))
            Fail(record, L"holds a value of a type that can't be recorded");
    }

    std::set<GMString, ByName> m_missing;
};
using Histories = std::vector<History>;

// ---- The undo file -----------------------------------------------------------------------------

// The file begins with its mark. Then comes, for each view, a header and an undo buffer of the
// library of the size that it tells.
constexpr char undoMark[8] = {'R', 'G', 'U', 'N', 'D', 'O', '1', '\n'};
struct PartHeader
{
    unsigned int view; // index into the table of views
    unsigned int size; // bytes
};

void Write(GMFile & file, void const * data, unsigned int size)
{
    unsigned int written = 0;
    if (!file.Write(data, size, written))
        throw Failure{L"the undo file can't be written: " + SystemMessage(GetLastError())};
}

void SaveUndoFile(GMString const & path, Histories const & histories)
{
    GMString const temporary = path + L".new";
    GMFile file;
    if (!file.Create(temporary, GENERIC_WRITE, 0, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL))
        throw Failure{temporary + L": " + SystemMessage(GetLastError())};
    Write(file, undoMark, sizeof(undoMark));
    for (History const & history : histories)
    {
        Buffer buffer;
        GMRegInstall::SerialRegToBuffer(history.records, buffer);
        PartHeader const header = {history.view.type == GMRegInstall64BitView ? 1u : 0u,
                                   buffer.m_length};
        Write(file, &header, sizeof(header));
        Write(file, buffer.m_data, buffer.m_length);
    }
    FlushFileBuffers(file.GetHandle());
    if (!file.Close() || !GMFilePathUtils::Rename(temporary, path))
        throw Failure{path + L": can't be made"};
}

Histories LoadUndoFile(GMString const & path)
{
    Buffer file;
    if (!GMRegParser::ReadFile(path, file))
        throw Failure{path + L": can't be read, or is empty"};

    unsigned int position = sizeof(undoMark);
    bool sound = file.m_length > position && std::memcmp(file.m_data, undoMark, position) == 0;
    Histories histories;
    while (sound && position != file.m_length)
    {
        PartHeader header = {};
        sound = file.m_length - position >= sizeof(header);
        if (!sound)
            break;
        std::memcpy(&header, file.m_data + position, sizeof(header));
        position += static_cast<unsigned int>(sizeof(header));
        sound = header.view < std::size(views) && header.size <= file.m_length - position;
        if (!sound)
            break;
        Buffer part(header.size);
        std::memcpy(part.m_data, file.m_data + position, header.size);
        part.SetLength(header.size);
        position += header.size;
        histories.emplace_back(views[header.view]);
        sound = GMRegInstall::DeserialRegFromBuffer(part, histories.back().records);
    }
    if (!sound)
        throw Failure{path + L": isn't an undo file, or is damaged"};
    return histories;
}

// ---- Changing the registry ---------------------------------------------------------------------

void Report(Failure const & failure) { Print(stderr, failure.text); }

/// Runs \p step and turns what the library throws into a Failure.
template <class Step>
void InWords(Step step)
{
    try
    {
        step();
    }
    catch (GMRegException const & error)
    {
        throw Failure{error.m_keyPath + L": " +
                      (error.m_writing ? L"can't be written: " : L"can't be read: ") +
                      SystemMessage(error.m_lastError)};
    }
}

void Apply(GMRegKey const & key, View const & view)
{
    if (key.GetRemoveFlag())
    {
        LSTATUS const code = GMRegFile::DeleteKeyEx(key.GetRoot(), key.GetSubPath(), view.access);
        if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND)
            Fail(key, L"can't be removed: " + SystemMessage(static_cast<unsigned long>(code)));
    }
    else
        GMRegInstall::Install(key, true, false, view.type);
    CheckStored(key, view, L"could not be written");
}

/// Takes one change back. A key that was new goes only if nobody else has put a key below it.
void TakeBack(GMRegKey const & record, View const & view)
{
    if (!record.GetRemoveFlag())
        return Apply(record, view);
    LSTATUS const code =
        RegDeleteKeyExW(record.GetRoot(), record.GetSubPath().c_str(), view.access, 0);
    if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND)
        Fail(record, L"can't be removed: " + SystemMessage(static_cast<unsigned long>(code)));
}

/// Takes back all that it can. \return true if nothing failed
bool Replay(Histories const & histories)
{
    bool whole = true;
    for (auto history = histories.rbegin(); history != histories.rend(); ++history)
    {
        for (GMRegKey const & record : history->records)
        {
            try
            {
                InWords([&] { TakeBack(record, history->view); });
            }
            catch (Failure const & failure)
            {
                Report(failure);
                whole = false;
            }
        }
    }
    return whole;
}

// ---- Commands ----------------------------------------------------------------------------------

struct Options
{
    std::vector<GMString> files;
    GMString undo;
    bool defaultView = true;
    bool view64 = false;
    bool ignoreErrors = false;
};

int Show(Options const & options)
{
    for (GMRegKey const & key : ReadRegFile(options.files[0]))
    {
        Print(stdout, (key.GetRemoveFlag() ? L"remove " : L"") + key.GetRegFullPath(false));
        for (GMRegValue const & value : key.GetValues())
        {
            GMString const name = value.GetName();
            GMString text;
            if (!value.SaveValueToString(text))
                text = GMStringUtils::ToString(value.GetDoubleWord());
            Print(stdout, L"    " + (name.empty() ? L"(default)" : name) +
                              (value.GetRemoveFlag() ? L": remove" : L" = " + text));
        }
    }
    return 0;
}

int Install(Options const & options)
{
    if (GMFilePathUtils::IsExists(options.undo))
        throw Failure{options.undo + L": is there already; undo it first, or choose another name"};
    Keys const keys = ReadRegFile(options.files[0]);
    Histories histories;
    if (options.defaultView)
        histories.emplace_back(views[0]);
    if (options.view64)
        histories.emplace_back(views[1]);

    unsigned int failures = 0;
    auto const orPass = [&](auto step) // true if the step was done
    {
        try
        {
            InWords(step);
            return true;
        }
        catch (Failure const & failure)
        {
            if (!options.ignoreErrors)
                throw;
            Report(failure);
            ++failures;
            return false;
        }
    };

    std::vector<GMRegKey const *> recorded;
    for (GMRegKey const & key : keys)
    {
        bool whole = true;
        for (History & history : histories)
            whole = whole && orPass([&] { history.Add(key); });
        if (whole)
            recorded.push_back(&key);
    }
    SaveUndoFile(options.undo, histories);

    try
    {
        for (History const & history : histories)
        {
            for (GMRegKey const * key : recorded)
                orPass([&] { Apply(*key, history.view); });
        }
    }
    catch (Failure const & failure)
    {
        Report(failure);
        if (!Replay(histories))
            throw Failure{L"not everything could be taken back; the records are in " +
                          options.undo};
        GMFilePathUtils::RemoveFile(options.undo);
        throw Failure{L"nothing was installed"};
    }
    Print(stdout,
          GMStringUtils::FormatResult(
              L"%u of %u keys installed; to take them back: reginstall undo ",
              static_cast<unsigned int>(recorded.size()), static_cast<unsigned int>(keys.size())) +
              options.undo);
    return failures == 0 ? 0 : 1;
}

int Undo(Options const & options)
{
    if (!Replay(LoadUndoFile(options.files[0])))
        throw Failure{L"not everything could be taken back"};
    Print(stdout, L"everything is as it was before the install");
    return 0;
}

int Merge(Options const & options)
{
    ReadRegFile(options.files[0]);
    ReadRegFile(options.files[1]);
    Buffer first;
    Buffer second;
    GMFile file;
    unsigned int written = 0;
    if (!GMRegParser::ReadFile(options.files[0], first) ||
        !GMRegParser::ReadFile(options.files[1], second))
    {
        throw Failure{L"a file can't be read any more"};
    }
    GMRegInstall::MergeRegContentBuffer(second, first); // keys of the second file come last and win
    if (!file.Create(options.files[2], GENERIC_WRITE, 0, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL) ||
        !file.Write(first.m_data, first.m_length, written))
    {
        throw Failure{options.files[2] + L": " + SystemMessage(GetLastError())};
    }
    return 0;
}

struct Command
{
    wchar_t const * name;
    std::size_t files;
    bool installs;
    int (*run)(Options const &);
};
constexpr Command commands[] = {
    {L"show", 1, false, &Show},
    {L"install", 1, true, &Install},
    {L"undo", 1, false, &Undo},
    {L"merge", 3, false, &Merge},
};

/// False for arguments that don't fit \p command.
bool ReadOptions(Command const & command, int argc, wchar_t ** argv, Options & options)
{
    for (int i = 2; i < argc; ++i)
    {
        GMString const argument = argv[i];
        if (!GMStringUtils::BeginWith(argument, L"--"))
            options.files.push_back(argument);
        else if (argument == L"--ignore-errors" && command.installs)
            options.ignoreErrors = true;
        else if (argument == L"--undo" && command.installs && i + 1 < argc)
            options.undo = argv[++i];
        else if (argument == L"--view" && command.installs && i + 1 < argc)
        {
            GMString const view = argv[++i];
            options.defaultView = view != L"64";
            options.view64 = view != L"default";
            if (view != L"default" && view != L"64" && view != L"both")
                return false;
        }
        else
            return false;
    }
    return options.files.size() == command.files && options.undo.empty() != command.installs;
}

} // namespace

int wmain(int argc, wchar_t ** argv)
{
    for (Command const & command : commands)
    {
        Options options;
        if (argc < 2 || argv[1] != GMString(command.name))
            continue;
        if (!ReadOptions(command, argc, argv, options))
            break;
        try
        {
            return command.run(options);
        }
        catch (Failure const & failure)
        {
            Report(failure);
        }
        catch (std::exception const & error) // some of the library's texts are Chinese, in GBK
        {
            Print(stderr, GMStringConvert::CharToGMString(error.what(), 936));
        }
        return 1;
    }
    std::fputs(usage, stderr);
    return 2;
}
