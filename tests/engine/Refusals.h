#pragma once

#include <chrono>
#include <functional>
#include <initializer_list>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Data/Progress.h"
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

/// What a refusal says, and what is refused of a copy of the model, which must stay as it was.
template <class Model>
void expectRefused(
    const Model& model,
    const std::vector<std::pair<const char*, std::function<void(Model&)>>>& mistakes) {
    const std::string before = model.toJson().toUtf8();
    for (const auto& [text, action] : mistakes) {
        Model copy = model;
        EXPECT_TRUE(refuses([&, &act = action] { act(copy); }, text));
        EXPECT_EQ(copy.toJson().toUtf8(), before) << text;
    }
}

/// The action ends when a report says so, which is of this phase, and leaves the model.
template <class Model, class Action>
void expectCancelled(const Model& model, const std::string& phase, Action action) {
    Model copy = model;
    {
        const ProgressScope scope([&](const Progress& each) { return each.phase != phase; });
        std::this_thread::sleep_for(std::chrono::milliseconds(25));  // a report is due
        EXPECT_THROW(action(copy), Cancelled);
    }
    EXPECT_EQ(copy.toJson(), model.toJson());
}

}  // namespace Veltrix::Testing
