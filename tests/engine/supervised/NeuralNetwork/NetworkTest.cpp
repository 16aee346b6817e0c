#include "Veltrix/Engine/NeuralNetwork.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "tests/engine/Refusals.h"
#include "tests/support/FailingAllocations.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

namespace NN = Engine::NeuralNetwork;
using Classifier = NN::Classification::Model;
using Regressor = NN::Regression::Model;
using NN::ActivationType;
using NN::Params;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Matrix normal(int rows, int cols, unsigned seed) {
    return Util::gaussianMatrix(rows, cols, MatrixOrderType::columnMajor, 0.0, 1.0, seed);
}

Params layersOf(std::initializer_list<int> sizes, ActivationType hidden, ActivationType output,
                int cost) {
    Params params;
    params.architecture.layerSizes = sizes;
    params.architecture.costFunction = cost;
    const int last = params.architecture.getOutputLayer();
    for (int l = 1; l < last; ++l) params.architecture.setActivationType(l, hidden);
    params.architecture.setActivationType(last, output);
    return params;
}

/// A regression of two inputs that trains quickly, without checks of the data.
Params small() {
    Params params = layersOf({2, 3, 1}, ActivationType::tanh, ActivationType::identity, 1);
    params.training = {.numEpochs = 4, .batchSize = 8, .learningRate = 0.1, .momentum = 0.5};
    params.stopping = {.mode = 4, .timeLimit = kInf};
    return params;
}

const Matrix kX = normal(2, 30, 5);
const Matrix kY = Util::sigmoid(normal(1, 30, 6) + kX(IntVector{0}, Util::all));

/// The largest distance of a gradient from the central differences of the cost, relative to 1 and
/// the gradient.
template <class Change>
double gradientError(Regressor& model, const Matrix& x, const Matrix& y, double gradient,
                     Change change) {
    constexpr double kStep = 1e-5;
    change(kStep);
    const double above = model.cost(model.feedforward(x), y);
    change(-kStep);
    const double below = model.cost(model.feedforward(x), y);
    change(0.0);
    return std::fabs((above - below) / (2.0 * kStep) - gradient) /
           std::max(1.0, std::fabs(gradient));
}

TEST(NeuralNetwork, GradientsEqualCentralDifferences) {
    using enum ActivationType;
    for (const std::initializer_list<int> sizes :
         {std::initializer_list<int>{3, 2}, {4, 5, 3}, {3, 4, 1}, {2, 4, 3, 2}}) {
        for (const ActivationType hidden : {sigmoid, tanh, relu, identity}) {
            for (const ActivationType output : {sigmoid, tanh, softmax, relu, identity}) {
                for (const int cost : {1, 2, 3}) {
                    Regressor model(layersOf(sizes, hidden, output, cost));
                    const int last = model.getParams().architecture.getOutputLayer();
                    const int inputs = *sizes.begin();
                    const int outputs = *(sizes.end() - 1);
                    // Small weights and a bias of one half keep the outputs where logarithms are.
                    model.setWeights(last, model.getWeights(last) * 0.2);
                    model.setBiases(last, Vector(static_cast<std::uint64_t>(outputs), 0.5));
                    // Off the corner of relu, where a layer before it that is all 0 would lead.
                    for (int l = 1; l < last; ++l) {
                        model.setBiases(l, Vector(model.getBiases(l).size(), 0.1));
                    }
                    const Matrix x = normal(inputs, 6, 3);
                    const Matrix y = Util::sigmoid(normal(outputs, 6, 4));
                    const NN::NetworkCache found =
                        model.backpropagate(x, y, model.feedforwardCache(x));
                    double worst = 0.0;
                    for (int l = 1; l <= last; ++l) {
                        const Matrix weights = model.getWeights(l);
                        const Vector biases = model.getBiases(l);
                        for (int i = 0; i < weights.getNumRows(); ++i) {
                            for (int j = 0; j < weights.getNumCols(); ++j) {
                                worst = std::max(
                                    worst, gradientError(model, x, y, found.at(l).weights(i, j),
                                                         [&](double step) {
                                                             Matrix moved = weights;
                                                             moved(i, j) += step;
                                                             model.setWeights(l, moved);
                                                         }));
                            }
                            worst = std::max(
                                worst,
                                gradientError(model, x, y, found.at(l).biases[i], [&](double step) {
                                    Vector moved = biases;
                                    moved[i] += step;
                                    model.setBiases(l, moved);
                                }));
                        }
                    }
                    EXPECT_LE(worst, 1e-6)
                        << sizes.size() << " layers, activations " << static_cast<int>(hidden)
                        << ' ' << static_cast<int>(output) << ", cost " << cost;
                }
            }
        }
    }
}

/// Outputs of exactly 0 and 1, on both sides of the response, cost and change a finite amount.
TEST(NeuralNetwork, SaturatedOutputsStayFinite) {
    for (const ActivationType output : {ActivationType::sigmoid, ActivationType::softmax}) {
        for (const int cost : {1, 2, 3}) {
            Regressor model(layersOf({1, 2}, ActivationType::identity, output, cost));
            model.setWeights(1, Matrix(2, 1, Vector{2000.0, -2000.0}));
            const Matrix x(1, 2, Vector{1.0, -1.0});
            const Matrix y(2, 2, Vector{1.0, 0.0, 1.0, 0.0});
            const Matrix a = model.feedforward(x);
            EXPECT_EQ(a(0, 0), 1.0);
            EXPECT_EQ(a(0, 1), 0.0);
            EXPECT_TRUE(std::isfinite(model.cost(a, y)));
            const Matrix delta = model.costFunctionDelta(a, y);
            EXPECT_LE(Util::maxValue(Util::absolute(delta.getAsDoubleVector())), 2.0) << cost;
        }
    }
    EXPECT_NEAR(NN::CostFunction::LogLoss().cost(Matrix(1, 1, 0.0), Matrix(1, 1, 1.0)), 744.44,
                0.01);
}

/// The epochs as they are stated, for one hidden layer of tanh and a quadratic cost.
struct PlainNetwork {
    Matrix w1, w2;
    Vector b1, b2;

    PlainNetwork(const Params& p, const Matrix& x, const Matrix& y, Vector& costs) {
        const auto& t = p.training;
        const int h = p.architecture.layerSizes[1];
        w1 = normal(h, 2, static_cast<unsigned>(t.weightSeed)) / std::sqrt(2.0);
        w2 = normal(1, h, static_cast<unsigned>(t.weightSeed)) / std::sqrt(3.0);
        b1 = Vector(3), b2 = Vector(1);
        Matrix v1(h, 2), v2(1, h);
        Vector u1(3), u2(1);
        for (int e = 0; e < t.numEpochs; ++e) {
            IntVector order = Util::range(0, x.getNumCols());
            order.shuffle(static_cast<unsigned>(t.shuffleSeed + e));
            double total = 0.0;
            int batches = 0;
            for (int first = 0; first < x.getNumCols(); first += t.batchSize, ++batches) {
                const int last = std::min(first + t.batchSize, x.getNumCols());
                const double n = last - first;
                Matrix g1(h, 2), g2(1, h);
                Vector d1(3), d2(1);
                for (int k = first; k < last; ++k) {
                    const int r = order[k];
                    Vector a;
                    double out = b2[0];
                    for (int i = 0; i < h; ++i) {
                        a.push_back(std::tanh(w1(i, 0) * x(0, r) + w1(i, 1) * x(1, r) + b1[i]));
                        out += w2(0, i) * a[i];
                    }
                    const double delta = out - y(0, r);
                    total += delta * delta / 2.0 / n;
                    d2[0] += delta / n;
                    for (int i = 0; i < h; ++i) {
                        const double back = delta * w2(0, i) * (1.0 - a[i] * a[i]) / n;
                        g2(0, i) += delta * a[i] / n;
                        d1[i] += back;
                        for (int j = 0; j < 2; ++j) g1(i, j) += back * x(j, r);
                    }
                }
                const auto move = [&](auto& value, auto& velocity, const auto& gradient,
                                      double decay) {
                    velocity = velocity * t.momentum + gradient * (1.0 - t.momentum);
                    value = value * (1.0 - t.learningRate * decay) - velocity * t.learningRate;
                };
                move(w1, v1, g1, t.weightDecay), move(w2, v2, g2, t.weightDecay);
                move(b1, u1, d1, 0.0), move(b2, u2, d2, 0.0);
            }
            costs.push_back(total / batches);
        }
    }
};

TEST(NeuralNetwork, TrainsAsStated) {
    Params params = small();
    params.training.weightDecay = 0.01;
    Vector costs;
    const PlainNetwork plain(params, kX, kY, costs);
    Regressor model(params);
    model.fit(kX, kY);
    const Tolerance close{.relative = 1e-10, .absolute = 1e-12};
    EXPECT_TRUE(allNear(model.getLogs().epochCosts, costs, close));
    EXPECT_TRUE(model.getWeights(1).equalTo(plain.w1, 1e-12));
    EXPECT_TRUE(model.getWeights(2).equalTo(plain.w2, 1e-12));
    EXPECT_TRUE(allNear(model.getBiases(1), plain.b1, close));
    EXPECT_TRUE(allNear(model.getBiases(2), plain.b2, close));
    // Rows and columns of the matrices stored the other way round change nothing.
    Matrix byRows = kX;
    byRows.resize(2, 30, 0.0, MatrixOrderType::rowMajor);
    EXPECT_TRUE(Regressor(params).fit(byRows, kY).getWeights(1).equalTo(model.getWeights(1), 0.0));
}

TEST(NeuralNetwork, BatchesAreRunsOfTheOrder) {
    const auto firsts = [](int size, int mode) {
        Params params = small();
        params.training.batchSize = size;
        params.training.batchMode = mode;
        const Matrix places(1, 10, Vector{0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
        std::vector<std::vector<double>> runs;
        for (const NN::Batch& batch : Regressor(params).createMiniBatches(places, places, 7)) {
            const Vector run = batch.features.getAsDoubleVector();
            EXPECT_TRUE(batch.responses.equalTo(batch.features, 0.0));
            runs.emplace_back(run.begin(), run.end());
        }
        return runs;
    };
    using Runs = std::vector<std::vector<double>>;
    IntVector order = Util::range(0, 10);
    order.shuffle(7);
    const std::vector<double> drawn(order.begin(), order.end());
    const auto at = drawn.begin();
    EXPECT_EQ(firsts(4, 2), (Runs{{at, at + 4}, {at + 4, at + 8}, {at + 8, at + 10}}));
    EXPECT_EQ(firsts(5, 1), (Runs{{0, 1, 2, 3, 4}, {5, 6, 7, 8, 9}}));
    EXPECT_EQ(firsts(6, 2), (Runs{{0, 1, 2, 3, 4, 5}, {6, 7, 8, 9}}));  // one whole run
    EXPECT_EQ(firsts(99, 2), (Runs{{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}}));
}

/// Settings, why the training must end, and after how many epochs at most.
struct Stop {
    Params::Stopping stopping;
    double costTolerance;
    int reason;
    int most;
    int checksOfTraining;  ///< logged for each epoch, 0 or 1
    int checksOfValidation;
    bool againstTraining = false;  ///< the validation responses are the opposite
};

TEST(NeuralNetwork, StopsForTheReasonGiven) {
    const Stop cases[] = {
        {{.mode = 4, .timeLimit = kInf}, 0.0, 1, 40, 0, 0},
        {{.mode = 1, .timeLimit = kInf}, 0.0, 1, 40, 1, 0},
        {{.mode = 1, .patience = 3, .timeLimit = kInf, .costChange = 0.05}, 0.0, 2, 30, 1, 0},
        {{.mode = 2, .timeLimit = kInf, .errorChange = 0.05}, 0.0, 3, 30, 0, 1},
        {{.mode = 3, .patience = 2, .timeLimit = kInf, .costChange = 0.05, .errorChange = 0.05},
         0.0,
         4,
         30,
         1,
         1},
        // The records to stop by go another way than those that train: their cost rises.
        {{.mode = 2, .patience = 2, .timeLimit = kInf, .costChange = 1e-9}, 0.0, 1, 40, 0, 1, true},
        {{.mode = 2, .patience = 2, .timeLimit = kInf, .costChange = 1e-9, .riseCounts = true},
         0.0,
         3,
         12,
         0,
         1,
         true},
        {{.mode = 1}, 0.0, 5, 1, 0, 0},
        {{.mode = 4, .timeLimit = kInf}, 1e9, 6, 1, 0, 0},
    };
    for (const Stop& each : cases) {
        Params params = small();
        params.training.numEpochs = 40;
        params.training.costTolerance = each.costTolerance;
        params.stopping = each.stopping;
        Regressor model(params);
        const Matrix start = model.getWeights(1);
        const IntVector some = Util::range(0, 30, 3);
        const Matrix y = kY(Util::all, some);
        model.fit(kX, kY, kX(Util::all, some), each.againstTraining ? 1.0 - y : y);
        EXPECT_EQ(model.getStopReason(), each.reason);
        EXPECT_LE(model.getNumEpochs(), each.most) << each.reason;
        // A check at the end of every epoch that neither time nor cost ended.
        const NN::Logs& logs = model.getLogs();
        const auto epochs = static_cast<std::uint64_t>(model.getNumEpochs());
        EXPECT_EQ(logs.trainingCosts.size(), each.checksOfTraining * epochs) << each.reason;
        EXPECT_EQ(logs.validationErrors.size(), each.checksOfValidation * epochs) << each.reason;
        EXPECT_EQ(model.getWeights(1).equalTo(start, 0.0), each.costTolerance > 0.0);
        const int patience = std::max(each.stopping.patience, 1);
        if (each.reason < 2 || each.reason > 4 || each.againstTraining) continue;
        // The changes logged undercut the thresholds in the last checks, and not all before them.
        EXPECT_EQ(model.getStoppingInfo().numChecksWithoutImprovement, patience);
        const Vector& log = each.reason == 3 ? logs.validationErrors : logs.trainingCosts;
        double best = log[0];
        for (std::uint64_t k = 1; k < epochs; ++k) {
            const double change = std::fabs(best - log[k]) / (std::fabs(best + log[k]) / 2.0);
            const bool counts = k + static_cast<std::uint64_t>(patience) >= epochs;
            if (counts || patience == 1) {
                EXPECT_EQ(change < 0.05, counts) << k;
            }
            best = std::min(best, log[k]);
        }
    }
}

TEST(NeuralNetwork, ReachesTheReferences) {
    for (const std::string name : {"iris_network", "biopsy_network", "cars_network"}) {
        const ReferenceData expected("learners/" + name + ".network");
        const CsvData data("learners/" + name + ".csv");
        Matrix x;
        for (const std::string& column : expected.texts("predictors")) {
            const std::vector<double> values = data.numbers(column);
            x.appendRow(Vector(values.begin(), values.end()));
        }
        Params params;
        const auto whole = [&](const char* key) { return static_cast<int>(expected.scalar(key)); };
        const std::vector<double> codes = expected.vector("activations_by_layer");
        for (const double size : expected.vector("layer_sizes")) {
            params.architecture.layerSizes.push_back(static_cast<int>(size));
        }
        for (std::size_t l = 1; l < codes.size(); ++l) {
            params.architecture.setActivationType(static_cast<int>(l),
                                                  ActivationType(static_cast<int>(codes[l])));
        }
        params.architecture.costFunction = whole("cost");
        params.training = {.numEpochs = whole("epochs"),
                           .batchSize = whole("batch_size"),
                           .learningRate = expected.scalar("learning_rate"),
                           .momentum = expected.scalar("momentum")};
        params.stopping = {.mode = 4, .timeLimit = kInf};
        for (int seed = 1; seed <= 10; ++seed) {
            params.training.weightSeed = params.training.shuffleSeed = 1000 * seed;
            double measure = 0.0;
            if (expected.has("classes")) {
                StringVector labels;
                for (const std::string& label : data.texts(expected.text("response"))) {
                    labels.push_back(WString::fromUtf8(label));
                }
                Classifier model(params);
                model.fit(x, labels);
                Matrix y(model.getNumClasses(), x.getNumCols());
                for (int k = 0; k < x.getNumCols(); ++k) {
                    y(labels[k] == model.getClasses()[0]   ? 0
                      : labels[k] == model.getClasses()[1] ? 1
                                                           : 2,
                      k) = 1.0;
                }
                measure = model.dataError(model.posteriorProbability(x), y) * x.getNumCols();
            } else {
                const std::vector<double> y = data.numbers(expected.text("response"));
                const Matrix responses(1, x.getNumCols(), Vector(y.begin(), y.end()));
                Regressor model(params);
                measure = model.fit(x, responses).dataError(model.predict(x), responses);
            }
            EXPECT_LE(measure, expected.scalar("suggested_upper_bound")) << name << ' ' << seed;
        }
    }
}

TEST(NeuralNetwork, ErrorsAndTheModelWithoutInputs) {
    const Matrix y(2, 4, Vector{1, 0, 1, 0, 0, 1, 1, 0});
    const Matrix outputs(2, 4, Vector{0.6, 0.4, 0.5, 0.5, 0.9, 0.1, kNaN, 0.9});
    Params params = small();
    params.architecture.layerSizes[2] = 2;
    const Classifier classes(params);
    EXPECT_EQ(classes.dataError(outputs, y), 0.5);
    EXPECT_EQ(classes.nullError(y), 0.25);
    EXPECT_TRUE(allNear(Classifier::nullPrediction(y), Vector{0.75, 0.25}, {}));
    const Regressor numbers(params);
    EXPECT_NEAR(numbers.dataError(y * 3.0, y), std::sqrt(2.0), 1e-15);
    EXPECT_NEAR(numbers.nullError(y), std::sqrt(0.1875), 1e-15);
    Regressor fitted(small());
    fitted.fit(kX, kY);
    EXPECT_NEAR(fitted.getNullError(), fitted.nullError(kY), 1e-15);
}

TEST(NeuralNetwork, FramesHoldRecordsInRows) {
    Matrix rows = kX;
    const DataFrame x = Convert::toDataFrame(rows.transpose(), {L"a", L"b"});
    const DataFrame turned = x(Util::all, IntVector{1, 0});
    Matrix responses = kY;
    const DataFrame y = Convert::toDataFrame(responses.transpose(), {L"y"});
    Regressor model(small());
    const Matrix expected = model.fit(kX, kY).predict(kX);
    const DataFrame scores = model.fit(x, y(Util::all, 0)).predict(turned);
    EXPECT_EQ(scores.getName().toUtf8(), "Scores: ");
    EXPECT_TRUE(Convert::toMatrix(scores).transpose().equalTo(expected, 0.0));
    EXPECT_TRUE(Convert::toMatrix(Regressor(small()).fit(x, y).predict(x))
                    .transpose()
                    .equalTo(expected, 0.0));

    StringVector labels;
    for (int k = 0; k < kY.getNumCols(); ++k) labels.push_back(kY(0, k) > 0.5 ? L"b" : L"a");
    DataFrame classes;
    classes.append(labels, L"class");
    for (const int outputs : {1, 2}) {
        Params params = small();
        params.architecture.layerSizes[2] = outputs;
        params.architecture.setActivationType(2, ActivationType::sigmoid);
        Classifier classifier(params);
        classifier.fit(x, classes, turned, classes);
        const DataFrame posteriors = classifier.posteriorProbability(turned);
        EXPECT_TRUE(posteriors.getColNames() == (StringVector{L"a", L"b"}));
        const Matrix direct = Classifier(params).fit(kX, labels).posteriorProbability(kX);
        const Matrix found = Convert::toMatrix(posteriors);
        for (int k = 0; k < direct.getNumCols(); ++k) {
            EXPECT_EQ(found(k, 1), direct(outputs - 1, k));
            EXPECT_EQ(found(k, 0), outputs == 1 ? 1.0 - direct(0, k) : direct(0, k));
        }
        const auto ofA = std::count(labels.begin(), labels.end(), WString(L"a"));
        EXPECT_NEAR(classifier.getPrior(L"a"), static_cast<double>(ofA) / 30.0, 1e-15);
    }
}

TEST(NeuralNetwork, RefusesWhatDoesNotFit) {
    Regressor model(small());
    model.fit(kX, kY);
    const std::string before = model.toJson().toUtf8();
    const auto with = [&](auto change) {
        return [&model, change] {
            Params params = small();
            change(params);
            model.initialize(params).fit(kX, kY);
        };
    };
    const auto stays = [&](auto action) { return [&model, action] { action(model); }; };
    Matrix bad = kX;
    bad(1, 7) = kNaN;
    expectRefused({
        {"0 layers, at least 2", with([](Params& p) { p.architecture.layerSizes = {}; })},
        {"0 units in layer 1", with([](Params& p) {
             p.architecture.layerSizes = {2, 0, 1};
         })},
        {"softmax on layer 1",
         with([](Params& p) { p.architecture.setActivationType(1, ActivationType::softmax); })},
        {"activation of layer 7",
         with([](Params& p) { p.architecture.setActivationType(7, ActivationType::tanh); })},
        {"entry (1, 7) is NaN", stays([&](Regressor& m) { m.fit(bad, kY); })},
        {"records of 1 inputs, 2 expected", stays([](Regressor& m) { m.fit(kY, kY); })},
        {"records of 2 responses, 1 expected", stays([](Regressor& m) { m.fit(kX, kX); })},
        {"29 responses, 30 expected",
         stays([](Regressor& m) { m.fit(kX, kY(IntVector{0}, Util::range(0, 29))); })},
        {"0 records, at least 1", stays([](Regressor& m) { m.fit(Matrix(2, 0), Matrix(1, 0)); })},
        {"records of 1 inputs", stays([](Regressor& m) { m.predict(kY); })},
        {"layer 3, 1 to 2", stays([](Regressor& m) { m.getWeights(3); })},
        {"weights are 1 x 2, 3 x 2", stays([](Regressor& m) { m.setWeights(1, Matrix(1, 2)); })},
        {"no layers", [] { (void)Regressor().feedforward(kX); }},
    });
    EXPECT_EQ(model.toJson().toUtf8(), before);
    expectRefused({
        {"0 records of a batch", with([](Params& p) { p.training.batchSize = 0; })},
        {"learning rate -0.1", with([](Params& p) { p.training.learningRate = -0.1; })},
        {"weight decay nan", with([](Params& p) { p.training.weightDecay = kNaN; })},
        {"momentum 1, below 1", with([](Params& p) { p.training.momentum = 1.0; })},
        {"-1 epochs", with([](Params& p) { p.training.numEpochs = -1; })},
        {"stopping mode 5", with([](Params& p) { p.stopping.mode = 5; })},
        {"no validation data", with([](Params& p) { p.stopping.mode = 2; })},
    });
    Params params = small();
    params.architecture.layerSizes = {2, 3, 2};
    Classifier classifier(params);
    StringVector labels(30, L"b");
    labels[3] = L"a";
    classifier.fit(kX, labels);
    labels[5] = L"c";
    EXPECT_TRUE(
        refuses([&] { classifier.fit(kX, labels); }, "label \"c\" of record 5 is no class"));
    EXPECT_TRUE(refuses([&] { Classifier(params).fit(kX, labels); }, "3 classes, 2 expected"));
}

TEST(NeuralNetwork, AllocatesNothingForFurtherBatches) {
    const auto allocations = [](int epochs) {
        Params params = small();
        params.training.numEpochs = epochs;
        params.training.batchSize = 4;
        params.stopping.mode = 3;
        Regressor model(params);
        const FailingAllocations counting;
        model.fit(kX, kY, kX, kY);
        return FailingAllocations::attempts();
    };
    // What grows are the six logs; there are eight batches in an epoch.
    EXPECT_LT(allocations(40), allocations(2) + 38);
}

TEST(NeuralNetwork, TellsAndEndsWhenAsked) {
    Params params = small();
    Regressor model(params);
    model.fit(kX, kY);
    const std::string before = model.toJson().toUtf8();
    params.training.numEpochs = 100000000;
    Regressor endless = Regressor(params);
    std::string detail;
    const ProgressScope scope([&](const Progress& progress) {
        detail = progress.detail;
        return detail.empty();
    });
    EXPECT_THROW(endless.fit(kX, kY), Cancelled);
    EXPECT_EQ(detail.substr(0, 6), "epoch ");
    EXPECT_NE(detail.find(" of 100000000, cost 0."), std::string::npos) << detail;
    EXPECT_FALSE(endless.isFitted());
}

}  // namespace
}  // namespace Veltrix::Testing
