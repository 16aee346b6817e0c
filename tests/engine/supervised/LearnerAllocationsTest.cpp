// Every allocation of every operation on roles, neighbours and trees fails in turn.
#include <functional>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"
#include "tests/support/FailingAllocations.h"

namespace Veltrix::Testing {
namespace {

namespace DT = Engine::DT;
using ClassNeighbours = Engine::Classification::KNN::Model;
using NumberNeighbours = Engine::Regression::KNN::Model;
using Roles = Engine::Classification::Modelable;
constexpr auto kInverse = KNearestNeighbors::WeightingScheme::inverseDistance;

/// Longer than what a string keeps in itself.
const wchar_t* const kLow = L"a class of low values and long name";
const wchar_t* const kHigh = L"a class of high values and long name";
const wchar_t* const kOther = L"a class that has a long name as well";

template <class Model>
using Steps = std::vector<std::pair<const char*, std::function<void(Model&)>>>;

template <class Model>
bool sameText(const Model& a, const Model& b) {
    return a.toJson() == b.toJson();
}

template <class Model, class Same>
void surviveAll(const Model& model, const Steps<Model>& steps, Same same) {
    for (const auto& [name, step] : steps) {
        EXPECT_TRUE(survivesFailures(model, step, same)) << name;
    }
}

/// Twelve records of a number and a text, the classes and the numbers that follow from them.
struct Data {
    Matrix x{12, 2,
             Vector{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0, 1, 0, 2, 0, 1, 2, 1, 0, 2, 1, 0}};
    StringVector labels;
    Vector codes, numbers;
    DataFrame numeric, mixed, responses;

    explicit Data(double shift = 0.0) {
        x(0, 0) += shift;
        StringVector texts;
        for (int i = 0; i < 12; ++i) {
            const bool high = (i * 5 + 3) % 12 > 5;
            labels.push_back(high ? kHigh : kLow);
            codes.push_back(high ? 1 : 0);
            numbers.push_back(shift + i * i % 7);
            texts.push_back(x(i, 1) > 1 ? kOther : x(i, 1) > 0 ? kHigh : kLow);
        }
        numeric = Convert::toDataFrame(x, {L"the first column of numbers", L"the second column"});
        mixed = numeric(Util::all, IntVector{0});
        mixed.append(texts, L"a column of texts with a long name");
        responses.append(labels, L"a response of classes, named at length");
        responses.append(numbers);
    }
    ConstDataFrameColumn classColumn() const { return responses(Util::all, 0); }
    ConstDataFrameColumn numberColumn() const { return responses(Util::all, 1); }
};

const Engine::Classification::Priorable::PriorMap kPriors{{kLow, 0.25}, {kHigh, 0.75}};

TEST(LearnerAllocations, RolesStayAsTheyWere) {
    Roles fitted;
    fitted.setClasses({kLow, kHigh}).setPrior(kPriors).setSuccessClass(kHigh);
    const auto same = [](const Roles& a, const Roles& b) {
        return a.getClasses() == b.getClasses() && a.getPriors() == b.getPriors() &&
               a.getSuccessClass() == b.getSuccessClass() &&
               a.getSuccessProbabilityCutoff() == b.getSuccessProbabilityCutoff();
    };
    Roles other;
    other.setClasses({kOther, kLow}).setPrior(kOther, 0.5).setSuccessClass(kOther);
    other.setSuccessProbabilityCutoff(0.25);
    const StringVector labels = Data().labels;
    const Steps<Roles> steps{
        {"fit", [&](Roles& roles) { roles.fit(labels, Vector(12, 2.0)); }},
        {"classes", [](Roles& roles) { roles.setClasses({kOther}); }},
        {"prior", [](Roles& roles) { roles.setPrior(kOther, 1.0); }},
        {"priors",
         [](Roles& roles) {
             roles.setPrior({{kOther, 1.0}});
         }},
        {"success", [](Roles& roles) { roles.setSuccessClass(kOther); }},
        {"assignment", [&](Roles& roles) { roles = other; }},
    };
    surviveAll(fitted, steps, same);
    surviveAll(Roles(), steps, same);
}

TEST(LearnerAllocations, NeighboursStayAsTheyWere) {
    const Data data;
    const Data more(0.5);
    ClassNeighbours classes;
    classes.fit(data.numeric, data.classColumn());
    const ClassNeighbours other = ClassNeighbours().fit(more.x, more.labels);
    const WString text = other.toJson();
    surviveAll(
        classes,
        Steps<ClassNeighbours>{
            {"fit", [&](auto& m) { m.fit(more.x, more.labels, Vector(12, 2.0)); }},
            {"fit a frame", [&](auto& m) { m.fit(more.numeric, more.classColumn()); }},
            {"features", [&](auto& m) { m.setTrainingFeatures(more.x); }},
            {"response", [](auto& m) { m.setTrainingResponse(StringVector(5, kOther)); }},
            {"weights", [](auto& m) { m.setWeights(Vector(30, 2.0)); }},
            {"assignment", [&](auto& m) { m = other; }},
            {"text", [&](auto& m) { m.fromJsonString(text); }},
            {"posterior",
             [&](auto& m) { m.posteriorProbability(more.numeric, 3, true, false, kInverse); }},
            {"search", [&](auto& m) { m.kSearch(more.x, more.labels, 4, true, false, kInverse); }},
        },
        sameText<ClassNeighbours>);
    NumberNeighbours numbers;
    numbers.fit(data.x, data.numbers);
    const NumberNeighbours otherNumbers = NumberNeighbours().fit(more.x, more.numbers);
    surviveAll(
        numbers,
        Steps<NumberNeighbours>{
            {"fit", [&](auto& m) { m.fit(more.numeric, more.numberColumn()); }},
            {"response", [](auto& m) { m.setTrainingResponse(Vector(30, 1.0)); }},
            {"assignment", [&](auto& m) { m = otherNumbers; }},
            {"search", [&](auto& m) { m.kSearch(more.x, more.numbers, 4, true, false, kInverse); }},
        },
        sameText<NumberNeighbours>);
}

// When memory is short the records are scored one by one, with the same results.
TEST(LearnerAllocations, NeighboursAreFoundWithLittleMemory) {
    const Data data;
    NumberNeighbours model;
    model.fit(data.x, data.numbers);
    const auto scores = [&] {
        return Convert::toDoubleVector(model.predict(data.x, 3, true, false, kInverse));
    };
    const Vector expected = scores();
    int answers = 0;
    bool failed = true;
    for (int nth = 1; failed; ++nth) {
        const FailingAllocations failing(nth, Failures::Once);
        try {
            const Vector found = scores();
            failed = FailingAllocations::failed();
            answers += failed ? 1 : 0;
            EXPECT_EQ(found, expected) << nth;
        } catch (const std::bad_alloc&) {
        }
    }
    EXPECT_GT(answers, 3);
}

template <class Tree>
Steps<Tree> treeSteps(const Tree& other, const Data& more) {
    const WString text = other.toJson();
    return {
        {"parameters",
         [](auto& m) { m.setParams({.maxSplits = 7, .categorical = IntVector(20, 1)}); }},
        {"names", [](auto& m) { m.setColNames(StringVector(9, kOther)); }},
        {"assignment", [&other](auto& m) { m = other; }},
        {"text", [text](auto& m) { m.fromJsonString(text); }},
        {"prediction", [&more](auto& m) { m.predict(more.mixed); }},
        {"rules", [](auto& m) { m.getRules(); }},
    };
}

TEST(LearnerAllocations, TreesStayAsTheyWere) {
    const Data data;
    const Data more(0.5);
    constexpr int kNone = std::numeric_limits<int>::max();
    const DT::Params params{.maxSplits = kNone, .maxLevels = kNone, .maxNodes = kNone};
    using ClassTree = DT::Classification::Model;
    ClassTree classes(params);
    classes.fit(data.mixed, data.classColumn()).prune(data.mixed, data.classColumn());
    ASSERT_GT(classes.getNumNodes(), 5);
    ClassTree otherClasses(params);
    otherClasses.fit(more.x, more.codes);
    Steps<ClassTree> steps = treeSteps(otherClasses, more);
    const Steps<ClassTree> ofClasses{
        {"fit", [&](auto& m) { m.fit(more.x, more.codes); }},
        {"fit a frame", [&](auto& m) { m.fit(more.mixed, more.classColumn()); }},
        {"prune", [&](auto& m) { m.prune(more.mixed, more.classColumn()); }},
        {"new names",
         [](auto& m) {
             m.setClasses({kOther, kLow});
         }},
        {"more classes",
         [](auto& m) {
             m.setClasses({kOther, kLow, kHigh});
         }},
    };
    steps.insert(steps.end(), ofClasses.begin(), ofClasses.end());
    surviveAll(classes, steps, sameText<ClassTree>);

    using NumberTree = DT::Regression::Model;
    NumberTree numbers(params);
    numbers.fit(data.mixed, data.numberColumn());
    ASSERT_GT(numbers.getNumNodes(), 5);
    NumberTree otherNumbers(params);
    otherNumbers.fit(more.x, more.numbers);
    Steps<NumberTree> ofNumbers = treeSteps(otherNumbers, more);
    ofNumbers.emplace_back("fit", [&](auto& m) { m.fit(more.mixed, more.numberColumn()); });
    ofNumbers.emplace_back("prune", [&](auto& m) { m.prune(more.mixed, more.numberColumn()); });
    surviveAll(numbers, ofNumbers, sameText<NumberTree>);
}

}  // namespace
}  // namespace Veltrix::Testing
