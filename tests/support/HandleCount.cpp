#include "tests/support/HandleCount.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "VelmoraCommon/frame/internal/SystemFunction.h"

namespace Velmora::Testing
{

namespace
{

// SYSTEM_HANDLE_INFORMATION_EX, class 64 of NtQuerySystemInformation; no header declares it.
struct HandleEntry
{
    void * object;
    ULONG_PTR processId;
    ULONG_PTR handle;
    ULONG access;
    USHORT backTraceIndex;
    USHORT kind;
    ULONG attributes;
    ULONG reserved;
};
struct HandleTable
{
    ULONG_PTR count;
    ULONG_PTR reserved;
    HandleEntry entries[1];
};
constexpr ULONG extendedHandleInformation = 64;
constexpr LONG lengthMismatch = static_cast<LONG>(0xC0000004);

constexpr ULONG objectTypeInformation = 2;

using QueryObject = LONG WINAPI(HANDLE object, ULONG kind, void * buffer, ULONG size,
                                ULONG * needed);
using QuerySystemInformation = LONG WINAPI(ULONG kind, void * buffer, ULONG size, ULONG * needed);

// The answer of class 2 of NtQueryObject begins with the name, a UNICODE_STRING.
struct TypeName
{
    USHORT length; // bytes
    USHORT maximum;
    wchar_t const * text;
};

std::string KindName(ULONG_PTR handle)
{
    SystemFunction<QueryObject> const query(L"ntdll.dll", "NtQueryObject");
    ULONG_PTR buffer[128] = {};
    if (query(reinterpret_cast<HANDLE>(handle), objectTypeInformation, buffer,
              static_cast<ULONG>(sizeof(buffer)), nullptr) != 0)
    {
        return "?";
    }
    auto const * name = reinterpret_cast<TypeName const *>(buffer);
    std::string text;
    for (USHORT i = 0; i < name->length / sizeof(wchar_t); ++i)
        text += static_cast<char>(name->text[i]);
    return text;
}

} // namespace

std::map<std::string, unsigned int> HandlesByKind()
{
    SystemFunction<QuerySystemInformation> const query(L"ntdll.dll", "NtQuerySystemInformation");
    std::vector<ULONG_PTR> buffer(8192);
    LONG status = lengthMismatch;
    while (status == lengthMismatch)
    {
        buffer.resize(buffer.size() * 2);
        status = query(extendedHandleInformation, buffer.data(),
                       static_cast<ULONG>(buffer.size() * sizeof(ULONG_PTR)), nullptr);
    }
    if (status != 0)
        throw std::runtime_error("HandlesByKind: the system doesn't tell");

    auto const * table = reinterpret_cast<HandleTable const *>(buffer.data());
    std::map<USHORT, std::string> names;
    std::map<std::string, unsigned int> counts;
    for (ULONG_PTR i = 0; i < table->count; ++i)
    {
        HandleEntry const & entry = table->entries[i];
        if (entry.processId != GetCurrentProcessId())
            continue;
        std::string & name = names[entry.kind];
        if (name.empty())
            name = KindName(entry.handle);
        ++counts[name];
    }
    return counts;
}

unsigned int HandleCount()
{
    unsigned int sum = 0;
    for (auto const & [kind, count] : HandlesByKind())
        sum += count;
    return sum;
}

unsigned int GdiObjectCount()
{
    if (DWORD const count = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS))
        return count;
    // Wine always answers 0, but keeps the table where Windows has its own.
    struct Entry
    {
        void * object;
        ULONG owner;
        USHORT unique;
        UCHAR type; // 0 for a free entry
        UCHAR flags;
        void * user;
    };
    constexpr unsigned int tableSize = 0x4000;
    constexpr std::size_t tableOffset = sizeof(void *) == 8 ? 0xF8 : 0x94; // in the PEB
    SystemFunction<ULONG_PTR WINAPI()> const environment(L"ntdll.dll", "RtlGetCurrentPeb");
    auto const * const table =
        *reinterpret_cast<Entry const * const *>(environment() + tableOffset);
    if (table == nullptr) // it lies out of the sight of a 32-bit process
        return 0;
    return static_cast<unsigned int>(std::count_if(
        table, table + tableSize, [](Entry const & entry) { return entry.type != 0; }));
}

} // namespace Velmora::Testing
