#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

/// All that a detector can find.
struct MachineDescription
{
    /// Pieces, each with its end at ";" or the end of the line:
    ///   [HKLM\key]               (or HKCU, HKCR) and its values, where $ is the Windows directory:
    ///   name=text, name:1f, name!41 0       a text, a number, a text of just these bytes
    ///   +path 1.2.3.4 5.6.7.8 description   a file below the Windows directory, with its versions
    ///                                       if it has any; a directory if it ends in "\"
    ///   @ProgID, {product code}, !export    a class, a product, what libraries export
    ///   -file                               is no library that can be loaded
    ///   *9 0 C|text              what DirectX's tool says; "*i" for numbers of another type, "_" for
    ///                            a blank and "0" for no letter
    std::string content;
    DWORD major = 6; // of Windows
    DWORD minor = 1;
    DWORD build = 7601;
    WORD processor = PROCESSOR_ARCHITECTURE_AMD64;
};

/// Puts a description in the place of this machine, for the library alone, while it lives. At its
/// end it fails the test if modules, objects or uses of COM are left over. One at a time.
class Machine
{
public:
    explicit Machine(MachineDescription given);
    explicit Machine(std::string const & content) : Machine(MachineDescription{content}) {}
    ~Machine();
    Machine(Machine const &) = delete;
    Machine & operator=(Machine const &) = delete;

    std::wstring File(std::wstring const & name) const { return m_folder.File(name); }

    MachineDescription description; // may be changed, but for its content
    std::set<std::string> items;    // those of "@", "{", "!", "-" and "*"; may be changed
    std::vector<std::string> asked; // products
    std::string log;                // folders, redirection, error modes and loads of the installer

private:
    struct Hooks;

    void Add(std::string item, ScopedRegKey & key);

    TemporaryFolder m_folder;
    RegistrySandbox m_localMachine{HKEY_LOCAL_MACHINE};
    RegistrySandbox m_classesRoot{HKEY_CLASSES_ROOT};
    RegistrySandbox m_currentUser{HKEY_CURRENT_USER};
    UINT m_errorMode = GetErrorMode();
    std::wstring m_windir;
    std::unique_ptr<Hooks> m_hooks;
};

/// The folder with this process's libraries, below the Windows directory.
std::string LibraryFolderName();

} // namespace Velmora::Testing
