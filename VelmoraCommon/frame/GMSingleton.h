#pragma once

#include <utility>

namespace Velmora
{

/// Holder of the one static object of \p T.
///
/// Adds nothing to \p T; its destructor is virtual when that of \p T is. It derives privately, so
/// only whoever builds the holder hands out the object.
template <class T>
class GMSingleton : private T
{
public:
    /// \p arguments go to the constructor of \p T.
    template <class... Arguments>
    explicit GMSingleton(Arguments &&... arguments) : T(std::forward<Arguments>(arguments)...)
    {
    }

    GMSingleton(GMSingleton const &) = delete;
    GMSingleton & operator=(GMSingleton const &) = delete;

    /// The object held.
    T & Get() noexcept { return *this; }
};

} // namespace Velmora
