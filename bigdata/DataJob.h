#pragma once

#include <string>

#include "bigdata/Guard.h"
#include "bigdata/Server.h"

namespace BigData {

/// What a kind of job that returns rows does with its parameters and replies: the work of the three
/// public operations of each such kind.
template <class Parameters, class Results>
struct DataJob {
    const wchar_t* classPath;
    /// Throws for parameters that are not to be sent.
    void (*check)(const Parameters&);
    /// The request as JSON.
    std::string (*body)(const Parameters&);
    /// What the reply of a finished job holds.
    Results (*read)(const Veltrix::Support::JsonView&);

    Results runSync(const Parameters& parameters) const {
        return guarded([&] {
            check(parameters);
            const Server server = serverOf(parameters);
            return read(server.json(server.submit(classPath, body(parameters), true)).root());
        });
    }
    JobSubmissionResult runAsync(const Parameters& parameters) const {
        return guarded([&] {
            check(parameters);
            return serverOf(parameters).submitAsync(classPath, body(parameters));
        });
    }
    Results getResults(const Parameters& parameters) const {
        return guarded(
            [&] { return read(serverOf(parameters).results(parameters.getJobID()).root()); });
    }

  private:
    static Server serverOf(const Parameters& parameters) {
        return Server(parameters.getSparkSettings(), parameters.getAwsKeys());
    }
};

}  // namespace BigData
