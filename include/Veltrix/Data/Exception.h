#pragma once

#include <exception>
#include <memory>
#include <string>

#include "Veltrix/Export.h"

namespace Veltrix {

/// Base of every exception that the libraries throw themselves: a narrow message (UTF-8) and an
/// integer code. Misuse of a container says which operation failed, which argument was wrong, what
/// was expected and what was found.
class VELTRIX_DATA_API Exception : public std::exception {
  public:
    explicit Exception(std::string message, int code = 0);
    /// Copies share the text and cannot fail, as those of an error on its way must not.
    Exception(const Exception&) noexcept = default;
    Exception& operator=(const Exception&) noexcept = default;
    ~Exception() override;

    const char* what() const noexcept override;
    [[nodiscard]] const std::string& getMessage() const noexcept { return *message_; }
    [[nodiscard]] int getCode() const noexcept { return code_; }

  private:
    std::shared_ptr<const std::string> message_;
    int code_ = 0;
};

/// Shapes disagree: a matrix that must be square or conformable is not.
class VELTRIX_DATA_API NumElementsMismatch : public Exception {
  public:
    NumElementsMismatch();
    NumElementsMismatch(const NumElementsMismatch&) noexcept = default;
    NumElementsMismatch& operator=(const NumElementsMismatch&) noexcept = default;
    ~NumElementsMismatch() override;
};

/// A data set has too few records for the requested operation.
class VELTRIX_DATA_API TooFewNumRows : public Exception {
  public:
    TooFewNumRows();
    TooFewNumRows(const TooFewNumRows&) noexcept = default;
    TooFewNumRows& operator=(const TooFewNumRows&) noexcept = default;
    ~TooFewNumRows() override;
};

}  // namespace Veltrix
