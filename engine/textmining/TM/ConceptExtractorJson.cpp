#include <algorithm>
#include <cstdint>

#include "Veltrix/Engine/TM/ConceptExtractor.h"
#include "engine/core/Stored.h"

namespace Veltrix {

using Engine::TM::ConceptExtractor;

template <>
struct Stored<ConceptExtractor::Params> {
    static void fields(auto& a, auto& params) {
        a("cumulativeShare", params.cumulativeShare)("maxConcepts", params.maxConcepts);
        a("allSingularValues", params.allSingularValues);
    }
};

template <>
struct Stored<ConceptExtractor> {
    static void fields(auto& a, auto& model) {
        a("params", model.params_)("singularValues", model.singularValues_);
        const Support::Length length{static_cast<std::int64_t>(model.singularValues_.size())};
        a("shares", model.shares_, length)("runningSums", model.runningSums_, length);
        a.count("numConcepts", model.numConcepts_);
        a("rightSingular", model.rightSingular_)("leftSingular", model.leftSingular_);
        const Matrix& right = model.rightSingular_;
        const Matrix& left = model.leftSingular_;
        a.check(
            "rightSingular", [&] { return fits(model.singularValues_, right); },
            "expected a row for each of the leading singular values, column-major");
        a.check(
            "leftSingular",
            [&] {
                return left.getNumCols() == right.getNumRows() &&
                       left.getMatrixOrder() == MatrixOrderType::columnMajor &&
                       static_cast<std::int64_t>(model.singularValues_.size()) <=
                           std::min(left.getNumRows(), right.getNumCols());
            },
            "expected a column for each row of the right singular vectors, column-major");
    }

  private:
    static bool fits(const Vector& values, const Matrix& right) {
        const auto rows = static_cast<std::uint64_t>(right.getNumRows());
        return rows <= values.size() && (rows > 0) == !values.empty() &&
               right.getMatrixOrder() == MatrixOrderType::columnMajor;
    }
};

namespace Engine::TM {

namespace {

constexpr const char* kType = "TM::ConceptExtractor";

}  // namespace

void ConceptExtractor::writeJson(JSON::TextSink& sink) const {
    writeStoredText(sink, kType, *this);
}

void ConceptExtractor::readJson(std::string_view utf8) {
    *this = readStoredText<ConceptExtractor>(kType, utf8);
}

}  // namespace Engine::TM
}  // namespace Veltrix
