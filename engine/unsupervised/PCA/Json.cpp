#include <cstdint>

#include "Veltrix/Engine/PCA.h"
#include "engine/core/Stored.h"

namespace Veltrix {

using Engine::PCA::Model;

template <>
struct Stored<Model> {
    static void fields(auto& a, auto& model) {
        a("method", model.params_.method)("eigenvalues", model.eigenvalues_);
        a("eigenvectors", model.eigenvectors_);
        const Matrix& vectors = model.eigenvectors_;
        a.check(
            "eigenvectors",
            [&] {
                return vectors.getNumRows() == vectors.getNumCols() &&
                       model.eigenvalues_.size() ==
                           static_cast<std::uint64_t>(vectors.getNumCols()) &&
                       vectors.getMatrixOrder() == MatrixOrderType::columnMajor;
            },
            "expected one of the same length for each eigenvalue, column-major");
        a("frameColumns", model.columns_);
    }
};

namespace Engine::PCA {

namespace {

constexpr const char* kType = "PCA::Model";

}  // namespace

void Model::writeJson(JSON::TextSink& sink) const { writeStoredText(sink, kType, *this); }

void Model::readJson(std::string_view utf8) { *this = readStoredText<Model>(kType, utf8); }

}  // namespace Engine::PCA
}  // namespace Veltrix
