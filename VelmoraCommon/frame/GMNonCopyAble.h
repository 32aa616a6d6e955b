#pragma once

namespace Velmora
{

/// Base of classes that exist once: no copy, no assignment.
class GMNonCopyAble
{
public:
    GMNonCopyAble() = default;
    ~GMNonCopyAble() = default;
    GMNonCopyAble(GMNonCopyAble const &) = delete;
    GMNonCopyAble & operator=(GMNonCopyAble const &) = delete;
};

} // namespace Velmora
