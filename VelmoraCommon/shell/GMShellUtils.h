#pragma once

#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

struct _SID;

namespace Velmora
{

/// Processes and rights, the environment, special folders, browsers and what the shell shows.
///
/// Static functions alone; each call stands for itself. Failures are quiet unless a comment says
/// otherwise. Threads may call at the same time, except RunAppliactionLowKey. Lengths of texts count
/// units. Most of the texts by which it finds its way are scrambled in the binary.
class VELMORA_API GMShellUtils
{
public:
    // Processes. Killed ones end with the exit code 0.

    static bool KillProcessById(unsigned int pid);

    /// Kills every process whose program has the file name \p name, in any case. All are tried; those
    /// that mustn't be opened don't count.
    /// \param name without a directory
    /// \return false if the processes can't be listed, or one couldn't be ended; true if there is none
    static bool KillProcessByName(GMString const & name);

    /// The same with the text that the system's snapshot has for the program, a file name as a rule.
    static bool KillProcessByPath(GMString const & path);

    /// Asks a window to close, and kills its process if it doesn't take the message in time.
    /// \param tryClose false to kill at once
    /// \param timeoutMs in milliseconds; \p wParam and \p lParam go along with the `WM_CLOSE`
    /// \return whether nothing is left to kill: also if the window had taken the message, is none, or
    ///     belongs to a process that mustn't be opened
    static bool KillProcessByHwnd(HWND window, bool tryClose, unsigned int timeoutMs, WPARAM wParam,
                                  LPARAM lParam);

    /// `OpenProcess`. The caller owns the handle, null on failure.
    static HANDLE MyOpenProcess(unsigned long access, int inherit, unsigned long pid);

    /// Opens a program or document by the shell, with a window of its own choice or hidden.
    static bool RunAppliaction(GMString const & path, GMString const & parameters, bool show);

    /// `ShellExecuteExW`. Texts may be null.
    /// \param process when not null, gets the handle of the new process, which the caller owns; null on
    ///     failure and if there is none
    /// \param lastError when not null, gets the system's error code of a failed call
    /// \param hwnd null for the thread's active window
    static bool WinShellExecuteEx(wchar_t const * verb, wchar_t const * file,
                                  wchar_t const * parameters, wchar_t const * directory,
                                  HANDLE * process, unsigned long * lastError, unsigned long mask,
                                  HWND hwnd, int show);

    /// Starts a program and leaves \p text for it in memory, where GetApplicationLowKeyInfo takes it
    /// from: unlike a command line it is seen by nobody who lists processes. The memory stays until
    /// this library goes. Call it from one thread.
    /// \param path the program, put in quotes
    /// \param text cut to 1023 units
    /// \param blockName a name for the memory, which both sides know
    static bool RunAppliactionLowKey(GMString const & path, GMString const & text,
                                     GMString const & blockName);

    /// Takes the text out of the memory of \p blockName; empty if there is none, and from the second
    /// time on.
    static GMString GetApplicationLowKeyInfo(GMString const & blockName);

    // Rights.

    /// Turns a privilege of \p token on or off. Standard output tells a failure.
    /// \param privilege one of the `SE_..._NAME`
    /// \return 1, or 0 on failure, as for a privilege that the token doesn't have
    static int SetPrivilege(HANDLE token, wchar_t const * privilege, int enable);

    /// How this process stands to the administrators' rights.
    /// \param elevationType a `TOKEN_ELEVATION_TYPE`
    /// \param isAdmin whether the user is an administrator, also if this process is limited
    /// \return 1, or 0 on failure
    static int GetProcessElevation(unsigned int * elevationType, int * isAdmin);

    /// Whether this thread has an administrator's rights now.
    static bool IsRunAsAdministrator();

    /// Whether user account control is on; true as well where that can't be read.
    static bool IsUACOpend();

    /// Whether \p process has the width of the 64-bit system that this 32-bit process runs on; false in
    /// every other case.
    static bool IsWow64ProcessEx(HANDLE process);

    /// Whether this is a 32-bit process on a 64-bit system.
    static bool IsRunningUnderWow64();

    /// Whether the session at the machine's own screen is locked; false where that can't be asked.
    static bool IsSessionLocked();

    /// Whether this process belongs to a session of a remote desktop, as its environment says.
    static bool IsRemoteDesktop();

    /// What an executable file asks for in its manifest, or in one beside it ("game.exe.manifest").
    /// \param level 1 the caller's rights, 2 the highest that the user can have, 3 an administrator's;
    ///     0 if nothing was found; unchanged if there is no file \p path
    /// \param flag when not null, and neither the file's own manifest nor level 3 has decided: gets
    ///     whether the user set the file to run as administrator. It is left alone if there is no
    ///     setting for it.
    /// \return whether a level was found; false also if manifest or settings can't be read
    static bool FindRequestedExecutionLevel(GMString const & path, unsigned int & level,
                                            bool * flag);

    /// Whether the current user may change a file in every way: one entry of its access list, for the
    /// user or one of the user's local groups, allows all of it, and none denies any. False as well for
    /// a file without a list.
    static bool CheckModifySecurityInfo(GMString const & path);

    // Environment.

    /// \p path with its references to environment variables (`%NAME%`) expanded; \p path itself
    /// when it holds no "%" or the system fails.
    static GMString GetEnvironmentRealPath(GMString const & path);

    /// Tells all top-level windows that the environment changed. Each hung one costs a second.
    static bool RefreshSystemEnvironment();

    /// Gives this process the variable \p name as the registry has it for the machine, references not
    /// expanded; for "PATH" with the user's part in front. An empty \p name takes all of them, up to the
    /// first that fails.
    static bool RefreshProcessEnvironment(GMString name);

    // Folders.

    /// Path of a special folder by its `CSIDL_` number; it isn't made if it is missing.
    /// \return at most 259 units; empty on failure
    static GMString GetSpecialFolderPath(int folder);

    // Of the current user (CU) or of all users (AU); empty on failure.

    static GMString GetCUDesktopDirectory();
    static GMString GetAUDesktopDirectory();
    static GMString GetCUStartProgramsDirectory();
    static GMString GetAUStartProgramsDirectory();
    static GMString GetCUFavoritesDirectory();
    static GMString GetCURecentDirectory();
    static GMString GetCUCookiesDirectory();
    static GMString GetCUAppDataDirectory();
    static GMString GetCULocalAppDataDirectory();
    /// The directory above the local application data.
    static GMString GetCULocalSettingsDirectory();
    static GMString GetCUQuickLaunchDirectory();
    static GMString GetAUQuickLaunchDirectory();

    /// Shows a directory in Explorer, or a file selected in its directory.
    /// \return false for a path that is neither, and for a directory that the shell can't open
    static bool Explorer(GMString const & path);

    /// Selects a file or directory in Explorer. For one that is missing its directory is shown, and
    /// made if that is missing, too.
    /// \return whether \p path exists
    static bool Locate(GMString const & path);

    /// Gives a directory a custom icon by the settings file in it; makes the directory if it is missing.
    /// \param icon a file whose first icon counts
    /// \return true
    static bool CreateIconFolder(GMString const & folder, GMString const & icon);

    // Browsers.

    /// The command line that opens a file type (".txt") or a protocol ("http").
    ///
    /// Since Windows Vista the user's choice alone counts; on older systems the machine's entry does,
    /// with its aliases.
    /// \param executableOnly whether to give its program alone
    /// \return empty if there is none
    static GMString GetShellCommand(GMString const & name, bool executableOnly);

    /// Path of the program that opens web pages; that of GetIEPath if it isn't there.
    static GMString GetSystemDefaultBrowerPath();

    /// Path of the browser that came with Windows; empty if it isn't there.
    static GMString GetIEPath();

    /// These two open \p url in the program that the user has for it. The window has no effect.
    static void OpenUrlByShell(GMString const & url);
    static void OpenUrl(GMString const & url, HWND window);

    /// \param type 0 as OpenUrlByShell, 1 in the browser that came with Windows; others do nothing
    static void OpenUrlType(GMString const & url, int type);

    /// Sets a feature of the browser control for a program of the current user.
    /// \param name file name of the program, or "*"
    /// \return whether it was written: false also if the value was there already
    static bool SetFeatureControl(GMString const & feature, GMString const & name,
                                  unsigned long value);

    /// The same for the version that the browser control emulates (11001, say).
    static void SetIEEmulation(GMString const & name, unsigned int value);

    // Pinning. COM has to be ready on the thread.

    /// Runs the verb that pins a program to the taskbar, by its name in the system's language. Above
    /// Windows 8.1 the verb is run in a window of Explorer, so one has to be open.
    /// \param folder full path of the directory of \p file
    /// \param file name of the program or shortcut
    /// \param second the verb that takes it off again
    /// \return false if the file doesn't offer the verb
    static bool PinToTaskBar(GMString const & folder, GMString const & file, bool second);

    /// Takes a program off the taskbar and the start menu.
    static bool UnPinFromTaskBar(GMString const & path);

    // Icons.

    /// The shell's icon for a path, small (\p size below 32) or large, by the name alone: the file need
    /// not exist. The caller owns it; null on failure.
    static HICON GetIcon(GMString const & path, int size);

    /// The icon of what \p path names, \p size pixels wide and high or more. The caller owns the bitmap;
    /// null on failure. COM has to be ready on the thread.
    static HBITMAP GetIconByImageFactory(GMString const & path, int size);

    // Windows.

    /// Lets \p message from programs with fewer rights reach this process's windows, or no longer.
    /// \return false also before Windows Vista, which lets all pass
    static bool AllowMeesageForNT6(unsigned int message, bool allow);

    /// Hook for the classic file dialogs (`OFN_ENABLEHOOK` with `OFN_EXPLORER`): centres the dialog
    /// on its owner and hides "open as read-only". \return 0, so that the dialog goes on
    static UINT_PTR CALLBACK OFNCenterWindow(HWND dialog, UINT message, WPARAM, LPARAM);

private:
    static bool PinToTaskBarEx(GMString const & folder, GMString const & file, bool second);
    static bool CheckFlag(_SID const * user, std::vector<_SID *> const & groups,
                          _SID const * aceSid, unsigned int aceMask, unsigned int mode,
                          std::vector<unsigned int> const & rights);
    // The caller gives SIDs back with `HeapFree` on the process heap.
    static void GetUserGroupSIDList(GMString const & user, std::vector<_SID *> & sids);
    static bool GetAccountNameSID(GMString const & account, _SID ** sid);
};

} // namespace Velmora
