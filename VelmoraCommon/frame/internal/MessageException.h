#pragma once

#include <exception>

namespace Velmora
{

/// A `std::exception` with a text, for callers that catch just that. Only some standard libraries
/// let the base class carry one.
class MessageException : public std::exception
{
public:
    /// \p message must be a literal: it isn't copied.
    explicit MessageException(char const * message) noexcept : m_message(message) {}
    char const * what() const noexcept override { return m_message; }

private:
    char const * m_message;
};

} // namespace Velmora
