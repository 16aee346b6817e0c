#pragma once

#include <cstdint>

#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace BigData {

using Veltrix::WString;

/// Where the Spark job server is, and which application and context it is to use. Nothing is
/// checked here; an operation that cannot make an address of host and port throws `BDUriError`.
class VELTRIX_BIGDATA_API SparkMasterSettings {
  public:
    SparkMasterSettings() = default;
    SparkMasterSettings(WString host, WString port);

    /// A name or address without scheme; an IPv6 address stands in brackets.
    [[nodiscard]] const WString& getHost() const noexcept { return host_; }
    SparkMasterSettings& setHost(const WString& host);
    /// A whole number from 1 to 65535.
    [[nodiscard]] const WString& getPort() const noexcept { return port_; }
    SparkMasterSettings& setPort(const WString& port);
    [[nodiscard]] const WString& getAppName() const noexcept { return appName_; }
    SparkMasterSettings& setAppName(const WString& appName);
    [[nodiscard]] const WString& getSparkContext() const noexcept { return sparkContext_; }
    SparkMasterSettings& setSparkContext(const WString& sparkContext);

    /// Seconds, above 0, that an exchange may take from connecting to the last byte of the reply.
    [[nodiscard]] double getTimeout() const noexcept { return timeout_; }
    SparkMasterSettings& setTimeout(double seconds);
    /// Bytes that the body of a reply may have; a longer one ends as `BDHttpError`.
    [[nodiscard]] std::uint64_t getMaxReplySize() const noexcept { return maxReplySize_; }
    SparkMasterSettings& setMaxReplySize(std::uint64_t bytes);
    /// Value of the header "Authorization" of every request ("Bearer TOKEN"); empty, as it is
    /// unless set, for none. Printable ASCII, anything else ends as `BDUriError`. It is never part
    /// of a message. Connections are not encrypted: use it on networks that can be trusted.
    [[nodiscard]] const WString& getAuthorization() const noexcept { return authorization_; }
    SparkMasterSettings& setAuthorization(const WString& authorization);

  private:
    WString host_ = L"localhost";
    WString port_ = L"8090";
    WString appName_ = L"samplingApp";
    WString sparkContext_ = L"spark-sql-context";
    WString authorization_;
    double timeout_ = 3600.0;
    std::uint64_t maxReplySize_ = std::uint64_t{1} << 30;
};

/// Keys with which the cluster reads files from cloud storage. They are sent with every data job,
/// kept by nothing else and never part of a message.
class VELTRIX_BIGDATA_API AWSCredentials {
  public:
    AWSCredentials() = default;
    AWSCredentials(WString access, WString secret);

    [[nodiscard]] const WString& getAccess() const noexcept { return access_; }
    AWSCredentials& setAccess(const WString& access);
    [[nodiscard]] const WString& getSecret() const noexcept { return secret_; }
    AWSCredentials& setSecret(const WString& secret);

  private:
    WString access_;
    WString secret_;
};

}  // namespace BigData
