#include "Veltrix/BigData/Settings.h"

#include <utility>

namespace BigData {

SparkMasterSettings::SparkMasterSettings(WString host, WString port)
    : host_(std::move(host)), port_(std::move(port)) {}

SparkMasterSettings& SparkMasterSettings::setHost(const WString& host) {
    host_ = host;
    return *this;
}

SparkMasterSettings& SparkMasterSettings::setPort(const WString& port) {
    port_ = port;
    return *this;
}

SparkMasterSettings& SparkMasterSettings::setAppName(const WString& appName) {
    appName_ = appName;
    return *this;
}

SparkMasterSettings& SparkMasterSettings::setSparkContext(const WString& sparkContext) {
    sparkContext_ = sparkContext;
    return *this;
}

SparkMasterSettings& SparkMasterSettings::setTimeout(double seconds) {
    timeout_ = seconds;
    return *this;
}

SparkMasterSettings& SparkMasterSettings::setMaxReplySize(std::uint64_t bytes) {
    maxReplySize_ = bytes;
    return *this;
}

SparkMasterSettings& SparkMasterSettings::setAuthorization(const WString& authorization) {
    authorization_ = authorization;
    return *this;
}

AWSCredentials::AWSCredentials(WString access, WString secret)
    : access_(std::move(access)), secret_(std::move(secret)) {}

AWSCredentials& AWSCredentials::setAccess(const WString& access) {
    access_ = access;
    return *this;
}

AWSCredentials& AWSCredentials::setSecret(const WString& secret) {
    secret_ = secret;
    return *this;
}

}  // namespace BigData
