#include "support/BadCast.h"

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <stdexcept>
#include <typeinfo>

namespace Veltrix::Support {
namespace {

/// The conversion library's own text names types only.
class BadCast : public boost::bad_lexical_cast {
  public:
    explicit BadCast(const std::string& problem)
        : bad_lexical_cast(typeid(std::wstring), typeid(double)), problem_(problem) {}

    const char* what() const noexcept override { return problem_.what(); }

  private:
    std::runtime_error problem_;  // a text whose copies cannot fail
};

}  // namespace

void throwBadCast(const std::string& problem) { throw BadCast(problem); }

}  // namespace Veltrix::Support
