#pragma once

#include <string_view>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Export.h"

/// @file
/// Failures of the cluster client, codes 530 to 538. The messages are HTML fragments for the user;
/// where one ends in details, these are UTF-8 text of the transport, the parser or the server and
/// never hold what was sent.

namespace BigData {

/// 530: no proper reply. The host was not found or refused, the time ran out, the transport
/// failed, or the reply has a status outside 2xx, is no JSON by its content type or exceeds the
/// limit of its size. For a reply the details are its first 500 characters.
class VELTRIX_BIGDATA_API BDHttpError : public Veltrix::Exception {
  public:
    explicit BDHttpError(std::string_view details);
    BDHttpError(const BDHttpError&) noexcept = default;
    BDHttpError& operator=(const BDHttpError&) noexcept = default;
    ~BDHttpError() override;
};

/// 531: the one running Spark context is not the configured one.
class VELTRIX_BIGDATA_API BDIncorrectSparkApplication : public Veltrix::Exception {
  public:
    explicit BDIncorrectSparkApplication(std::string_view details);
    BDIncorrectSparkApplication(const BDIncorrectSparkApplication&) noexcept = default;
    BDIncorrectSparkApplication& operator=(const BDIncorrectSparkApplication&) noexcept = default;
    ~BDIncorrectSparkApplication() override;
};

/// 532: the reply for a sampling or summarisation job is not that of a finished job.
class VELTRIX_BIGDATA_API BDJobNotCompleted : public Veltrix::Exception {
  public:
    BDJobNotCompleted();
    BDJobNotCompleted(const BDJobNotCompleted&) noexcept = default;
    BDJobNotCompleted& operator=(const BDJobNotCompleted&) noexcept = default;
    ~BDJobNotCompleted() override;
};

/// 533: more than one Spark context runs on the server.
class VELTRIX_BIGDATA_API BDMultipleSparkContexts : public Veltrix::Exception {
  public:
    explicit BDMultipleSparkContexts(std::string_view details);
    BDMultipleSparkContexts(const BDMultipleSparkContexts&) noexcept = default;
    BDMultipleSparkContexts& operator=(const BDMultipleSparkContexts&) noexcept = default;
    ~BDMultipleSparkContexts() override;
};

/// 534: a reply is not the JSON that is expected: cut, a key missing, a value of another kind or
/// beyond 64 bits.
class VELTRIX_BIGDATA_API BDParsingError : public Veltrix::Exception {
  public:
    explicit BDParsingError(std::string_view details);
    BDParsingError(const BDParsingError&) noexcept = default;
    BDParsingError& operator=(const BDParsingError&) noexcept = default;
    ~BDParsingError() override;
};

/// 535: the server no longer holds the results of the job.
class VELTRIX_BIGDATA_API BDResultsNotAvailable : public Veltrix::Exception {
  public:
    BDResultsNotAvailable();
    BDResultsNotAvailable(const BDResultsNotAvailable&) noexcept = default;
    BDResultsNotAvailable& operator=(const BDResultsNotAvailable&) noexcept = default;
    ~BDResultsNotAvailable() override;
};

/// 536: a grouping variable has too many distinct values.
class VELTRIX_BIGDATA_API BDSummarizationTooManyDistinct : public Veltrix::Exception {
  public:
    BDSummarizationTooManyDistinct();
    BDSummarizationTooManyDistinct(const BDSummarizationTooManyDistinct&) noexcept = default;
    BDSummarizationTooManyDistinct& operator=(const BDSummarizationTooManyDistinct&) noexcept =
        default;
    ~BDSummarizationTooManyDistinct() override;
};

/// 537: any other failure, memory that does not suffice among them; the details are empty.
class VELTRIX_BIGDATA_API BDUnexpectedError : public Veltrix::Exception {
  public:
    explicit BDUnexpectedError(std::string_view details = {});
    BDUnexpectedError(const BDUnexpectedError&) noexcept = default;
    BDUnexpectedError& operator=(const BDUnexpectedError&) noexcept = default;
    ~BDUnexpectedError() override;
};

/// 538: host, port, job identifier or context name give no address. Nothing was sent.
class VELTRIX_BIGDATA_API BDUriError : public Veltrix::Exception {
  public:
    explicit BDUriError(std::string_view details);
    BDUriError(const BDUriError&) noexcept = default;
    BDUriError& operator=(const BDUriError&) noexcept = default;
    ~BDUriError() override;
};

}  // namespace BigData
