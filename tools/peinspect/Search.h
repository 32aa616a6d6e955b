#pragma once

#include "VelmoraCommon/frame/GMString.h"

namespace Tools
{

/// Finds libraries as a program would, and loads none of them.
class Search
{
public:
    explicit Search(Velmora::GMString const & program);

    /// Empty if there is none.
    Velmora::GMString Find(Velmora::GMString const & name) const;

    bool IsOfWindows(Velmora::GMString const & path) const;

    /// Whether this Windows runs 32-bit programs at all. If not, its 64-bit libraries stand for the
    /// 32-bit ones that it doesn't have.
    bool Runs32Bit() const { return m_runs32Bit; }

    /// Whether \p name leads anywhere: into other folders, to a server, into a stream. Nobody should
    /// follow it, not even to look.
    static bool IsPath(Velmora::GMString const & name);

    /// Whether \p name is one of the names without a file by which Windows knows its own libraries.
    static bool IsApiSet(Velmora::GMString const & name);

private:
    Velmora::GMString FindSideBySide(Velmora::GMString const & file) const;

    Velmora::GMString m_program;
    Velmora::GMString m_windows;
    Velmora::GMString m_extra; // the directory searched behind that of the program
    bool m_runs32Bit;
};

} // namespace Tools
