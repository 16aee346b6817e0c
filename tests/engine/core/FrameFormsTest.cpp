// Frames are matched with the frame of training by name or by position.
#include "Veltrix/Engine/FrameForms.h"

#include <string>
#include <typeinfo>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Veltrix/Data/Exception.h"

namespace Veltrix::Testing {
namespace {

using Engine::FrameColumns;

DataFrame frameOf(const StringVector& names) {
    DataFrame frame(L"frame");
    double value = 0.0;
    for (const WString& name : names) {
        Vector column{value++};
        column.setName(name);
        frame.append(column);
    }
    return frame;
}

TEST(FrameColumns, APermutationIsMatchedByName) {
    const FrameColumns columns({L"a", L"b", L"c"});
    const std::pair<StringVector, IntVector> cases[] = {
        {{L"a", L"b", L"c"}, {0, 1, 2}}, {{L"c", L"a", L"b"}, {1, 2, 0}},
        {{L"c", L"a", L"x"}, {0, 1, 2}}, {{L"c", L"a", L"a"}, {0, 1, 2}},
        {{L"c", L"a"}, {0, 1}},          {{L"c", L"a", L"b", L"d"}, {0, 1, 2, 3}},
    };
    for (const auto& [names, expected] : cases) {
        EXPECT_EQ(columns.positions(frameOf(names)), expected);
    }
    const DataFrame swapped = frameOf({L"c", L"a", L"b"});
    const Matrix values = columns.toMatrix(swapped);
    EXPECT_EQ(values.getAsDoubleVector()[0], 1.0);
    EXPECT_EQ(values.getAsDoubleVector()[2], 0.0);
    EXPECT_EQ(values.getName(), L"frame");
    // Without names, after a fit on a matrix, and with a name that occurs twice.
    EXPECT_EQ(FrameColumns().positions(swapped), (IntVector{0, 1, 2}));
    EXPECT_EQ(FrameColumns({L"a", L"a"}).positions(frameOf({L"a", L"a"})), (IntVector{0, 1}));
}

/// Predicts x·w; what it was fitted on tells how often the matrix form was called.
class Weighing : public Engine::FrameForms<Weighing, Vector> {
  public:
    using FrameForms::fit;
    using FrameForms::predict;

    Weighing& fit(const Matrix& x, const Vector& y, const Vector& further, double scale) {
        if (further.size() != y.size()) throw Exception("further");
        Weighing fitted;
        fitted.weights = Vector(static_cast<std::uint64_t>(x.getNumCols()));
        for (int j = 0; j < x.getNumCols(); ++j) fitted.weights[static_cast<std::uint64_t>(j)] = j;
        fitted.weights = fitted.weights * scale;
        return *this = std::move(fitted);
    }
    Vector predict(const Matrix& x) const { return x * weights; }

    Vector weights;
};

TEST(FrameForms, ConvertMatchAndForward) {
    const DataFrame training = frameOf({L"a", L"b", L"c"});
    const auto& y = training(Selection::all, 1);
    Weighing model;
    model.fit(training, y, y, 10.0);
    EXPECT_EQ(model.predict(training)[0], 50.0);
    EXPECT_EQ(model.predict(frameOf({L"c", L"b", L"a"}))[0], 10.0);  // 2 for a, 1 for b, 0 for c
    EXPECT_EQ(model.predict(frameOf({L"x", L"y", L"z"}))[0], 50.0);
    DataFrame text = frameOf({L"a", L"b"});
    text.append(StringVector{L"abc"}, L"c");
    try {
        model.predict(text);
        FAIL() << "text was read as a number";
    } catch (const std::bad_cast& error) {
        EXPECT_THAT(error.what(),
                    testing::AllOf(testing::HasSubstr("\"c\""), testing::HasSubstr("abc")));
    }
    // A failed fit keeps the names, one on a matrix has none.
    EXPECT_THROW(model.fit(frameOf({L"u", L"v", L"w"}), y, Vector(), 1.0), Exception);
    EXPECT_EQ(model.predict(frameOf({L"c", L"b", L"a"}))[0], 10.0);
    model.fit(Matrix(1, 3, 1.0), Vector{1.0}, Vector{1.0}, 10.0);
    EXPECT_EQ(model.predict(frameOf({L"c", L"b", L"a"}))[0], 50.0);
}

}  // namespace
}  // namespace Veltrix::Testing
