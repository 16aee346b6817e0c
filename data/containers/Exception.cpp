#include "Veltrix/Data/Exception.h"

#include <utility>

#include "data/containers/Checks.h"

namespace Veltrix {

Exception::Exception(std::string message, int code)
    : message_(std::make_shared<const std::string>(std::move(message))), code_(code) {}

Exception::~Exception() = default;

const char* Exception::what() const noexcept { return message_->c_str(); }

NumElementsMismatch::NumElementsMismatch()
    : Exception("Number of elements does not match.",
                static_cast<int>(ErrorCode::numElementsMismatch)) {}

NumElementsMismatch::~NumElementsMismatch() = default;

TooFewNumRows::TooFewNumRows()
    : Exception("Too few rows.", static_cast<int>(ErrorCode::tooFewNumRows)) {}

TooFewNumRows::~TooFewNumRows() = default;

}  // namespace Veltrix
