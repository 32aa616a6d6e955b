#pragma once

#include <cstddef>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// A mapping object of the system and one view of it: shared memory, or an open file.
///
/// Owns both and lets go of them in the destructor. A copy shares them without counting, and only
/// one of the two may close them. Use from one thread at a time.
///
/// An object is made for one mapping: Create and Open put a new handle in place of one that is held
/// and don't close that, so call Close in between. Where an operation answers false, the thread's
/// last error tells the reason. Protections and accesses are those of `CreateFileMappingW` and
/// `MapViewOfFile`; sizes and offsets are in bytes, in two halves of 32 bits.
class VELMORA_API GMFileMapping
{
public:
    GMFileMapping();

    /// Leaves the last error as it was.
    virtual ~GMFileMapping();

    /// A mapping of \p file, which stays the caller's; a size of 0 is that of the file.
    bool Create(HANDLE file, GMString const & name, unsigned long protect, unsigned long sizeHigh,
                unsigned long sizeLow);

    /// The same without a name.
    bool Create(HANDLE file, unsigned long protect, unsigned long sizeHigh, unsigned long sizeLow);

    /// Memory that every process finds under \p name. IsExist tells whether it was there before.
    bool Create(GMString const & name, unsigned long protect, unsigned long sizeHigh,
                unsigned long sizeLow);

    /// The same with rights of its own; null gives the system's.
    bool CreateBySecurity(GMString const & name, SECURITY_ATTRIBUTES * attributes,
                          unsigned long protect, unsigned long sizeHigh, unsigned long sizeLow);

    /// Opens the named memory that somebody else made. Child processes don't inherit the handle.
    bool Open(GMString const & name, unsigned long desiredAccess);

    /// Makes a view of \p size bytes, 0 for all that follow the offset. A view held so far goes.
    bool Mapping(unsigned long desiredAccess, unsigned long offsetHigh, unsigned long offsetLow,
                 std::size_t size);

    /// Whether a Create just now found a mapping of that name. It looks at the thread's last error
    /// alone, so it has to be the next call after that Create.
    bool IsExist() const;

    /// Whether there is a mapping.
    bool IsOpened();

    /// Start of the view, null for none; valid until the next Mapping or Close.
    void * GetMapAddress() const;
    operator void *();

    /// Lets go of the view, then of the mapping object.
    virtual void Close();

    /// Fills \p attributes, which then point to \p descriptor, and \p descriptor as the next
    /// operation does.
    static bool BuildEveryOneSecurityAttribute(SECURITY_ATTRIBUTES & attributes,
                                               SECURITY_DESCRIPTOR & descriptor, bool inherit);

    /// Makes \p descriptor one that grants all rights to everyone.
    /// \return On success the access control list belongs to the caller, who gives it back with
    ///     `HeapFree` on the process heap when the descriptor is done with. On failure nothing is
    ///     left to free, and standard output says which call failed.
    static bool BuildEveryOneSecurityDescriptor(SECURITY_DESCRIPTOR & descriptor);

protected:
    HANDLE m_mapHandle;  ///< the mapping object, null for none
    void * m_mapAddress; ///< the view, null for none

private:
    bool CreateMapping(HANDLE file, SECURITY_ATTRIBUTES * attributes, wchar_t const * name,
                       unsigned long protect, unsigned long sizeHigh, unsigned long sizeLow);
    void Unmap();
};

} // namespace Velmora
