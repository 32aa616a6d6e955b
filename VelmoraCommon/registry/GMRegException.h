#pragma once

#include <exception>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Why an install or an undo couldn't open or read a key.
class VELMORA_API GMRegException : public std::exception
{
public:
    /// Sets the fields of these names.
    explicit GMRegException(unsigned long lastError = 0, bool writing = false,
                            GMString const & keyPath = GMString(),
                            GMString const & detailText = GMString(), unsigned long detailCode = 0);

    /// Copies all fields.
    GMRegException(GMRegException const & other);
    GMRegException & operator=(GMRegException const & other);
    ~GMRegException() override;

    /// The fixed text "Operate registry failed"; the fields tell more.
    char const * what() const noexcept override;

    GMString m_keyPath;         ///< full path of the key concerned, without a remove mark
    GMString m_detailText;      ///< for the caller's use; the library leaves it empty
    unsigned long m_detailCode; ///< for the caller's use; the library leaves it 0
    bool m_writing;             ///< true: the key was to be opened for writing; false: to be read
    unsigned long m_lastError;  ///< error code of the system
};

} // namespace Velmora
