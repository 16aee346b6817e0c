#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tools/veltrix/families/StoredTree.h"
#include "tools/veltrix/host/Command.h"
#include "tools/veltrix/host/LearnerData.h"
#include "tools/veltrix/host/LearnerOptions.h"
#include "tools/veltrix/host/SamplingOptions.h"

namespace Veltrix::Tool {

/// Grows a decision tree on columns of a CSV file and prunes it on the validation part.
class TreeCommand : public Command {
  public:
    std::string name() const override { return "tree"; }
    std::string description() const override {
        return "Grows and prunes a decision tree for classes or numbers";
    }
    void declare(CLI::App& app) override;
    void run() override;

  private:
    static constexpr int kNoLimit = std::numeric_limits<int>::max();

    void checkColumns(const LearnerData& data, std::size_t numPredictors) const;
    Engine::DT::Params params(const LearnerData& data) const;
    void fit(StoredTree& stored, const LearnerData& data, const DataFrame& features) const;
    Table summaryTable(const StoredTree& stored, const LearnerData& data) const;
    Report makeReport(const StoredTree& stored, const LearnerData& data,
                      const DataFrame& features) const;

    LearnerOptions options_;
    std::vector<std::string> categorical_;
    int maxSplits_ = kNoLimit;
    int maxLevels_ = kNoLimit;
    int maxNodes_ = kNoLimit;
    int minRecords_ = 0;       ///< 0 = by the number of training rows
    int columnsPerSplit_ = 0;  ///< 0 = all
    std::uint32_t seed_ = kDefaultSeed;
};

}  // namespace Veltrix::Tool
