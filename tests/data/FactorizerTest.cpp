#include "Veltrix/Data/Factorizer.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "Veltrix/Data/Imputer.h"
#include "Veltrix/Data/Util.h"
#include "tests/data/MatrixTesting.h"
#include "tests/support/Refusals.h"

using namespace Veltrix;
using namespace Veltrix::Testing;
using Veltrix::Engine::Factorizer;
using Veltrix::Engine::Imputer;

namespace {

DataFrame colours() {
    DataFrame frame(L"f");
    Vector numbers{2.0, 1.0, 2.0};
    numbers.setName(L"n");
    frame.append(numbers);
    frame.append(StringVector{L"red", L"blue", L"red"}, L"c");
    frame.setRowNames({L"p", L"q", L"r"});
    return frame;
}

TEST(Factorizer, textColumnsBecomeCodesInAscendingOrder) {
    const DataFrame frame = colours();
    Factorizer factorizer;
    factorizer.fit(frame);
    EXPECT_EQ(factorizer.getColMapper(L"c").levels, (StringVector{L"blue", L"red"}));
    const DataFrame coded = factorizer.transform(frame);
    EXPECT_EQ(coded.getRowNames(), frame.getRowNames());
    EXPECT_EQ(coded(Util::all, L"c").getKind(), ColumnKind::integer);
    EXPECT_EQ(coded(Util::all, L"c").toDoubleVector(), (Vector{1, 0, 1}));
    EXPECT_EQ(coded(Util::all, L"n").toDoubleVector(), (Vector{2, 1, 2}));
}

TEST(Factorizer, unseenValuesAndNumericColumns) {
    Factorizer factorizer;
    const DataFrame known = colours();
    factorizer.fit(known).fit(known(Util::all, L"n"));
    DataFrame fresh;
    fresh.append(StringVector{L"green", L"red"}, L"c");
    Vector numbers{1.0, 3.0};
    numbers.setName(L"n");
    fresh.append(numbers);
    EXPECT_EQ(factorizer.transform(fresh(Util::all, L"c")), (IntVector{-1, 1}));
    EXPECT_EQ(factorizer.transform(fresh(Util::all, L"n")), (IntVector{0, -1}));
}

TEST(Factorizer, baseLevelAndMisuse) {
    Factorizer factorizer;
    factorizer.fit(colours()).setBaseIndex(L"c", 1);
    EXPECT_TRUE(refuses([&] { factorizer.setBaseIndex(L"c", 2); },
                        "Factorizer: level 2 of 2, counted from 0"));
    EXPECT_TRUE(refuses([&] { (void)factorizer.getColMapper(L"n"); },
                        "Factorizer: column \"n\" was not fitted"));
    EXPECT_EQ(factorizer.getColMapper(L"c").baseIndex, 1);
}

TEST(Imputer, whatIsNotFiniteBecomesTheMean) {
    Vector values{1.0, kNaN, 4.0, -kInfinity, 4.0};
    const Vector clean = Imputer::clean(values);
    EXPECT_TRUE(allNear(clean, Vector{1, 3, 4, 3, 4}, {1e-15}));
    EXPECT_EQ(Imputer::clean(Vector{kNaN, kInfinity}), (Vector{0, 0}));
    EXPECT_TRUE(
        allNear(Imputer::clean(Vector{1.6e308, 1.6e308, kNaN}), Vector(3, 1.6e308), {1e-15}));
}

}  // namespace
