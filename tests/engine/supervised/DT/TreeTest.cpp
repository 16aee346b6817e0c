// What trees do at the edges: ties, missing and unknown values, limits, mistakes, storage.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"
#include "tests/data/RandomValues.h"
#include "tests/engine/Refusals.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

namespace DT = Engine::DT;
using testing::HasSubstr;

DT::Params noLimits(int minRecords = 1) {
    constexpr int kNone = std::numeric_limits<int>::max();
    return {.maxSplits = kNone, .maxLevels = kNone, .maxNodes = kNone, .minRecords = minRecords};
}

Matrix oneColumn(const Vector& values) { return {static_cast<int>(values.size()), 1, values}; }

/// Whole numbers from a small range, so that ties abound.
Matrix wholeNumbers(int rows, int cols, int values, unsigned seed) {
    Matrix x = Util::gaussianMatrix(rows, cols, MatrixOrderType::columnMajor, 0.0, 1.0, seed);
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j) {
            x(i, j) = std::fmod(std::fabs(std::round(x(i, j) * 100.0)), values);
        }
    }
    return x;
}

/// The Gini impurity of a node, times its probability, from the joint probabilities of its classes.
long double impurity(const std::vector<long double>& joint) {
    long double p = 0.0L;
    long double squares = 0.0L;
    for (const long double each : joint) {
        p += each;
        squares += each * each;
    }
    return p - squares / p;
}

TEST(Tree, RootSplitHasTheBestMeasureOfAllCandidates) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        const int n = 40;
        const Matrix x = wholeNumbers(n, 3, 6, seed);
        const Vector y = wholeNumbers(n, 1, 3, seed + 100).getAsDoubleVector();
        DT::Params params = noLimits(3);
        params.maxSplits = 1;
        params.categorical = {2};
        DT::Classification::Model model(params);
        model.setClasses({L"a", L"b", L"c"}).setPrior({{L"a", 0.5}, {L"b", 0.2}, {L"c", 0.3}});
        model.fit(x, y);
        const auto measureOf = [&](const std::function<bool(int)>& goesLeft) {
            std::vector<long double> joint[] = {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}};  // whole, parts
            int left = 0;
            for (int i = 0; i < n; ++i) {
                const double code = y[static_cast<std::uint64_t>(i)];
                const auto c = static_cast<std::size_t>(code);
                const double p = model.getPriorVector()[c] / double(std::ranges::count(y, code));
                const bool goes = goesLeft(i);
                left += goes ? 1 : 0;
                for (auto* node : {&joint[0], &joint[goes ? 1 : 2]}) (*node)[c] += p;
            }
            if (left < 3 || left > n - 3) return -1.0L;
            return impurity(joint[0]) - impurity(joint[1]) - impurity(joint[2]);
        };
        long double best = 0.0L;
        for (int j = 0; j < 2; ++j) {
            for (double t = 0.5; t < 5.0; t += 1.0) {
                best = std::max(best, measureOf([&](int i) { return x(i, j) < t; }));
            }
        }
        for (unsigned mask = 1; mask < 63; ++mask) {
            best = std::max(best, measureOf([&](int i) {
                                return ((mask >> static_cast<unsigned>(x(i, 2))) & 1U) != 0;
                            }));
        }
        ASSERT_FALSE(model.getRoot()->isLeaf());
        const IntVector left = model.getRoot()->left->records();
        const long double found = measureOf([&](int i) { return left.exists(i); });
        EXPECT_NEAR(static_cast<double>(found), static_cast<double>(best), 1e-14) << seed;
    }
}

// The second column is the first one mirrored, so that every split of it ties, but sums are formed
// in another order.
TEST(Tree, EqualCandidatesLeaveTheFirst) {
    const int n = 50;
    Matrix x = wholeNumbers(n, 2, 1000, 5);
    for (int i = 0; i < n; ++i) x(i, 1) = -x(i, 0);
    Engine::Sampling::ScalableSRS sampler(2, 2);
    const int first = sampler.setSeed(12346).sample()[0];
    for (unsigned seed = 1; seed <= 30; ++seed) {
        const Vector y = wholeNumbers(n, 1, 5, seed).getAsDoubleVector();
        DT::Classification::Model classes(noLimits(2));
        EXPECT_EQ(classes.fit(x, y).getRoot()->splitVariable, first) << seed;
    }
    // The response is far from 0, where sums lose digits.
    const Vector y = wholeNumbers(n, 1, 50, 9).getAsDoubleVector();
    DT::Regression::Model model(noLimits(2));
    model.fit(x, y);
    EXPECT_EQ(model.getRoot()->splitVariable, first);
    DT::Regression::Model shifted(noLimits(2));
    shifted.fit(x, y + 1e9);
    EXPECT_EQ(model.findNodes(x), shifted.findNodes(x));
    EXPECT_TRUE(allNear(model.getRiskLog(), shifted.getRiskLog(), {1e-12, 1e-12}));
}

TEST(Tree, SplitsWithoutGainAreNotMade) {
    // Exclusive or: no split of the root alone lowers its impurity or its squared error.
    const Matrix x(4, 2, Vector{0, 0, 1, 1, 0, 1, 0, 1});
    DT::Classification::Model classes(noLimits());
    EXPECT_EQ(classes.fit(x, {0, 1, 1, 0}).getNumNodes(), 1);
    DT::Regression::Model numbers(noLimits());
    EXPECT_EQ(numbers.fit(x, {0.1, 0.3, 0.3, 0.1}).getNumNodes(), 1);
    // A constant column, and one without any number, have no threshold.
    EXPECT_EQ(numbers.fit(Matrix(4, 1, 7.0), {1, 2, 3, 4}).getNumNodes(), 1);
    EXPECT_EQ(numbers.fit(Matrix(4, 1, kNaN), {1, 2, 3, 4}).getNumNodes(), 1);
    // Nor have neighbouring doubles whose midpoint is the smaller one; the larger one parts them.
    const double one = 1.0;
    const double next = std::nextafter(one, 2.0);
    const double afterNext = std::nextafter(next, 2.0);
    EXPECT_EQ(numbers.fit(oneColumn({one, next}), {1, 2}).getNumNodes(), 1);
    EXPECT_EQ(numbers.fit(oneColumn({next, afterNext}), {1, 2}).getNumNodes(), 3);
    EXPECT_EQ(numbers.fit(oneColumn({-kInfinity, kInfinity, 1.0}), {1, 9, 2}).getNumNodes(), 3);
}

/// Records of class c at value x, by (x, c, records).
struct Records {
    double x;
    int c;
    int records;
};

DT::Classification::Model fitted(const std::vector<Records>& data, const Vector& priors) {
    Vector x;
    Vector y;
    for (const Records& each : data) {
        for (int i = 0; i < each.records; ++i) {
            x.push_back(each.x);
            y.push_back(each.c);
        }
    }
    DT::Classification::Model model(noLimits());
    for (std::uint64_t c = 0; c < priors.size(); ++c) {
        model.setPrior(Convert::toString(static_cast<int>(c)), priors[c]);
    }
    model.fit(oneColumn(x), y);
    return model;
}

TEST(Tree, EqualSharesTieAndReachTheCutoff) {
    const struct {
        std::vector<Records> data;
        Vector priors;
        Vector probabilities;  // of the node at 0
        const char* label;     // the second of two classes is success from 0.5 on
    } cases[] = {
        // The shares 2/5 and 3/5 over 2 and 3 records differ in the last digit.
        {{{0, 0, 1}, {0, 1, 1}, {1, 0, 1}, {1, 1, 2}}, {}, {0.5, 0.5}, "1"},
        // 0.5/98 rounded would part 49 of 98 from 1 of 2, and so with 7 of 9 and 1 of 3.
        {{{0, 0, 1}, {0, 1, 49}, {1, 0, 1}, {1, 1, 40}, {2, 1, 9}}, {0.5, 0.5}, {0.5, 0.5}, "1"},
        {{{0, 0, 7}, {0, 1, 1}, {1, 0, 2}, {1, 1, 2}}, {0.3, 0.7}, {0.5, 0.5}, "1"},
        // Of three classes the first.
        {{{0, 1, 1}, {0, 2, 1}, {1, 0, 1}, {1, 1, 5}, {1, 2, 2}},
         {0.1, 0.6, 0.3},
         {0, 0.5, 0.5},
         "1"},
        {{{0, 0, 5}, {1, 1, 7}}, {}, {1, 0}, "0"},
    };
    for (const auto& [data, priors, probabilities, label] : cases) {
        const DT::Classification::Model model = fitted(data, priors);
        const Matrix found = model.posteriorProbability(oneColumn({0}));
        EXPECT_EQ(found.getAsDoubleVector(), probabilities) << label << " " << priors.size();
        EXPECT_EQ(model.predict(oneColumn({0}))[0].toUtf8(), label) << priors.size();
    }
}

TEST(Tree, PriorsCountAsTheyStand) {
    // Priors 0 and 1 are the probabilities of the root, which then needs no split.
    const DT::Classification::Model sure = fitted({{0, 0, 3}, {1, 1, 1}}, {0, 1});
    EXPECT_EQ(sure.getRoot()->classProbabilities(), (Vector{0, 1}));
    EXPECT_EQ(sure.getRoot()->risk, 0.0);
    EXPECT_EQ(sure.getNumNodes(), 1);
    // A class of prior 0 counts nowhere; records of that class alone make no node.
    DT::Classification::Model model =
        fitted({{0, 0, 4}, {1, 1, 1}, {1, 0, 9}, {2, 2, 3}}, {0, 0.25, 0.75});
    EXPECT_EQ(model.getRoot()->classProbabilities(), (Vector{0, 0.25, 0.75}));
    EXPECT_EQ(model.posteriorProbability(oneColumn({0, 2})).getAsDoubleVector(),
              (Vector{0, 0, 1, 0, 0, 1}));
    EXPECT_EQ(model.getNumLeaves(), 2);
    // Set after the fit they count at the query, in pruning and in what is drawn.
    model.setPrior({{L"0", 0.5}, {L"1", 0.25}, {L"2", 0.25}});
    const double share = 0.5 / (0.5 + 0.25);
    EXPECT_TRUE(allNear(model.posteriorProbability(oneColumn({0})).getAsDoubleVector(),
                        Vector{share, 1 - share, 0}, {1e-15, 0.0}));
    EXPECT_EQ(model.predict(oneColumn({0}))[0], L"0");
    EXPECT_EQ(model.getRules()[0].outcome, L"0");
    EXPECT_TRUE(isNear(model.getRules()[0].probability, share, {1e-15, 0.0}));
    EXPECT_EQ(model.prune(oneColumn({0, 2}), {0, 2}).getPruning().errors[0], 0.0);
    // Classes that are renamed take priors and success along.
    DT::Classification::Model two = fitted({{0, 0, 3}, {0, 1, 1}, {1, 1, 5}}, {});
    two.setSuccessClass(L"0").setSuccessProbabilityCutoff(0.8);
    EXPECT_EQ(two.predict(oneColumn({0}))[0], L"1");
    EXPECT_EQ(two.setClasses({L"n", L"y"}).predict(oneColumn({0}))[0], L"y");
    EXPECT_EQ(two.getPrior(L"y"), 2.0 / 3);
    EXPECT_THROW(two.setPrior({{L"n", 1.0}}).predict(oneColumn({0})), std::out_of_range);
    const Matrix none = two.setPrior({{L"n", 0}, {L"y", 0}}).posteriorProbability(oneColumn({0}));
    EXPECT_EQ(Util::countNaNInfinity(none.getAsDoubleVector()), 2);
}

TEST(Tree, MissingNumbersGoRight) {
    DT::Regression::Model model(noLimits());
    model.fit(oneColumn({1, kNaN, 2, 3, kNaN}), {1, 9, 2, 3, 9});
    EXPECT_EQ(model.predict(oneColumn({kNaN, 0.0, 2.2}))[1], 1.0);
    EXPECT_EQ(model.predict(oneColumn({kNaN, 0.0, 2.2}))[2], 2.0);
    // 3 cannot be parted from the missing ones: no threshold lies between.
    EXPECT_EQ(model.predict(oneColumn({kNaN}))[0], 7.0);
    // Codes that training did not have go to the larger child, also those below the largest.
    DT::Params params = noLimits();
    params.categorical = {0};
    model.setParams(params).fit(oneColumn({0, 0, 0, 3, 3}), {1, 1, 1, 5, 5});
    EXPECT_EQ(model.predict(oneColumn({3, 1, 7, -1, 0.5})), (Vector{5, 1, 1, 1, 1}));
    // Of children with equal records the left one.
    EXPECT_EQ(model.fit(oneColumn({0, 0, 3, 3}), {9, 9, 5, 5}).predict(oneColumn({7}))[0], 9.0);
}

/// A frame of one text column, one column of numbers and a response that follows the text.
DataFrame fruits(int levels, int rows, StringVector* labels = nullptr) {
    StringVector names;
    Vector numbers;
    for (int i = 0; i < rows; ++i) {
        names.push_back(L"果" + Convert::toString(i % levels));
        numbers.push_back(i / 7);
        if (labels != nullptr) labels->push_back((i % levels) % 3 == 0 ? L"yes" : L"no");
    }
    DataFrame frame;
    frame.append(names, L"fruit");
    numbers.setName(L"size");
    frame.append(numbers);
    return frame;
}

TEST(Tree, ManyCategoriesAreSearchedInTheOrderOfTheirMeans) {
    StringVector labels;
    DataFrame frame = fruits(100, 1000, &labels);
    frame.append(labels, L"sweet");
    const DataFrame x = frame(Util::all, IntVector{0, 1});
    DT::Classification::Model model(noLimits());
    model.fit(x, frame(Util::all, 2));
    EXPECT_EQ(model.getNumNodes(), 3);  // one subset parts the classes
    EXPECT_EQ(model.predict(x), labels);
    EXPECT_THAT(model.toString().toUtf8(), HasSubstr("fruit in {果0, 果12, "));
    // Unknown text goes where more records went, by frame, by row and by code.
    DataFrame unknown = fruits(100, 1);
    unknown(0, 0) = L"梨";
    EXPECT_EQ(model.predict(unknown)[0], L"no");
    EXPECT_EQ(model.findNode(unknown(0, Util::all))->id, model.findNodes(unknown)[0]);
    EXPECT_EQ(model.findNodes(Matrix(1, 2, kNaN))[0], model.findNodes(unknown)[0]);
    // Three classes: refused, and the model stays as it was.
    labels[0] = L"perhaps";
    DataFrame three = x;
    three.append(labels, L"sweet");
    EXPECT_TRUE(refuses([&] { DT::Classification::Model().fit(x, three(Util::all, 2)); },
                        "column 0 (\"fruit\") has 100 categories"));
}

/// The least squared error per record when values below a cut are parted from the others. No subset
/// of categories whose records are equal does better than such a cut (Fisher 1958).
double leastErrorOfACut(const Vector& y) {
    double best = kInfinity;
    for (double cut = 0.5; cut < 10.0; cut += 1.0) {
        double sums[2] = {0, 0};
        double squares[2] = {0, 0};
        double counts[2] = {0, 0};
        for (const double value : y) {
            const int side = value < cut ? 0 : 1;
            sums[side] += value;
            squares[side] += value * value;
            ++counts[side];
        }
        const double error =
            squares[0] - sums[0] * sums[0] / counts[0] + squares[1] - sums[1] * sums[1] / counts[1];
        best = std::min(best, error / static_cast<double>(y.size()));
    }
    return best;
}

TEST(Tree, EnumeratedAndOrderedSubsetsAreBest) {
    for (const int levels : {20, 21}) {  // the most that are enumerated, and one more
        const DataFrame frame = fruits(levels, 420);
        Vector y;
        for (int i = 0; i < 420; ++i) y.push_back((i % levels) * 7 % 11);
        DataFrame all = frame;
        all.append(y);
        DT::Params params = noLimits(5);
        params.maxSplits = 1;
        DT::Regression::Model model(params);
        model.fit(frame(Util::all, IntVector{0}), all(Util::all, 2));
        EXPECT_TRUE(isNear(model.getRiskLog()[1], leastErrorOfACut(y), {1e-12, 0.0})) << levels;
    }
}

// The response rises with the level, so that every cut of the root beats the one before it. To
// build a subset for each took half a minute.
TEST(Tree, ManyLevelsCostNoMoreThanTheirOrder) {
    const int levels = 40000;
    Vector x(levels);
    Vector y(levels);
    for (int i = 0; i < levels; ++i) {
        x[static_cast<std::uint64_t>(i)] = i;
        y[static_cast<std::uint64_t>(i)] = std::exp(i / 4000.0);
    }
    DT::Params params = noLimits();
    params.categorical = {0};
    params.maxSplits = 2000;
    DT::Regression::Model model(params);
    const auto start = std::chrono::steady_clock::now();
    model.fit(oneColumn(x), y);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(model.getNumLeaves(), 2001);
    EXPECT_LT(seconds.count(), 10.0);
}

TEST(Tree, NodesAreReleasedHoweverDeep) {
    auto root = std::make_shared<DT::Node>();
    std::shared_ptr<DT::Node> held;
    DT::Node* last = root.get();
    for (int depth = 0; depth < 1000000; ++depth) {
        last->left = std::make_shared<DT::Node>();
        last->right = std::make_shared<DT::Node>();
        const std::shared_ptr<DT::Node>& next = depth % 3 == 0 ? last->left : last->right;
        if (depth == 500000) held = next;
        last = next.get();
    }
    root.reset();
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_NE(held->left, nullptr);  // what others hold stays whole
}

TEST(Tree, GrowthEndsWhenAskedAndLeavesTheModel) {
    const Matrix x = Util::gaussianMatrix(20000, 12, MatrixOrderType::columnMajor, 0.0, 1.0, 1);
    DT::Regression::Model model(noLimits());
    model.fit(oneColumn({1, 2, 3}), {1, 2, 3});
    expectCancelled(model, "Growing the tree", [&](DT::Regression::Model& m) {
        m.fit(x, x.getSubColumn(Util::range(0, 20000), 11));
    });
}

TEST(Tree, DeepTreesArePrunedToTheRoot) {
    // Of alternating classes the best split takes one record off: a chain as deep as the data.
    constexpr int n = 2000;
    Vector x(n);
    Vector y(n);
    for (int i = 0; i < n; ++i) {
        x[static_cast<std::uint64_t>(i)] = i;
        y[static_cast<std::uint64_t>(i)] = i % 2;
    }
    DT::Classification::Model model(noLimits());
    model.fit(oneColumn(x), y);
    EXPECT_GT(model.getNodes().back()->depth, n / 2);
    expectCancelled(model, "Pruning the tree", [](DT::Classification::Model& m) {
        m.prune(Matrix(200000, 1, 1.0 * n), Vector(200000, 1.0));
    });
    model.prune(oneColumn(x), y);
    EXPECT_EQ(model.getPruning().numDecisionNodes.back(), 0);
    model.select(model.getPruning().numTrees() - 1);
    EXPECT_EQ(model.getNumLeaves(), 1);
    // Numbers of every order of magnitude are told apart, however far the largest is.
    DT::Regression::Model numbers(noLimits());
    EXPECT_EQ(numbers.fit(oneColumn({1, 2, 3, 4}), {1, 2, 1e30, 2e30}).getNumLeaves(), 4);
}

TEST(Tree, SelectionFollowsTheSequence) {
    const Matrix x = wholeNumbers(200, 4, 30, 3);
    const Vector y = wholeNumbers(200, 1, 2, 4).getAsDoubleVector();
    DT::Classification::Model model(noLimits(4));
    model.fit(x, y).prune(x, y);
    const DT::Pruning pruning = model.getPruning();
    for (int k = 0; k < pruning.numTrees(); ++k) {
        model.select(k);
        const auto place = static_cast<std::uint64_t>(k);
        EXPECT_EQ(model.getNumDecisionNodes(), pruning.numDecisionNodes[place]) << k;
        const StringVector predicted = model.predict(x);
        double errors = 0;
        for (std::uint64_t i = 0; i < y.size(); ++i) {
            errors += predicted[i] == Convert::toString(y[i]) ? 0 : 1;
        }
        EXPECT_EQ(errors, pruning.errors[place]) << k;
    }
    const int last = pruning.numTrees() - 1;
    for (const int beyond : {-1, last + 1}) {
        EXPECT_EQ(model.select(beyond).getPruning().selectedTree, last);
    }
    EXPECT_EQ(model.selectManual(0).getPruning().selectedTree, last);
    EXPECT_EQ(model.selectManual(-1).getPruning().selectedTree, 1);
    EXPECT_THROW(model.select(static_cast<DecisionTree::TreeType>(9)), int);
    // A tree that never split has two trees, both the root.
    model.fit(Matrix(3, 1, 1.0), {0, 1, 1}).prune(Matrix(1, 1, 1.0), {1});
    EXPECT_EQ(model.getPruning().numTrees(), 2);
    EXPECT_EQ(model.getPruning().minErrorTree, 1);
    EXPECT_EQ(model.getPruning().bestPrunedTree, 1);
}

TEST(Tree, StoredModelsAnswerAsBefore) {
    StringVector labels;
    DataFrame frame = fruits(5, 90, &labels);
    frame.append(labels, L"sweet");
    const DataFrame x = frame(Util::all, IntVector{0, 1});
    DT::Classification::Model model(noLimits());
    model.setPrior({{L"no", 0.3}, {L"yes", 0.7}}).setSuccessClass(L"yes");
    model.fit(x, frame(Util::all, 2)).prune(x, frame(Util::all, 2));
    model.select(DecisionTree::TreeType::bestPruned);
    std::string earlier = model.toJson().toUtf8();
    // Earlier files hold prior/total, 36 records being sweet.
    const std::string priors = "\"classPriors\":[0.29999999999999999,0.69999999999999996]";
    ASSERT_NE(earlier.find(priors), std::string::npos);
    earlier.replace(earlier.find(priors), priors.size(),
                    "\"classWeights\":[0.0055555555555555558,0.019444444444444445]");
    for (const WString& each : {model.toJson(), WString::fromUtf8(earlier)}) {
        DT::Classification::Model copy;
        copy.fromJsonString(each);
        EXPECT_EQ(copy.posteriorProbability(x).getAsDoubleVector(),
                  model.posteriorProbability(x).getAsDoubleVector());
        EXPECT_EQ(copy.toString(), model.toString());
        EXPECT_EQ(copy.getRoot()->left->records(), model.getRoot()->left->records());
        EXPECT_TRUE(allNear(copy.getRoot()->classProbabilities(), Vector{0.3, 0.7}, {1e-15, 0.0}));
        // Columns in another order are matched by name, by frame, row and in pruning.
        const DataFrame swapped = x(Util::all, IntVector{1, 0});
        EXPECT_EQ(copy.findNodes(swapped), model.findNodes(x));
        EXPECT_EQ(copy.findNode(swapped(7, Util::all))->id, model.findNodes(x)[7]);
        copy.prune(swapped, frame(Util::all, 2));
        EXPECT_EQ(copy.getPruning().errors, model.getPruning().errors);
    }
    expectDamageRefused(model, {{"\"splitVariable\":[0", "\"splitVariable\":[7", "splitVariable"},
                                {"\"numRecords\":[90", "\"numRecords\":[91", "numRecords"},
                                {"\"depth\":[0,1", "\"depth\":[0,2147483647", "depth"},
                                {"\"numDecisionNodes\":[", "\"numDecisionNodes\":[99", "Nodes"}});
}

TEST(Tree, MistakesAreNamed) {
    const Matrix x(3, 2, Vector{1, 2, 3, 0, 1, 1});
    DT::Regression::Model model(noLimits());
    model.fit(x, {1, 2, 3});
    const WString before = model.toJson();
    DT::Regression::Model codes;
    const auto withColumn = [&](int column) {
        return codes.setParams({.categorical = IntVector(1, column)});
    };
    DT::Classification::Model classes(noLimits());
    const Vector y{1, 2, 3};
    const Vector two{1, 2};
    const Vector missing{1, kNaN, 2};
    const Vector infinite{1, kInfinity, 2};
    const Vector threeCodes{0, 1, 2};
    const Matrix half = oneColumn({0, 0.5, 1});
    DataFrame frame = Convert::toDataFrame(x);
    frame.append(missing);
    const DataFrame columns = frame(Util::all, IntVector{0, 1});
    DT::Classification::Model grown(noLimits());
    grown.fit(x, threeCodes);
    classes.setClasses({L"a", L"b"});
    expectRefused({
        {"0 records", [&] { model.fit(Matrix(0, 2), {}); }},
        {"2 responses, 3 expected", [&] { model.fit(x, two); }},
        {"response of record 1 is nan", [&] { model.fit(x, missing); }},
        {"categorical column 5", [&] { withColumn(5).fit(x, y); }},
        {"record 1 has 0.5 in column 0", [&] { withColumn(0).fit(half, y); }},
        {"class code of record 2 is 2, 0 to 1", [&] { classes.fit(x, threeCodes); }},
        {"3 columns, 2 expected", [&] { model.predict(Matrix(1, 3)); }},
        {"Tree prediction: the model is not fitted", [&] { classes.posteriorProbability(x); }},
        {"Tree prune: response of record 1", [&] { grown.prune(columns, frame(Util::all, 2)); }},
        {"Tree prune: the model is not fitted", [&] { codes.prune(x, y); }},
        {"0 records, at least 1", [&] { model.prune(Matrix(0, 2), {}); }},
        {"Tree prune: response of record 1", [&] { model.prune(x, infinite); }},
    });
    EXPECT_EQ(model.toJson(), before);
    // Setters after a fit leave a usable model.
    EXPECT_THAT(model.setColNames({L"a"}).toString().toUtf8(), HasSubstr("a < 1.5"));
    EXPECT_THAT(model.setColNames({}).toString().toUtf8(), HasSubstr("X1 < 1.5"));
    EXPECT_EQ(grown.setClasses({L"a", L"b"}).getRoot(), nullptr);
    // Before growth nothing is known.
    EXPECT_EQ(grown.predict(x)[2], L"nan");
    EXPECT_TRUE(std::isnan(DT::Regression::Model().predict(x)[2]));
    const DataFrame records = Convert::toDataFrame(x);
    EXPECT_EQ(DT::Regression::Model().findNode(records(0, Util::all)), nullptr);
    // All limits 0 grow a bare root.
    DT::Regression::Model bare;
    EXPECT_EQ(bare.fit(x, {1, 2, 6}).getNumNodes(), 1);
    EXPECT_EQ(bare.predict(x)[0], 3.0);
}

}  // namespace
}  // namespace Veltrix::Testing
