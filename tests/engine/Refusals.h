#pragma once

#include <initializer_list>
#include <string>

#include <gtest/gtest.h>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/WString.h"

namespace Veltrix::Testing {

/// The action must throw an `Exception` with a code, this one if given, and `text` in its message.
template <class Action>
testing::AssertionResult refuses(Action&& action, const std::string& text, int code = 0) {
    try {
        action();
    } catch (const Exception& error) {
        const int found = error.getCode();
        const bool rightCode = code == 0 ? found != 0 : found == code;
        if (rightCode && std::string(error.what()).find(text) != std::string::npos) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure()
               << error.what() << " (" << found << "), expected: " << text;
    }
    return testing::AssertionFailure() << "accepted, expected: " << text;
}

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
