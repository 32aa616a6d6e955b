#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// A lock that many readers share or one writer has alone, between the threads of one process.
///
/// Writers go first: once one has asked, no new reader gets in, and it waits only for those inside.
/// A thread that holds the write lock may lock again, for reading and for writing, and undoes that
/// in turn. A thread inside for reading leaves before it asks for writing, or it waits for itself.
/// Each lock is undone on the thread that took it. A copy wouldn't work, so pass it by reference.
///
/// Only the first and the last reader make a call into the system.
class VELMORA_API GMRWLock
{
public:
    GMRWLock();

    /// Waits without limit for the readers inside to leave. Nobody may come in any more.
    ~GMRWLock();

    /// Waits until nobody writes. Many may read at a time.
    void ReadLock();

    /// Ends one reading.
    void ReadUnLock();

    /// Waits until nobody reads or writes.
    void WriteLock();

    /// Ends the writing.
    void WriteUnLock();

private:
    HANDLE m_noReaders; // manual-reset; signalled exactly when no reader is inside
    int m_readers;
    CRITICAL_SECTION m_countSection; // guards m_readers and the event; taken after the gate
    CRITICAL_SECTION m_writeSection; // the gate: a writer's for its whole stay, a reader's to enter
};

} // namespace Velmora
