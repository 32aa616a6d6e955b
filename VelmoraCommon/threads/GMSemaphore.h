#pragma once

#include "VelmoraCommon/frame/Export.h"

namespace Velmora
{

/// A counting semaphore of the system, without a name.
///
/// Owns the handle. A copy shares it, and the first destructor closes it, so pass the object by
/// reference. Lock and Release may be called from any thread; where they answer false, the thread's
/// last error tells the reason.
class VELMORA_API GMSemaphore
{
public:
    /// Creates nothing yet.
    GMSemaphore();

    /// Closes the semaphore and leaves the last error as it was.
    ~GMSemaphore();

    /// Makes a semaphore in place of the one held so far, which is closed.
    /// \return false if the system refuses; the one held so far then stays
    bool Create(unsigned int initial, unsigned int maximum);

    /// Waits without limit for a count above 0 and takes 1 off. \return false only on failure
    bool Lock();

    /// Adds 1. \return false, with the count unchanged, when that would pass the maximum
    bool Release();

    /// Adds \p count, or nothing if the sum would pass the maximum: then the answer is false.
    bool Release(unsigned int count);

    /// \return always true, also when nothing was open
    bool Close();

    /// The handle, null when closed. It stays owned by this object.
    operator void *() const;

private:
    void * m_handle; // null when closed
};

} // namespace Velmora
