#include <algorithm>
#include <cstdint>

#include "Veltrix/Engine/DA.h"
#include "engine/core/Stored.h"

namespace Veltrix {

using Engine::DA::Model;
using Support::Length;

namespace {

constexpr const char* kType = "DA::Model";

bool hasShape(const Matrix& a, int rows, int cols) {
    return a.getNumRows() == rows && a.getNumCols() == cols &&
           a.getMatrixOrder() == MatrixOrderType::columnMajor;
}

}  // namespace

template <>
struct Stored<Model::Fitted> {
    static void fields(auto& a, auto& fitted) {
        a("means", fitted.means);
        const int cols = fitted.means.getNumRows();
        const int numGroups = fitted.means.getNumCols();
        const auto areOf = [&](const auto& list, int rows) {
            return (list.empty() || list.size() == static_cast<std::size_t>(numGroups)) &&
                   std::ranges::all_of(
                       list, [&](const Matrix& each) { return hasShape(each, rows, cols); });
        };
        constexpr const char* kColumns = "expected a row for each column, column-major";
        constexpr const char* kSquare = "expected one for each group, with the means' columns";
        a.check(
            "means", [&] { return hasShape(fitted.means, cols, numGroups); }, kColumns);
        a("coefficients", fitted.coefficients);
        a.check(
            "coefficients", [&] { return hasShape(fitted.coefficients, cols, numGroups); },
            kColumns);
        a("constants", fitted.constants, Length{numGroups});
        a("quadraticTerms", fitted.quadraticTerms);
        a.check(
            "quadraticTerms", [&] { return areOf(fitted.quadraticTerms, cols); }, kSquare);
        a("roots", fitted.roots);
        a.check(
            "roots",
            [&] {
                return areOf(fitted.roots, cols + 1) &&
                       fitted.roots.size() == fitted.quadraticTerms.size();
            },
            kSquare);
        const bool linear = fitted.roots.empty();
        a("centre", fitted.centre, Length{linear ? cols : 0});
        a("directions", fitted.directions);
        a.check(
            "directions",
            [&] {
                return linear ? hasShape(fitted.directions, cols, numGroups)
                              : fitted.directions.empty();
            },
            kColumns);
        a("offsets", fitted.offsets, Length{numGroups});
    }
};

template <>
struct Stored<Model> {
    static void fields(auto& a, auto& model) {
        Engine::storedRoles(a, model);
        a("quadratic", model.quadratic_);
        a("fitted", model.fitted_);
        // Settings may have changed since the fit, but the classes name the groups.
        a.check(
            "fitted",
            [&] {
                const Matrix& means = model.fitted_.means;
                return means.empty() || means.getNumCols() == model.getNumClasses();
            },
            "expected a group for each class");
        a("frameColumns", model.columns_);
    }
};

namespace Engine::DA {

void Model::writeJson(JSON::TextSink& sink) const { writeStoredText(sink, kType, *this); }

void Model::readJson(std::string_view utf8) { *this = readStoredText<Model>(kType, utf8); }

}  // namespace Engine::DA
}  // namespace Veltrix
