#include "VelmoraCommon/registry/GMRegException.h"

namespace Velmora
{

GMRegException::GMRegException(unsigned long lastError, bool writing, GMString const & keyPath,
                               GMString const & detailText, unsigned long detailCode)
    : m_keyPath(keyPath),
      m_detailText(detailText),
      m_detailCode(detailCode),
      m_writing(writing),
      m_lastError(lastError)
{
}

GMRegException::GMRegException(GMRegException const & other) = default;
GMRegException & GMRegException::operator=(GMRegException const & other) = default;
GMRegException::~GMRegException() = default;

char const * GMRegException::what() const noexcept { return "Operate registry failed"; }

} // namespace Velmora
