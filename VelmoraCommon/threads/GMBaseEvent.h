#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

struct _SECURITY_ATTRIBUTES;

namespace Velmora
{

/// An event of the system, with or without a name.
///
/// Owns the handle. A copy shares it, and the first destructor closes it, so pass the object by
/// reference. Set, Reset and the waits may be called from any thread. Results are 0 for success or
/// the system's error code; those of the waits come from `WaitForSingleObject` as they are.
class VELMORA_API GMBaseEvent
{
public:
    /// Creates nothing yet.
    GMBaseEvent();

    /// Closes the event and leaves the last error as it was.
    ~GMBaseEvent();

    /// Makes an event in place of the one held so far, or opens the one that has the name already,
    /// as it stands: the thread's last error is ERROR_ALREADY_EXISTS then. On failure event and
    /// name stay as they were.
    /// \param manualReset false for an event that lets one wait through and resets itself
    /// \param name null for none
    /// \param security null for the system's default
    unsigned long Create(bool manualReset, bool initialState, wchar_t const * name,
                         _SECURITY_ATTRIBUTES * security);

    /// Opens the event that somebody made under \p name, in place of the one held so far. On
    /// failure event and name stay as they were.
    /// \param access rights as for `OpenEventW`
    /// \param inherit whether child processes inherit the handle
    unsigned long Open(unsigned long access, bool inherit, wchar_t const * name);

    /// Whether there is an event.
    bool IsCreated();

    /// The name of the last Create or Open that succeeded; an empty text for none. Valid until the
    /// next of them or the destructor.
    wchar_t const * Name();

    /// Lets those through who wait: one, or all until Reset, as the event was made.
    unsigned long Set();

    /// Lets nobody through from now on.
    unsigned long Reset();

    /// Waits without limit. \return WAIT_OBJECT_0, or WAIT_FAILED without an event
    unsigned long Lock();

    /// Waits at most that long. \return as Lock, or WAIT_TIMEOUT when the time ran out
    unsigned long TimeLock(unsigned int milliseconds);

    /// Success also when nothing is open. If the system refuses, the handle is kept.
    unsigned long Close();

    /// The handle, null when closed. It stays owned by this object.
    operator void *() const;

private:
    unsigned long Take(void * handle, wchar_t const * name);

    void * m_handle; // null when closed
    GMString m_name;
};

} // namespace Velmora
