#include "support/BadCast.h"

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <string>
#include <typeinfo>

namespace Veltrix::Support {

void throwBadCast() { throw boost::bad_lexical_cast(typeid(std::wstring), typeid(double)); }

}  // namespace Veltrix::Support
