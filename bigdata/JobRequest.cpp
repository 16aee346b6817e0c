#include "bigdata/JobRequest.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <vector>

#include "Veltrix/BigData/Submission.h"
#include "data/containers/Checks.h"

namespace BigData {

namespace {

/// The local time as the C library's calendar text, "Sat Nov 21 09:05:00 2026" and a line feed: 26
/// characters with the one that ends it. The names of days and months are the English ones in
/// every locale.
std::string calendarText() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
#if defined(_WIN32)
    localtime_s(&local, &now);
#else
    localtime_r(&now, &local);
#endif
    static constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                              "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    constexpr int kFirstYear = 1900;
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%s %s %2d %02d:%02d:%02d %d\n", kDays[local.tm_wday],
                  kMonths[local.tm_mon], local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                  kFirstYear + local.tm_year);
    return text.data();
}

}  // namespace

JobRequest& JobRequest::add(const char* name, const WString& text) {
    writer_.member(name, std::string_view(text.toUtf8()));
    return *this;
}

JobRequest& JobRequest::add(const char* name, const StringVector& texts) {
    writer_.key(name).beginArray();
    for (const WString& text : texts) writer_.value(text.toUtf8());
    writer_.endArray();
    return *this;
}

JobRequest& JobRequest::addUser() { return add("userID", userIdentifier()); }

JobRequest& JobRequest::addKeys(const AWSCredentials& keys) {
    return add("awsAccessKey", keys.getAccess()).add("awsSecretKey", keys.getSecret());
}

JobRequest& JobRequest::addStartTime() {
    return add("startTime", std::string_view(calendarText()));
}

std::string JobRequest::take() {
    writer_.endObject();
    return writer_.take();
}

void checkSelected(const char* operation, const Parameters& parameters) {
    if (!parameters.getSelectedVars().empty()) return;
    Veltrix::Checks::fail(Veltrix::ErrorCode::invalidArgument, operation,
                          "no columns are selected, expected at least one");
}

}  // namespace BigData
