// What the registry held before an install, to bring it back.
#pragma once

#include <set>
#include <vector>

#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/registry/GMRegInstall.h"
#include "tools/reginstall/RegText.h"

namespace Tools
{

/// One view of the registry, as the library and as the system name it.
struct View
{
    Velmora::GMRegInstallType type;
    REGSAM access;
};
constexpr View views[] = {{Velmora::GMRegInstallDefaultView, 0},
                          {Velmora::GMRegInstall64BitView, KEY_WOW64_64KEY}};

/// Orders names as the registry tells them apart: by their units, and without their case.
struct ByName
{
    bool operator()(Velmora::GMString const & left, Velmora::GMString const & right) const
    {
        return CompareStringOrdinal(left.c_str(), -1, right.c_str(), -1, TRUE) == CSTR_LESS_THAN;
    }
};

[[noreturn]] void Fail(Velmora::GMRegKey const & key, Velmora::GMString const & what);

/// Fails with \p complaint if the registry doesn't hold what \p key says.
void CheckStored(Velmora::GMRegKey const & key, View const & view, wchar_t const * complaint);

/// What one view held before an install: replayed from its first record to its last.
class History
{
public:
    explicit History(View const & of) : view(of) {}

    /// Records what is about to be changed by \p key, in front of the records made before.
    void Add(Velmora::GMRegKey const & key);

    View view;
    Keys records;

private:
    void AddFound(Velmora::GMRegFile & store, Velmora::GMRegKey const & key);
    void AddMissing(Velmora::GMRegKey const & key);

    std::set<Velmora::GMString, ByName> m_missing;
};
using Histories = std::vector<History>;

} // namespace Tools
