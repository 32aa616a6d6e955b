#pragma once

namespace Velmora::Testing
{

/// Opens one private member function to a test: an explicit instantiation may name it.
///
///     struct ReadAccess
///     {
///         using Member = bool (Reader::*)(int);
///         friend Member Private(ReadAccess);
///     };
///     template struct PrivateMember<ReadAccess, &Reader::Read>;
///     (reader.*Private(ReadAccess()))(1);
template <class Access, typename Access::Member member>
struct PrivateMember
{
    friend typename Access::Member Private(Access) { return member; }
};

} // namespace Velmora::Testing
