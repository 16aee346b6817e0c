#pragma once

#include <string>

#include "tools/veltrix/families/StoredKnn.h"
#include "tools/veltrix/host/Command.h"
#include "tools/veltrix/host/LearnerData.h"
#include "tools/veltrix/host/LearnerOptions.h"

namespace Veltrix::Tool {

/// Classes or numbers of records from the training records nearest to them.
class KnnCommand : public Command {
  public:
    std::string name() const override { return "knn"; }
    std::string description() const override {
        return "Predicts classes or numbers from the nearest records";
    }
    void declare(CLI::App& app) override;
    void run() override;

  private:
    void checkNumber() const;
    void fit(StoredKnn& stored, const LearnerData& data, const Matrix& x) const;
    Vector trainingWeights(const LearnerData& data, std::size_t column) const;
    /// Sets k to the best one and returns the log.
    Table search(StoredKnn& stored, const LearnerData& data, const Matrix& x) const;
    Table summaryTable(const StoredKnn& stored, const LearnerData& data) const;
    Report makeReport(StoredKnn& stored, const LearnerData& data, const Matrix& x) const;

    LearnerOptions options_;
    std::string weights_;
    int k_ = 0;     ///< 0 = not given
    int maxK_ = 0;  ///< 0 = not given
    std::string weighting_ = kEqualWeighting;
    bool ties_ = false;
};

}  // namespace Veltrix::Tool
