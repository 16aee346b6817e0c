#pragma once

#include <cstdint>
#include <string>

#include "tools/veltrix/host/Command.h"
#include "tools/veltrix/report/ReportOutput.h"

namespace Veltrix::Engine::TS::ARIMA {
class Data;
}

namespace Veltrix::Tool {

/// Autocorrelations of a column of a CSV file, differenced on demand.
class AcfCommand : public Command {
  public:
    std::string name() const override { return "acf"; }
    std::string description() const override {
        return "Computes autocorrelations and partial autocorrelations of a series";
    }
    void declare(OptionGroup& options) override;
    void run() override;

  private:
    void checkSeason() const;
    std::uint64_t chooseLags(std::uint64_t numProcessed) const;
    Engine::TS::ARIMA::Data process(std::vector<double> series) const;

    FileOption data_{"--data", {}};
    std::string column_;
    std::int64_t lags_ = 0;  ///< 0 = by the length of the series
    std::int64_t difference_ = 0;
    std::int64_t seasonalDifference_ = 0;
    std::int64_t period_ = 0;
    double confidence_ = 0.95;
    ReportOutput output_;
};

}  // namespace Veltrix::Tool
