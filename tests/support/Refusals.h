#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Data/Exception.h"

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

/// What a refusal says, and what is refused.
using Mistakes = std::vector<std::pair<const char*, std::function<void()>>>;

inline void expectRefused(const Mistakes& mistakes) {
    for (const auto& [text, action] : mistakes) EXPECT_TRUE(refuses(action, text));
}

}  // namespace Veltrix::Testing
