#pragma once

#include <vector>

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora::Testing
{

/// Replaces one imported function of a module, by default of the library under test, for a scope.
///
/// Other modules keep calling the real function. Hooks nest and come off in reverse order. Hooking
/// a function that the module doesn't import throws, so a test can't ask the real system unawares.
/// Not seen: code that the compiler builds in, statically linked functions, calls that other
/// modules make. The replacement is a plain function of the same calling convention; its state goes
/// through statics. Don't use it while other threads run in the module.
class ImportHook
{
public:
    template <class Function>
    ImportHook(char const * name, Function * replacement,
               wchar_t const * module = L"VelmoraCommon.dll")
        : ImportHook(name, module)
    {
        Put(reinterpret_cast<void *>(replacement));
    }

    /// The same; sets \p original before the replacement can be called.
    template <class Function>
    ImportHook(char const * name, Function * replacement, Function *& original,
               wchar_t const * module = L"VelmoraCommon.dll")
        : ImportHook(name, module)
    {
        original = Original<Function>();
        Put(reinterpret_cast<void *>(replacement));
    }
    ~ImportHook();
    ImportHook(ImportHook const &) = delete;
    ImportHook & operator=(ImportHook const &) = delete;

    /// What the import pointed at before.
    template <class Function>
    Function * Original() const
    {
        return reinterpret_cast<Function *>(m_slots.front().original);
    }

private:
    struct Slot
    {
        void ** address;
        void * original;
    };

    ImportHook(char const * name, wchar_t const * module);
    void Put(void * replacement);
    static void Write(void ** address, void * value);

    std::vector<Slot> m_slots; // one function may be imported by way of several modules
};

} // namespace Velmora::Testing
