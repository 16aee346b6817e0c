// Every allocation of every operation that changes a container, or makes one, fails in turn.
#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/Decompositions.h"
#include "Veltrix/Data/Factorizer.h"
#include "Veltrix/Data/Imputer.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/NearestRows.h"
#include "Veltrix/Data/Util.h"
#include "tests/data/MatrixTesting.h"
#include "tests/support/FailingAllocations.h"

using namespace Veltrix;
using namespace Veltrix::Testing;

namespace {

constexpr auto kAll = Selection::all;
/// Longer than what a string keeps in itself.
const wchar_t* const kLongName = L"a name that needs memory of its own";
const wchar_t* const kOtherName = L"another name that needs its own memory";
const IntVector kRows{2, 0, 1};
const StringVector kTexts{L"x", kOtherName, L"z"};

template <class Values>
Values named(Values values, const wchar_t* name) {
    values.setName(name);
    return values;
}

bool sameVector(const Vector& a, const Vector& b) { return a == b && a.getName() == b.getName(); }
bool sameIntVector(const IntVector& a, const IntVector& b) {
    return a == b && a.getName() == b.getName();
}
bool sameMatrix(const Matrix& a, const Matrix& b) {
    return a.equalTo(b, 0.0) && a.getMatrixOrder() == b.getMatrixOrder() &&
           a.getName() == b.getName() && a.getAsDoubleVector() == b.getAsDoubleVector();
}

bool sameFrame(const DataFrame& a, const DataFrame& b) {
    if (a.getName() != b.getName() || a.getNumRows() != b.getNumRows()) return false;
    if (!(a.getColNames() == b.getColNames()) || !(a.getRowNames() == b.getRowNames())) {
        return false;
    }
    for (int j = 0; j < a.getNumCols(); ++j) {
        if (a(kAll, j).getKind() != b(kAll, j).getKind()) return false;
        if (!(a(kAll, j).toStringVector() == b(kAll, j).toStringVector())) return false;
        if (a.getColIndex(a.getColName(j)) != b.getColIndex(a.getColName(j))) return false;
    }
    for (int i = 0; i < a.getNumRows(); ++i) {
        if (a.getRowIndex(a.getRowName(i)) != b.getRowIndex(a.getRowName(i))) return false;
    }
    for (const wchar_t* name : {kLongName, kOtherName}) {
        if (a.hasColumn(name) != b.hasColumn(name)) return false;
    }
    return true;
}

TEST(FailedAllocations, leaveVectorsAsTheyWere) {
    const Vector larger = named(Vector(40, 2.0), kOtherName);
    const Vector smaller = named(Vector(2, 2.0), kOtherName);
    surviveAll<Vector>(named(Vector{1.0, 2.0, 3.0}, kLongName),
                       {{"copy", [](Vector& v) { const Vector copy(v); }},
                        {"= larger", [&](Vector& v) { v = larger; }},
                        {"= smaller", [&](Vector& v) { v = smaller; }},
                        {"push_back", [](Vector& v) { v.push_back(v[0]); }},
                        {"reserve", [](Vector& v) { v.reserve(50); }},
                        {"resize", [](Vector& v) { v.resize(50, v[0]); }},
                        {"assign", [](Vector& v) { v.assign(50, v[0]); }},
                        {"setName", [](Vector& v) { v.setName(WString(kOtherName) + kLongName); }},
                        {"arithmetic", [](Vector& v) { v -= 2.0 * v / v + -v; }}},
                       sameVector);
    const IntVector ints = named(IntVector(40, 2), kOtherName);
    const IntVector fewInts = named(IntVector(2, 2), kOtherName);
    surviveAll<IntVector>(named(IntVector{3, 1, 2}, kLongName),
                          {{"= larger", [&](IntVector& v) { v = ints; }},
                           {"= smaller", [&](IntVector& v) { v = fewInts; }},
                           {"append itself", [](IntVector& v) { v.append(v); }},
                           {"insert", [](IntVector& v) { v.insert(1, v[2]); }},
                           {"resize", [](IntVector& v) { v.resize(50); }},
                           {"shuffle", [](IntVector& v) { v.shuffle(1); }},
                           {"toString", [](IntVector& v) { (void)v.toString(); }}},
                          sameIntVector);
}

TEST(FailedAllocations, leaveTextsAsTheyWere) {
    const StringVector longer(9, WString(kOtherName));
    const StringVector shorter(1, WString(kOtherName) + kLongName);
    surviveAll<StringVector>(
        StringVector{kLongName, L"b", kLongName},
        {{"= longer", [&](StringVector& v) { v = longer; }},
         {"= shorter", [&](StringVector& v) { v = shorter; }},
         {"push_back", [](StringVector& v) { v.push_back(v[0]); }},
         {"resize", [](StringVector& v) { v.resize(40); }},
         {"uniqueElements", [](StringVector& v) { (void)Util::uniqueElements(v); }}});
    surviveAll<WString>(WString(kLongName),
                        {{"=", [](WString& s) { s = WString(kLongName) + kOtherName; }},
                         {"+=", [](WString& s) { s += s; }},
                         {"UTF-8", [](WString& s) { s = WString::fromUtf8(s.toUtf8() + "a"); }}});
}

TEST(FailedAllocations, leaveMatricesAsTheyWere) {
    for (const MatrixOrderType order : kOrders) {
        const Matrix larger = named(randomMatrix(9, 8, order, 1), kOtherName);
        const Matrix flat = named(randomMatrix(1, 2, order, 1), kOtherName);
        const Vector three(3, 7.0);
        Matrix grown(order);
        for (int i = 0; i < 5; ++i) grown.appendRow(three);
        grown.appendColumn(Vector(5, 1.0));
        const Steps<Matrix> steps = {
            {"copy", [](Matrix& a) { const Matrix copy(a); }},
            {"= larger", [&](Matrix& a) { a = larger; }},
            {"= smaller", [&](Matrix& a) { a = flat; }},
            {"= grown", [&](Matrix& a) { a = grown; }},
            {"resize", [](Matrix& a) { a.resize(7, 2, a(0, 0)); }},
            {"resize lines", [](Matrix& a) { a.resize(40, 40); }},
            {"resize and reorder", [](Matrix& a) { a.resize(4, 4, 1.0, kByRows); }},
            {"appendRow", [&](Matrix& a) { a.appendRow(three); }},
            {"appendColumn", [&](Matrix& a) { a.appendColumn(three); }},
            {"insertColumn", [&](Matrix& a) { a.insertColumn(1, three); }},
            {"transpose", [](Matrix& a) { a.transpose(); }},
            {"set", [](Matrix& a) { a.set(kRows, kRows, a); }},
            {"row = column", [](Matrix& a) { a(0, kAll) = Convert::toDoubleVector(a(kAll, 1)); }},
            {"row = row", [](Matrix& a) { a(0, kAll) = a(2, kAll); }},
            {"row exp", [](Matrix& a) { a(0, kAll).exp(); }},
            {"sum of orders", [](Matrix& a) { a += Util::transpose(a); }},
            {"sweep", [](Matrix& a) { Util::sweep(a, kRows); }},
            {"permute", [](Matrix& a) { Util::permuteRows(a, kRows, PermutationType::inverse); }},
            {"setName", [](Matrix& a) { a.setName(WString(kOtherName) + kLongName); }},
            {"toString", [](Matrix& a) { (void)a.toString(); }},
        };
        surviveAll(named(randomMatrix(3, 3, order, 2), kLongName), steps, sameMatrix);
    }
}

TEST(FailedAllocations, comeOutOfCalculations) {
    const Matrix square = Util::covariance(randomMatrix(30, 4, kByColumns, 3));
    const Matrix factor = Util::cholesky(square, TriangularityType::upper);
    const IntVector groups{0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2};
    Matrix large(256, 256);
    for (int i = 0; i < 256; ++i) large(i, i) = 1.0 / (1.0 + i * i);
    const Vector response(12, 1.0);
    const Steps<Matrix> steps = {
        {"product", [](Matrix& a) { (void)(Util::transpose(a) * a * Vector(4, 1.0)); }},
        {"selection", [](Matrix& a) { (void)a(kRows, kRows)(kAll, Util::except(1)); }},
        {"inverse", [&](Matrix&) { (void)Matrix::inversePositiveDefinite(square); }},
        {"solve",
         [&](Matrix&) { (void)Matrix::solvePositiveDefiniteSystem(square, Vector(4, 1.0)); }},
        {"triangular",
         [&](Matrix&) {
             (void)Matrix::solveTriangularSystem(factor, square, SideType::right,
                                                 TriangularityType::upper, true, 2.0);
         }},
        {"qr", [&](Matrix& a) { (void)a.qr().qMultiply(response, SideType::left, true); }},
        {"svd", [](Matrix& a) { (void)a.svd(); }},
        {"leading triplets", [&](Matrix&) { (void)Util::svd(large, 2); }},
        {"spectral", [&](Matrix&) { (void)Util::spectral(square); }},
        {"correlation", [](Matrix& a) { (void)Util::correlation(a, true); }},
        {"groups", [&](Matrix& a) { (void)Util::groupStatistic(a, groups, true, true); }},
        {"triangularise",
         [&](Matrix& a) {
             (void)triangularise({a, true}, response);
         }},
        {"normal residual",
         [&](Matrix& a) {
             (void)normalResidual({a, false}, response, Vector(4, 1.0));
         }},
        {"distances",
         [](Matrix& a) { (void)Util::pairwiseDistance(a, true, DissimilarityType::cosine); }},
        {"kTop", [](Matrix& a) { (void)Util::kTop(a.getAsDoubleVector(), 3, true, false, {}); }},
        {"argSort", [](Matrix& a) { (void)Util::argSort(a.getAsDoubleVector(), {}); }},
        {"impute", [](Matrix& a) { (void)Engine::Imputer::clean(a.getAsDoubleVector()); }},
        {"frame", [](Matrix& a) { (void)Convert::toMatrix(Convert::toDataFrame(a)); }},
    };
    surviveAll(randomMatrix(12, 4, kByRows, 4), steps, sameMatrix);
}

DataFrame sampleFrame() {
    DataFrame frame(kLongName);
    frame.append(named(Vector{1.5, -2.0, 0.25}, kLongName));
    frame.append(named(IntVector{7, 8, 9}, L"k"));
    frame.append(StringVector{kLongName, L"a", kLongName}, L"t");
    frame.append(named(Vector{1.0, 2.0, 3.0}, kLongName));
    frame.setRowNames({kLongName, L"s", kLongName});
    return frame;
}

TEST(FailedAllocations, leaveFramesAsTheyWere) {
    const DataFrame frame = sampleFrame();
    DataFrame other(kOtherName);
    other.append(kTexts, kOtherName);
    const Steps<DataFrame> steps = {
        {"copy", [](DataFrame& f) { const DataFrame copy(f); }},
        {"=", [&](DataFrame& f) { f = other; }},
        {"append itself", [](DataFrame& f) { f.append(f); }},
        {"append frame", [&](DataFrame& f) { f.append(other); }},
        {"append column", [](DataFrame& f) { f.append(f(kAll, 2)); }},
        {"append texts", [](DataFrame& f) { f.append(kTexts, kOtherName); }},
        {"append codes", [](DataFrame& f) { f.append(kOtherName, kRows, kTexts); }},
        {"setColName", [](DataFrame& f) { f.setColName(0, kOtherName); }},
        {"share a name", [](DataFrame& f) { f.setColName(1, f.getColName(0)); }},
        {"setColNames", [](DataFrame& f) { f.setColNames(StringVector(4, kOtherName)); }},
        {"setRowName", [](DataFrame& f) { f.setRowName(0, kOtherName); }},
        {"setRowNames", [](DataFrame& f) { f.setRowNames(kTexts); }},
        {"number into text", [](DataFrame& f) { f(1, 2) = 1e-300; }},
        {"number into integers", [](DataFrame& f) { f(1, 1) = 0.5; }},
        {"text into numbers", [](DataFrame& f) { f(1, 0) = kOtherName; }},
        {"text into integers", [](DataFrame& f) { f(1, 1) = f(0, 2); }},
        {"new text", [](DataFrame& f) { f(1, 2) = kOtherName; }},
        {"rows", [](DataFrame& f) { f = f(kRows, kAll); }},
        {"columns", [](DataFrame& f) { f = f(kAll, f.getColNames()); }},
        {"texts", [](DataFrame& f) { (void)Convert::toStringVector(f); }},
        {"factorise", [](DataFrame& f) { f = Engine::Factorizer().fit(f).transform(f); }},
    };
    surviveAll(frame, steps, sameFrame);
    DataFrame unnamed = frame;
    unnamed.setRowNames({});
    surviveAll(unnamed, steps, sameFrame);
    surviveAll(DataFrame(kLongName), {steps[1], steps[3], steps[4 + 1]}, sameFrame);

    const DataFrameVector pair(2, other);
    surviveAll<DataFrameVector>(DataFrameVector(3, frame),
                                {{"=", [&](DataFrameVector& f) { f = pair; }},
                                 {"push_back", [](DataFrameVector& f) { f.push_back(f[0]); }}},
                                [](const DataFrameVector& a, const DataFrameVector& b) {
                                    return a.size() == b.size() && sameFrame(a[0], b[0]) &&
                                           sameFrame(a[a.size() - 1], b[b.size() - 1]);
                                });
}

TEST(FailedAllocations, leaveFactorizersAsTheyWere) {
    const DataFrame frame = sampleFrame();
    DataFrame other;
    other.append(kTexts, L"t");
    other.append(kTexts, kOtherName);
    using Engine::Factorizer;
    Factorizer both;
    both.fit(other);
    const auto sameMapper = [](const Factorizer::ColumnInfo& a, const Factorizer::ColumnInfo& b) {
        return a.levels == b.levels && a.codes == b.codes && a.baseIndex == b.baseIndex;
    };
    Factorizer fitted;
    fitted.fit(frame);
    fitted.setBaseIndex(L"t", 1);
    surviveAll<Factorizer>(fitted,
                           {{"=", [&](Factorizer& f) { f = both; }},
                            {"fit", [&](Factorizer& f) { f.fit(other); }},
                            {"fit column", [&](Factorizer& f) { f.fit(other(kAll, 0)); }},
                            {"fit new column", [&](Factorizer& f) { f.fit(other(kAll, 1)); }}},
                           [&](const Factorizer& a, const Factorizer& b) {
                               return !a.isFactorized(kOtherName) &&
                                      sameMapper(a.getColMapper(L"t"), b.getColMapper(L"t"));
                           });
    surviveAll<Factorizer::ColumnInfo>(
        fitted.getColMapper(L"t"),
        {{"=", [&](Factorizer::ColumnInfo& info) { info = both.getColMapper(kOtherName); }}},
        sameMapper);
}

/// All that a decomposition holds.
using Parts = std::vector<Matrix>;
Parts partsOf(const QR& qr) { return {qr.r(), qr.q(12, 12)}; }
Matrix column(const Vector& values) { return {static_cast<int>(values.size()), 1, values}; }
Parts partsOf(const SVD& svd) {
    return {svd.getLeftSingular(), column(svd.getSingularValues()), svd.getRightSingular()};
}
Parts partsOf(const Spectral& spectral) {
    return {spectral.getEigenvectors(), column(spectral.getEigenvalues())};
}
Parts partsOf(const GroupStatistic& groups) {
    return {groups.getGroupMean(), groups.getGroupCovariance(2), groups.getPooledCovariance()};
}

template <class Decomposition>
void surviveAssignment(const Decomposition& object, const Decomposition& other) {
    surviveAll<Decomposition>(object, {{"=", [&](Decomposition& target) { target = other; }}},
                              [](const auto& a, const auto& b) {
                                  return std::ranges::equal(partsOf(a), partsOf(b), sameMatrix);
                              });
}

TEST(FailedAllocations, leaveDecompositionsAsTheyWere) {
    const Matrix a = randomMatrix(12, 3, kByColumns, 5);
    const Matrix b = randomMatrix(20, 4, kByColumns, 6);
    surviveAssignment(a.qr(), randomMatrix(9000, 16, kByColumns, 7).qr());
    surviveAssignment(a.svd(), b.svd());
    surviveAssignment(Util::spectral(Util::covariance(a)), Util::spectral(Util::covariance(b)));
    surviveAssignment(
        Util::groupStatistic(a, {0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2}, true, true),
        Util::groupStatistic(b(Util::range(0, 6), kAll), {4, 4, 5, 5, 6, 6}, true, true));
}

}  // namespace
