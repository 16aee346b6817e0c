// Discriminant analysis: reference results (see tests/reference/learners/README.md), data far from
// 0 and of mixed units, rows beyond one block, bad input.
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/DA.h"
#include "Veltrix/Engine/Exceptions.h"
#include "tests/engine/Refusals.h"
#include "tests/support/Containers.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using Engine::DA::Model;

const Tolerance kReference{1e-8, 1e-12};
const Tolerance kPosterior{0.0, 1e-9};
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Codes of labels by their place in the list of groups.
IntVector codesOf(const std::vector<std::string>& labels, const std::vector<std::string>& groups) {
    IntVector codes;
    for (const std::string& label : labels) {
        codes.push_back(static_cast<int>(std::ranges::find(groups, label) - groups.begin()));
    }
    return codes;
}

TEST(DA, ReferenceResults) {
    for (const std::string name :
         {"pima_lda.lda", "iris_equal.lda", "iris_priors.qda", "birthwt_race.qda"}) {
        const ReferenceData reference("learners/" + name);
        const CsvData csv("learners/" + reference.text("data"));
        const auto names = reference.texts("predictors");
        const auto labels = csv.texts(reference.text("class"));
        const auto groups = reference.texts("groups");
        const Matrix fresh = toMatrix(reference.matrix("new_records"));
        for (const auto order : {MatrixOrderType::columnMajor, MatrixOrderType::rowMajor}) {
            SCOPED_TRACE(name);
            const Matrix x = columnsOf(csv, names, order);
            Model model;
            model.setQuadratic(reference.scalar("quadratic") != 0.0)
                .setPriors(toVector(reference.vector("priors")))
                .fit(x, codesOf(labels, groups));
            const auto expect = [&](const Matrix& found, const char* quantity, Tolerance within) {
                EXPECT_TRUE(allNear(rowsOf(found), reference.flattened(quantity), within));
            };
            expect(Util::transpose(model.getGroupMeans()), "means", kReference);
            expect(model.getCoefficients(), "coefficients", kReference);
            EXPECT_TRUE(allNear(model.getConstants(), reference.vector("constants"), kReference));
            for (std::size_t g = 0; g < model.getQuadraticTerms().size(); ++g) {
                for (int i = 0; i < x.getNumCols(); ++i) {
                    const auto row = model.getQuadraticTerms()[g](i, Util::all).elements();
                    const std::string quantity =
                        "quadratic_terms." + std::to_string(g) + "." + std::to_string(i);
                    EXPECT_TRUE(allNear(row, reference.vector(quantity), kReference));
                }
            }
            const Matrix posterior = model.posteriorProbability(x);
            EXPECT_EQ(posterior.getMatrixOrder(), order);
            expect(posterior, "posterior", kPosterior);
            expect(model.posteriorProbability(fresh), "new_posterior", kPosterior);
        }
    }
}

/// Records of whole numbers in three groups that overlap, and their codes.
struct Data {
    Matrix x;
    IntVector codes;

    explicit Data(int rows) : x(rows, 3) {
        const Matrix normals =
            Util::gaussianMatrix(rows, 3, MatrixOrderType::columnMajor, 0.0, 40.0, 7);
        for (int i = 0; i < rows; ++i) {
            codes.push_back(i % 3);
            for (int j = 0; j < 3; ++j) x(i, j) = std::round(normals(i, j) + 30.0 * (i % 3 == j));
        }
    }
};

// Adding a number, a change of units and the other records change no posterior probability, however
// far from 0 the data lie.
TEST(DA, PosteriorsDependOnTheRecordAndNotOnOriginUnitsOrNeighbours) {
    const Data data(5000);
    Matrix far = data.x;
    far(Util::all, 1) *= Vector(5000, std::ldexp(1.0, 40));
    far(Util::all, 2) *= Vector(5000, std::ldexp(1.0, -40));
    for (int i = 0; i < 5000; ++i) far(i, 0) += std::ldexp(1.0, 34);
    for (const bool quadratic : {false, true}) {
        Model model;
        const Matrix expected =
            model.setQuadratic(quadratic).fit(data.x, data.codes).posteriorProbability(data.x);
        const Matrix found = Model(model).fit(far, data.codes).posteriorProbability(far);
        EXPECT_TRUE(found.equalTo(expected, 1e-12));
        for (const int i : {0, 7, 2500, 4999}) {
            const Matrix alone = model.posteriorProbability(data.x(IntVector{i}, Util::all));
            EXPECT_TRUE(alone.equalTo(expected(IntVector{i}, Util::all), 1e-14));
            EXPECT_NEAR(Util::sum(expected(i, Util::all)), 1.0, 3e-16);
        }
    }
}

TEST(DA, PriorsCountAsTheyStand) {
    const Data data(300);
    Model model;
    // Without priors the shares of the records; of half as much in all they say the same.
    const Matrix shares = model.fit(data.x, data.codes).posteriorProbability(data.x);
    const Vector sixths(3, 1.0 / 6);
    EXPECT_TRUE(model.setPriors(sixths)
                    .fit(data.x, data.codes)
                    .posteriorProbability(data.x)
                    .equalTo(shares, 1e-14));
    const Matrix without = model.setPriors(Vector{0.5, 0.0, 0.25})
                               .fit(data.x, data.codes)
                               .posteriorProbability(data.x);
    for (int i = 0; i < 300; ++i) {
        EXPECT_EQ(without(i, 1), 0.0);
        // ln 2 more for the first class than in equal shares.
        const double odds = 2.0 * shares(i, 0) / shares(i, 2);
        EXPECT_TRUE(isNear(without(i, 0) / without(i, 2), odds, {1e-12, 0.0}));
    }
    const Matrix one = Model().fit(data.x, IntVector(300, 0)).posteriorProbability(data.x);
    EXPECT_TRUE(one.equalTo(Matrix(300, 1, 1.0), 0.0));
}

TEST(DA, FramesAreMatchedByNameAndClassesByLabel) {
    const CsvData csv("learners/iris.csv");
    const std::vector<std::string> names{"Petal.Width", "Sepal.Length", "Petal.Length"};
    const StringVector labels = toStrings(csv.texts("Species"));
    DataFrame response;
    response.append(labels);
    const DataFrame frame = Convert::toDataFrame(columnsOf(csv, names), toStrings(names));
    Model model;
    model.setPrior(Model::PriorMap{{L"virginica", 0.5}, {L"setosa", 0.25}, {L"versicolor", 0.25}})
        .fit(frame, response(Util::all, 0));
    DataFrame turned = frame(Util::all, IntVector{2, 0, 1});
    turned.setName(L"iris");
    turned(3, 1) = kNaN;
    const DataFrame posteriors = model.posteriorProbability(turned);
    EXPECT_EQ(posteriors.getName(), L"Posterior Probability: iris");
    EXPECT_EQ(posteriors.getColName(2), L"virginica");
    Matrix expected = Model(model)
                          .setPriors(Vector{0.25, 0.25, 0.5})
                          .fit(columnsOf(csv, names), labels)
                          .posteriorProbability(columnsOf(csv, names));
    for (int g = 0; g < 3; ++g) {
        EXPECT_TRUE(std::isnan(posteriors(3, g).toDouble()));  // and no other record
        expected(3, g) = 0.0;
    }
    Matrix found = Convert::toMatrix(posteriors);
    for (int g = 0; g < 3; ++g) found(3, g) = 0.0;
    EXPECT_TRUE(found.equalTo(expected, 1e-12));
}

TEST(DA, RefusesWhatHasNoAnswerAndKeepsTheModel) {
    const Data data(30);
    const Matrix& x = data.x;
    const auto with = [&](int i, int j, double value) {
        Matrix changed = x;
        changed(i, j) = value;
        return changed;
    };
    const auto column = [&](const std::function<double(int)>& value) {
        Matrix wide = x;
        Vector values;
        for (int i = 0; i < 30; ++i) values.push_back(value(i));
        wide.appendColumn(values);
        return wide;
    };
    const Matrix constant = column([](int) { return 0.1; });
    const Matrix flat = column([](int i) { return i % 3 == 1 ? 0.1 : i; });
    const Matrix sum = column([&](int i) { return x(i, 0) + x(i, 2); });
    const Matrix twice = column([&](int i) { return 0.1 * x(i, 1); });
    IntVector lonely(30, 0);
    lonely[4] = 1;
    const IntVector each = Util::range(0, 30);
    Model linear = Model().fit(x, data.codes);
    Model quadratic = Model().setQuadratic(true).fit(x, data.codes);
    const auto spread = [&](const Matrix& from, const IntVector& codes) {
        return [&](Model model) {
            EXPECT_THROW(model.fit(from, codes), Engine::DAInvalidWithinClassVariance);
        };
    };
    for (const Matrix& bad : {with(3, 1, kNaN), with(3, 1, INFINITY), constant}) {
        spread(bad, data.codes)(linear);
        spread(bad, data.codes)(quadratic);
    }
    spread(flat, data.codes)(quadratic);
    spread(x, lonely)(Model().setQuadratic(true));
    spread(x, each)(Model());
    EXPECT_NO_THROW(Model(linear).fit(flat, data.codes));
    EXPECT_NO_THROW(Model().fit(x, lonely));

    const IntVector third = Util::bind(data.codes, Util::range(0, 9));
    const auto few = [&] { Model(quadratic).fit(x(Util::range(0, 9), Util::all), third); };
    EXPECT_TRUE(refuses(few, "2 degrees of freedom"));
    const Vector negative{0.5, -0.1, 0.6};
    for (const Model& model : {linear, quadratic}) {
        expectRefused(
            model,
            {{"singular, column 3", [&](Model& m) { m.fit(sum, data.codes); }},
             {"singular, column 3", [&](Model& m) { m.fit(twice, data.codes); }},
             {"0 records", [&](Model& m) { m.fit(Matrix(0, 3), IntVector()); }},
             {"0 columns", [&](Model& m) { m.fit(Matrix(4, 0), IntVector(4, 0)); }},
             {"29 groups, 30 expected", [&](Model& m) { m.fit(x, IntVector(29, 0)); }},
             {"group 1 has no record", [&](Model& m) { m.fit(x, IntVector(30, 0)); }},
             {"record 0 is -1, 0 to 2", [&](Model& m) { m.fit(x, IntVector(30, -1)); }},
             {"group code 99", [&](Model&) { Model().fit(x, IntVector(30, 99)); }},
             {"\"x\" of record 0 is no class", [&](Model& m) { m.fit(x, StringVector(30, L"x")); }},
             {"prior of group 1 is -0.1",
              [&](Model& m) { Model(m).setPriors(negative).fit(x, data.codes); }},
             {"all priors are 0",
              [&](Model& m) { Model(m).setPriors(Vector(3, 0.0)).fit(x, data.codes); }},
             {"4 columns, 3 expected", [&](Model& m) { m.posteriorProbability(sum); }},
             {"not fitted", [&](Model&) { Model().posteriorProbability(x); }}});
    }
}

}  // namespace
}  // namespace Veltrix::Testing
