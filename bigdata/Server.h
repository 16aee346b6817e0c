#pragma once

#include <string>
#include <vector>

#include "Veltrix/BigData/Settings.h"
#include "Veltrix/BigData/Submission.h"
#include "bigdata/Http.h"
#include "support/Json.h"

namespace BigData {

/// The job server of some settings: exchanges with it, and what its replies mean. Keys that were
/// sent are blotted out of every message that quotes a reply.
///
/// Failures leave as the exceptions of `Guard.h` or as the client's own.
class Server {
  public:
    using Query = std::vector<std::pair<std::string, std::string>>;

    explicit Server(const SparkMasterSettings& settings, const AWSCredentials& keys = {});

    Http::Reply get(const std::string& path) const;
    Http::Reply post(const std::string& path, const Query& query, const std::string& body) const;

    /// The JSON of a reply, which must be a success and JSON by its content type. Its text is gone
    /// afterwards.
    Veltrix::Support::JsonDocument json(Http::Reply&& received) const;
    /// Throws `BDHttpError` with the beginning of the reply.
    [[noreturn]] void fail(const Http::Reply& reply) const;

    /// Makes sure of the configured Spark context.
    void ensureContext() const;

    /// Submits a job after making sure of the context.
    Http::Reply submit(const wchar_t* classPath, const std::string& body, bool isSync) const;
    JobSubmissionResult submitAsync(const wchar_t* classPath, const std::string& body) const;
    /// What the server holds of a job: its results, or its state while there are none. Throws
    /// `BDResultsNotAvailable` and `BDJobNotCompleted`.
    Veltrix::Support::JsonDocument results(const WString& jobID) const;

  private:
    Http::Request request(Http::Method method, const std::string& path) const;
    /// Text of the server's for a message.
    std::string quoted(std::string text) const;

    SparkMasterSettings settings_;
    std::vector<std::string> secrets_;
};

/// The result in a reply. What the server says of a job that failed becomes a `JsonError`.
Veltrix::Support::JsonView resultOf(const Veltrix::Support::JsonView& reply);

/// "/jobs/ID". Throws `Http::AddressError` for an identifier that would lead elsewhere.
std::string jobPath(const WString& jobID);

/// Whether the reply is a success by its status code.
bool isSuccess(const Http::Reply& reply);

}  // namespace BigData
