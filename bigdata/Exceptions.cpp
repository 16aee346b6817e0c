#include "Veltrix/BigData/Exceptions.h"

#include <string>

namespace BigData {

namespace {

std::string withDetails(std::string_view message, std::string_view details) {
    return std::string(message) + std::string(details);
}

}  // namespace

BDHttpError::BDHttpError(std::string_view details)
    : Exception(withDetails(
                    "<b>Big Data:</b> Veltrix couldn't get response from a cluster. Please try "
                    "again later or try submitting the job asynchronously. If the error persists, "
                    "please contact technical support.<br><br><b>Details: </b>",
                    details),
                530) {}

BDHttpError::~BDHttpError() = default;

BDIncorrectSparkApplication::BDIncorrectSparkApplication(std::string_view details)
    : Exception(
          withDetails("<b>Big Data:</b> Incorrect Spark application is detected. Please contact "
                      "technical support.<br><br><b>Details: </b>",
                      details),
          531) {}

BDIncorrectSparkApplication::~BDIncorrectSparkApplication() = default;

BDJobNotCompleted::BDJobNotCompleted()
    : Exception(
          "<b>Big Data:</b> Job could not been completed. Please record the steps to "
          "reproduce the problem and contact technical support.",
          532) {}

BDJobNotCompleted::~BDJobNotCompleted() = default;

BDMultipleSparkContexts::BDMultipleSparkContexts(std::string_view details)
    : Exception(
          withDetails("<b>Big Data:</b> Multiple Spark applications are running. Please contact "
                      "technical support.<br><br><b>Details: </b>",
                      details),
          533) {}

BDMultipleSparkContexts::~BDMultipleSparkContexts() = default;

BDParsingError::BDParsingError(std::string_view details)
    : Exception(
          withDetails("<b>Big Data:</b> Veltrix couldn't parse the results of the submitted job. "
                      "Please contact technical support.<br><br><b>Details: </b>",
                      details),
          534) {}

BDParsingError::~BDParsingError() = default;

BDResultsNotAvailable::BDResultsNotAvailable()
    : Exception(
          "<b>Big Data:</b> The results for this job are no longer available. Please "
          "resubmit the job.",
          535) {}

BDResultsNotAvailable::~BDResultsNotAvailable() = default;

BDSummarizationTooManyDistinct::BDSummarizationTooManyDistinct()
    : Exception(
          "<b>Summarizing Big Data : </b> One or more grouping variables has too many "
          "distinct values.",
          536) {}

BDSummarizationTooManyDistinct::~BDSummarizationTooManyDistinct() = default;

BDUnexpectedError::BDUnexpectedError(std::string_view details)
    : Exception(
          withDetails("<b>Big Data:</b> Unknown error. Please record the steps to reproduce the "
                      "problem and contact technical support.<br><br><b>Details: </b>",
                      details),
          537) {}

BDUnexpectedError::~BDUnexpectedError() = default;

BDUriError::BDUriError(std::string_view details)
    : Exception(withDetails(
                    "<b>Big Data:</b> Veltrix couldn't parse/encode/decode the URIs. Please contact"
                    " technical support.<br><br><b>Details: </b> ",
                    details),
                538) {}

BDUriError::~BDUriError() = default;

}  // namespace BigData
