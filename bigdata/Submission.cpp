#include "Veltrix/BigData/Submission.h"

#include <cmath>

namespace BigData {

JobSubmissionResult& JobSubmissionResult::setStatus(std::int32_t status) {
    status_ = status;
    return *this;
}

JobSubmissionResult& JobSubmissionResult::setJobID(const WString& jobID) {
    jobID_ = jobID;
    return *this;
}

JobSubmissionResult& JobSubmissionResult::setContextName(const WString& contextName) {
    contextName_ = contextName;
    return *this;
}

Duration Duration::fromSeconds(double seconds) {
    constexpr double kDay = 86400.0;
    constexpr double kLongest = 1e15;  // days and milliseconds stay exact
    if (!(seconds > 0.0)) return {};
    Duration span;
    span.seconds = seconds;
    const double counted = std::fmin(seconds, kLongest);
    span.days = static_cast<std::int64_t>(counted / kDay);
    const double rest = counted - static_cast<double>(span.days) * kDay;
    span.milliseconds = static_cast<std::int64_t>(rest * 1000.0);
    return span;
}

}  // namespace BigData
