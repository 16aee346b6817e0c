#include <cstdint>

#include "Veltrix/Engine/CVA.h"
#include "engine/core/Stored.h"

namespace Veltrix {

using Engine::CVA::Model;

template <>
struct Stored<Model> {
    static void fields(auto& a, auto& model) {
        a.count("numColumns", model.numColumns_);
        a("coefficients", model.coefficients_);
        const Matrix& coefficients = model.coefficients_;
        a.check(
            "coefficients",
            [&] {
                return (coefficients.empty() || coefficients.getNumRows() == model.numColumns_) &&
                       coefficients.getMatrixOrder() == MatrixOrderType::columnMajor;
            },
            "expected a row for each column, column-major");
        a("eigenvalues", model.eigenvalues_, Support::Length{coefficients.getNumCols()});
        a("frameColumns", model.columns_);
    }
};

namespace Engine::CVA {

namespace {

constexpr const char* kType = "CVA::Model";

}  // namespace

void Model::writeJson(JSON::TextSink& sink) const { writeStoredText(sink, kType, *this); }

void Model::readJson(std::string_view utf8) { *this = readStoredText<Model>(kType, utf8); }

}  // namespace Engine::CVA
}  // namespace Veltrix
