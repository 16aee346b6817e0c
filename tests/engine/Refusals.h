#pragma once

#include <initializer_list>
#include <string>

#include <gtest/gtest.h>

#include "Veltrix/Data/WString.h"
#include "tests/support/Refusals.h"

namespace Veltrix::Testing {

/// A change to the text of a stored model and what the refusal names.
struct Damage {
    const char* from;
    const char* to;
    const char* text;
};

/// Every damaged text is refused and leaves the model as it was.
template <class Model>
void expectDamageRefused(const Model& model, std::initializer_list<Damage> damages) {
    const std::string good = model.toJson().toUtf8();
    for (const auto& [from, to, expected] : damages) {
        std::string text = good;
        ASSERT_NE(text.find(from), std::string::npos) << from << " in " << good;
        text.replace(text.find(from), std::string(from).size(), to);
        Model target = model;
        EXPECT_TRUE(refuses([&] { target.fromJsonString(WString::fromUtf8(text)); }, expected))
            << to;
        EXPECT_EQ(target.toJson().toUtf8(), good) << to;
    }
}

}  // namespace Veltrix::Testing
