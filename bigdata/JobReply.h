#pragma once

/// @file
/// What the replies of sampling and summarisation jobs share.

#include <string>

#include "Veltrix/BigData/Results.h"
#include "support/Json.h"

namespace BigData {

/// A text of the reply.
WString wideText(const Veltrix::Support::JsonView& text);

/// Throws `BDJobNotCompleted` unless the status of the reply is exactly "OK".
void requireCompleted(const Veltrix::Support::JsonView& reply);

/// Fills in the run statistics, the descriptions of columns and the rows, which are the member
/// `rows` of the result.
void readResults(const Veltrix::Support::JsonView& result, const char* rows, bool hasRowIDs,
                 Results& results);

}  // namespace BigData
