#include "tests/support/ImportHook.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace Velmora::Testing
{

namespace
{

template <class T>
T * At(HMODULE module, ULONG_PTR offset)
{
    return reinterpret_cast<T *>(reinterpret_cast<unsigned char *>(module) + offset);
}

IMAGE_IMPORT_DESCRIPTOR * FirstImport(HMODULE module)
{
    auto const * dos = At<IMAGE_DOS_HEADER>(module, 0);
    auto const * nt = At<IMAGE_NT_HEADERS>(module, static_cast<ULONG_PTR>(dos->e_lfanew));
    auto const & directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    return At<IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress);
}

} // namespace

ImportHook::ImportHook(char const * name, wchar_t const * moduleName)
{
    HMODULE const module = GetModuleHandleW(moduleName);
    if (module == nullptr)
        throw std::runtime_error("ImportHook: the module isn't loaded");

    for (auto * import = FirstImport(module); import->Name != 0; ++import)
    {
        if (import->OriginalFirstThunk == 0)
            continue;
        auto const * lookup = At<IMAGE_THUNK_DATA>(module, import->OriginalFirstThunk);
        auto * address = At<IMAGE_THUNK_DATA>(module, import->FirstThunk);
        for (; lookup->u1.AddressOfData != 0; ++lookup, ++address)
        {
            if (IMAGE_SNAP_BY_ORDINAL(lookup->u1.Ordinal))
                continue;
            auto const offset = static_cast<ULONG_PTR>(lookup->u1.AddressOfData);
            auto const * found = At<char const>(module, offset + sizeof(WORD)); // behind the hint
            if (std::strcmp(found, name) != 0)
                continue;
            auto ** const slot = reinterpret_cast<void **>(&address->u1.Function);
            m_slots.push_back({slot, *slot});
        }
    }
    if (m_slots.empty())
        throw std::runtime_error(std::string("ImportHook: not imported: ") + name);
}

void ImportHook::Put(void * replacement)
{
    for (Slot const & slot : m_slots)
        Write(slot.address, replacement);
}

ImportHook::~ImportHook()
{
    for (auto slot = m_slots.rbegin(); slot != m_slots.rend(); ++slot)
        Write(slot->address, slot->original);
}

void ImportHook::Write(void ** address, void * value)
{
    DWORD protection = 0;
    VirtualProtect(address, sizeof(void *), PAGE_READWRITE, &protection);
    *address = value;
    VirtualProtect(address, sizeof(void *), protection, &protection);
}

} // namespace Velmora::Testing
