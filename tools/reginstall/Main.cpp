// reginstall: installs .reg files into the registry in a way that can be taken back.
//
// An install goes through these steps, and nothing in the registry changes before the last one:
//   1. read the file, and refuse what the system's editor would pass over;
//   2. look up what the registry holds of it now, and turn that into undo records;
//   3. write the records to a temporary file and give it its name: from here on `undo` works;
//   4. change the registry key by key, and check each one.
// The program may be killed at any moment. The records say what was, not what was done, so `undo` can
// run after half an install and after half an undo. Once it is done it deletes its file: a second one
// would take back what came later.

#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "tools/common/CommandLine.h"
#include "tools/common/Messages.h"
#include "tools/reginstall/UndoFile.h"

using namespace Velmora;
using namespace Tools;

namespace
{

// ---- Changing the registry ---------------------------------------------------------------------

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

/// Runs \p step and tells a failure. \return whether there was none
template <class Step>
bool OrTell(Step step)
{
    try
    {
        InWords(step);
        return true;
    }
    catch (Failure const & failure)
    {
        Print(stderr, OnOneLine(failure.text), Tone::bad);
        return false;
    }
}

void RequireRemoved(LSTATUS code, GMRegKey const & key)
{
    if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND)
        Fail(key, L"can't be removed: " + SystemMessage(static_cast<unsigned long>(code)));
}

void Apply(GMRegKey const & key, View const & view)
{
    if (key.GetRemoveFlag())
        RequireRemoved(GMRegFile::DeleteKeyEx(key.GetRoot(), key.GetSubPath(), view.access), key);
    else
        GMRegInstall::Install(key, true, false, view.type);
    CheckStored(key, view, L"could not be written");
}

/// Takes one change back. A key that was new goes only if nobody else has put a key below it.
void TakeBack(GMRegKey const & record, View const & view)
{
    if (!record.GetRemoveFlag())
        return Apply(record, view);
    GMString const path = record.GetSubPath();
    RequireRemoved(RegDeleteKeyExW(record.GetRoot(), path.c_str(), view.access, 0), record);
}

/// Takes back all that it can. \return true if nothing failed
bool Replay(Histories const & histories)
{
    bool whole = true;
    for (auto history = histories.rbegin(); history != histories.rend(); ++history)
    {
        for (GMRegKey const & record : history->records)
            whole = OrTell([&] { TakeBack(record, history->view); }) && whole;
    }
    return whole;
}

// ---- Commands ----------------------------------------------------------------------------------

struct Options
{
    GMString file;
    GMString other; // of two to be merged
    GMString output;
    GMString undo;
    std::string view = "default";
    bool ignoreErrors = false;
};

ExitCode Show(Options const & options)
{
    for (GMRegKey const & key : ReadRegFile(options.file))
    {
        Print(stdout, (key.GetRemoveFlag() ? L"remove " : L"") + key.GetRegFullPath(false));
        for (GMRegValue const & value : key.GetValues())
        {
            GMString const name = value.GetName();
            GMString text;
            if (!value.SaveValueToString(text))
                text = GMStringUtils::ToString(value.GetDoubleWord());
            Print(stdout, OnOneLine(L"    " + (name.empty() ? L"(default)" : name) +
                                    (value.GetRemoveFlag() ? L": remove" : L" = " + text)));
        }
    }
    return done;
}

ExitCode Install(Options const & options)
{
    if (GMFilePathUtils::IsExists(options.undo))
        throw Failure{options.undo + L": is there already; undo it first, or choose another name"};
    Keys const keys = ReadRegFile(options.file);
    Histories histories;
    if (options.view != "64")
        histories.emplace_back(views[0]);
    if (options.view != "default")
        histories.emplace_back(views[1]);

    bool whole = true;
    auto const orPass = [&](auto step) // true if the step was done
    {
        if (!options.ignoreErrors)
            return InWords(step), true;
        bool const isDone = OrTell(step);
        whole = whole && isDone;
        return isDone;
    };

    std::vector<GMRegKey const *> recorded;
    for (GMRegKey const & key : keys)
    {
        bool inAllViews = true;
        for (History & history : histories)
            inAllViews = inAllViews && orPass([&] { history.Add(key); });
        if (inAllViews)
            recorded.push_back(&key);
    }
    SaveUndoFile(options.undo, histories);

    bool const isInstalled = OrTell(
        [&]
        {
            for (History const & history : histories)
            {
                for (GMRegKey const * key : recorded)
                    orPass([&] { Apply(*key, history.view); });
            }
        });
    if (!isInstalled)
    {
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
              options.undo,
          Tone::good);
    return whole ? done : notAll;
}

ExitCode Undo(Options const & options)
{
    if (!Replay(LoadUndoFile(options.file)))
    {
        Print(stderr, L"not everything could be taken back; the records stay in " + options.file,
              Tone::bad);
        return notAll;
    }
    Require(GMFilePathUtils::RemoveFile(options.file),
            options.file + L": all is taken back, but the file can't be deleted");
    Print(stdout, L"everything is as it was before the install", Tone::good);
    return done;
}

ExitCode Merge(Options const & options)
{
    Keys keys = ReadRegFile(options.file);
    for (GMRegKey const & key : ReadRegFile(options.other)) // comes last and wins
        keys.push_back(key);
    WriteRegFile(options.output, keys);
    return done;
}

} // namespace

int wmain(int argc, wchar_t ** argv)
{
    Options options;
    CommandLine line("reginstall",
                     "Installs .reg files into the registry in a way that can be taken back.");
    line.require_subcommand(1);
    auto const addCommand = [&](char const * name, char const * description)
    { return line.add_subcommand(name, description); };

    CLI::App * const show = addCommand("show", "Tells what a file says");
    AddText(*show, "FILE.reg", options.file, "")->required();

    CLI::App * const install = addCommand("install", "Installs a file, all of it or nothing");
    AddText(*install, "FILE.reg", options.file, "")->required();
    AddText(*install, "--undo", options.undo, "Where the way back is kept; a new file")->required();
    install->add_option("--view", options.view, "The view of the registry")
        ->check(CLI::IsMember({"default", "64", "both"}))
        ->capture_default_str();
    install->add_flag("--ignore-errors", options.ignoreErrors, "Goes on past keys that fail");

    CLI::App * const undo = addCommand("undo", "Takes an install back, and deletes FILE.undo");
    AddText(*undo, "FILE.undo", options.file, "")->required();

    CLI::App * const merge = addCommand("merge", "Writes one file that says what two say");
    AddText(*merge, "A.reg", options.file, "")->required();
    AddText(*merge, "B.reg", options.other, "Where both say something, this one wins")->required();
    AddText(*merge, "OUT.reg", options.output, "")->required();

    return line.Run(argc, argv,
                    [&]
                    {
                        return *show      ? Show(options)
                               : *install ? Install(options)
                               : *undo    ? Undo(options)
                                          : Merge(options);
                    });
}
