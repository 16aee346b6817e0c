// Concepts: reference results (see tests/reference/text/README.md), the leading ones alone, bad
// input.
#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/TM/ConceptExtractor.h"
#include "tests/support/Refusals.h"
#include "tests/support/TextCases.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using Engine::TM::ConceptExtractor;
using Params = ConceptExtractor::Params;

constexpr Tolerance kValues{1e-9, 1e-12};
constexpr Tolerance kFactors{0.0, 1e-7};
constexpr auto kByColumns = MatrixOrderType::columnMajor;
constexpr auto kByRows = MatrixOrderType::rowMajor;

/// The lists of numbers of a reference case by name.
struct Quantities {
    const TextCases& cases;
    std::string prefix;

    std::vector<double> operator()(const std::string& name) const {
        return cases.numbers(prefix + name);
    }
    int number(const std::string& name) const { return static_cast<int>((*this)(name).at(0)); }
    bool has(const std::string& name) const { return cases.has(prefix + name); }

    Matrix matrix(const std::string& name, int rows, MatrixOrderType order = kByColumns) const {
        const std::vector<double> values = (*this)(name);
        const Matrix byRows(rows, static_cast<int>(values.size()) / rows,
                            Vector(values.begin(), values.end()), kByRows);
        Matrix result(rows, byRows.getNumCols(), order);
        return result += byRows;
    }
};

/// Column by column, up to the sign of the whole column; the given rows, or all.
testing::AssertionResult sameUpToSigns(const Matrix& actual, const Matrix& expected,
                                       IntVector rows = {}) {
    if (actual.getNumRows() != expected.getNumRows() ||
        actual.getNumCols() != expected.getNumCols()) {
        return testing::AssertionFailure() << "another shape";
    }
    if (rows.empty()) rows = Util::range(0, expected.getNumRows());
    for (int j = 0; j < expected.getNumCols(); ++j) {
        const Vector found = actual.getSubColumn(rows, j);
        const Vector wanted = expected.getSubColumn(rows, j);
        const auto same = allNear(found, wanted, kFactors);
        if (!same && !allNear(-found, wanted, kFactors)) return same;
    }
    return testing::AssertionSuccess();
}

/// The rows that are more than rounding; others have no direction.
IntVector significantRows(const Matrix& m) {
    const Vector lengths = ConceptExtractor::termImportance(m);
    IntVector rows;
    for (int i = 0; i < m.getNumRows(); ++i) {
        if (lengths[static_cast<std::uint64_t>(i)] > 1e-12) rows.push_back(i);
    }
    return rows;
}

/// Products with the factors, as they are and with rows of unit length.
template <class Product>
void checkProduct(Product product, const Quantities& quantities, const std::string& item,
                  int rows) {
    const Matrix plain = quantities.matrix(item, rows);
    EXPECT_TRUE(sameUpToSigns(product(false), plain)) << item;
    EXPECT_TRUE(sameUpToSigns(product(true), quantities.matrix(item + "_unit_rows", rows),
                              significantRows(plain)))
        << item;
}

void checkFactors(const Quantities& quantities, const std::string& item, MatrixOrderType order) {
    SCOPED_TRACE(item);
    const int rows = quantities.number("rows");
    const int cols = quantities.number("columns");
    const int k = quantities.number(item + "k");
    const Matrix m = quantities.matrix("values_row_major", rows, order);
    const ConceptExtractor concepts = ConceptExtractor({0.0, k}).fit(m);
    ASSERT_EQ(concepts.getNumConcepts(), k);
    EXPECT_TRUE(
        sameUpToSigns(concepts.getLeftSingular(), quantities.matrix(item + "left_columns", rows)));
    EXPECT_TRUE(sameUpToSigns(Util::transpose(concepts.getRightSingular()),
                              Util::transpose(quantities.matrix(item + "right_rows", k))));
    const auto documents = [&](bool unit) { return concepts.cdm(m, unit); };
    const auto terms = [&](bool unit) { return concepts.tcm(m, unit); };
    checkProduct(documents, quantities, item + "cdm", rows);
    checkProduct(terms, quantities, item + "tcm", cols);
    if (quantities.has(item + "new_rows")) {
        const int newRows = quantities.number(item + "new_rows");
        const Matrix news = quantities.matrix(item + "new_values_row_major", newRows, order);
        checkProduct([&](bool unit) { return concepts.cdm(news, unit); }, quantities,
                     item + "new_cdm", newRows);
    }
    EXPECT_TRUE(allNear(ConceptExtractor::termImportance(concepts.tcm(m, false)),
                        quantities(item + "term_importance"), kFactors));
}

TEST(ConceptExtractor, ReferenceResults) {
    const TextCases cases("text/concept_cases.txt");
    const std::vector<std::string> names = cases.casesWith(".singular_values");
    ASSERT_EQ(names.size(), 9U);
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const Quantities quantities{cases, name + "."};
        for (const auto order : {kByColumns, kByRows}) {
            const Matrix m =
                quantities.matrix("values_row_major", quantities.number("rows"), order);
            const ConceptExtractor fitted = ConceptExtractor().fit(m);
            EXPECT_TRUE(
                allNear(fitted.getSingularValues(), quantities("singular_values"), kValues));
            EXPECT_TRUE(allNear(fitted.getShares(), quantities("share_per_cent"), kValues));
            EXPECT_TRUE(allNear(fitted.getRunningSums(), quantities("running_sums"), kValues));
            for (int i = 0;; ++i) {
                const std::string item = "number_of_concepts." + std::to_string(i) + ".";
                if (!quantities.has(item + "k")) break;
                const Params params{quantities(item + "cumulative_share").at(0),
                                    quantities.number(item + "maximum")};
                EXPECT_EQ(ConceptExtractor(params).fit(m).getNumConcepts(),
                          quantities.number(item + "k"))
                    << item;
            }
            for (const std::string item : {"factors_k1.", "factors_k2.", "factors_k3."}) {
                if (quantities.has(item + "k")) checkFactors(quantities, item, order);
            }
        }
    }
}

/// Documents of few topics and some noise, as large as the leading singular values alone take.
Matrix topics(int rows, int cols) {
    const Matrix weights = Util::gaussianMatrix(rows, 8, kByColumns, 0.0, 1.0, 1);
    const Matrix terms = Util::gaussianMatrix(8, cols, kByColumns, 0.0, 1.0, 2);
    return weights * terms + 0.2 * Util::gaussianMatrix(rows, cols, kByColumns, 0.0, 1.0, 3);
}

TEST(ConceptExtractor, LooksForTheLeadingConceptsOfLargeMatricesOnly) {
    const Matrix m = topics(620, 505);
    ConceptExtractor leading = ConceptExtractor({0.0, 8}).fit(m);
    const ConceptExtractor whole = ConceptExtractor({0.0, 8, true}).fit(m);
    ASSERT_EQ(leading.getSingularValues().size(), 8U);
    ASSERT_EQ(whole.getSingularValues().size(), 505U);
    EXPECT_NEAR(Util::sum(whole.getShares(), false), 100.0, 1e-9);
    for (std::uint64_t i = 0; i < 8; ++i) {
        EXPECT_NEAR(leading.getSingularValues()[i] / whole.getSingularValues()[i], 1.0, 1e-12);
        EXPECT_NEAR(leading.getRunningSums()[i] / whole.getRunningSums()[i], 1.0, 1e-12);
        EXPECT_TRUE(std::isnan(leading.getShares()[i]));
    }
    EXPECT_TRUE(leading.getLeftSingular().equalTo(whole.getLeftSingular(), 1e-9));
    EXPECT_TRUE(leading.getRightSingular().equalTo(whole.getRightSingular(), 1e-9));
    EXPECT_TRUE(std::isnan(leading.computeNumConcepts(620, 505).getShares()[0]));
    // The elbow and shares need all of them.
    EXPECT_EQ(ConceptExtractor({0.0, 51}).fit(m).getSingularValues().size(), 505U);
    EXPECT_EQ(ConceptExtractor().fit(m).getNumConcepts(), 8);
    const ConceptExtractor before = leading;
    const ProgressScope scope([](const Progress& /*progress*/) { return false; });
    EXPECT_THROW(leading.fit(topics(3000, 1500)), Cancelled);
    EXPECT_EQ(leading.toJson().toUtf8(), before.toJson().toUtf8());
}

TEST(ConceptExtractor, NumberOfConceptsByItself) {
    Matrix diagonal(4, 4);
    for (int i = 0; i < 4; ++i) diagonal(i, i) = 8 >> i;
    ConceptExtractor concepts = ConceptExtractor({60.0, 0}).fit(diagonal);
    EXPECT_EQ(concepts.getNumConcepts(), 2);
    EXPECT_EQ(concepts.setParams({0.0, 9}).computeNumConcepts(3, 10).getNumConcepts(), 3);
    EXPECT_EQ(concepts.setParams({1000.0, 0}).computeNumConcepts(7, 5).getNumConcepts(), 5);
    EXPECT_EQ(concepts.getRightSingular().getNumRows(), 2);  // the vectors are those of the fit
    const ConceptExtractor none = ConceptExtractor({50.0, 0}).fit(Matrix(5, 3));
    EXPECT_EQ(none.getNumConcepts(), 3);
    EXPECT_TRUE(std::isnan(none.getShares()[0]));
    EXPECT_EQ(ConceptExtractor().fit(Matrix(5, 3)).getNumConcepts(), 1);
}

TEST(ConceptExtractor, RefusesWhatHasNoAnswerAndKeepsTheModel) {
    Matrix m = topics(6, 4);
    ConceptExtractor fitted = ConceptExtractor({0.0, 2}).fit(m);
    const std::string before = fitted.toJson().toUtf8();
    Matrix hole = m;
    hole(4, 2) = std::numeric_limits<double>::quiet_NaN();
    const ConceptExtractor unfitted;
    expectRefused({
        {"Concept extraction: entry (4, 2) is NaN", [&] { fitted.fit(hole); }},
        {"Concept extraction: 0 records", [&] { fitted.fit(Matrix(0, 3)); }},
        {"Concept extraction: -1 concepts as maximum, at least 0 expected",
         [&] {
             ConceptExtractor({0.0, -1}).fit(m);
         }},
        {"Concept-document matrix: 3 columns, 4 expected",
         [&] { (void)fitted.cdm(Matrix(2, 3), false); }},
        {"Term-concept matrix: 5 rows, 6 expected", [&] { (void)fitted.tcm(Matrix(5, 4), true); }},
        {"the model is not fitted", [&] { (void)unfitted.cdm(m, false); }},
        {"the model is not fitted", [&] { (void)unfitted.tcm(m, false); }},
        {"the model is not fitted", [] { ConceptExtractor().computeNumConcepts(2, 2); }},
    });
    EXPECT_EQ(fitted.toJson().toUtf8(), before);
    EXPECT_TRUE(std::isnan(fitted.cdm(hole, true)(4, 1)));
}

}  // namespace
}  // namespace Veltrix::Testing
