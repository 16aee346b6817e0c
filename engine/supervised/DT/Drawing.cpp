// The tree as text.
#include "engine/supervised/DT/Drawing.h"

#include <array>
#include <charconv>
#include <string_view>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Engine/DT.h"
#include "support/NumberText.h"

namespace Veltrix::Engine::DT {
namespace {

WString listOf(const StringVector& names, const std::vector<int>& codes) {
    WString text;
    for (const int code : codes) {
        if (!text.empty()) text += L", ";
        const auto place = static_cast<std::uint64_t>(code);
        text += place < names.size() ? names[place] : Convert::toString(code);
    }
    return text;
}

}  // namespace

WString roundedText(double number) {
    constexpr int kDigits = 12;
    std::array<char, 64> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number,
                                   std::chars_format::general, kDigits)
                         .ptr;
    const auto rounded = Support::parseNumber(std::string_view(text.data(), end));
    return Convert::toString(rounded.value_or(number));
}

namespace {

/// A node that waits for its turn, and what leads to it.
struct Waiting {
    const Node* node;
    WString text;
};

}  // namespace

WString Model::describeBranch(const Node& node, bool left) const {
    const WString& name = colNames_[static_cast<std::uint64_t>(node.splitVariable)];
    if (numCategories_[static_cast<std::size_t>(node.splitVariable)] == 0) {
        return name + (left ? L" < " : L" >= ") + roundedText(node.splitValue);
    }
    return name + (left ? L" in {" : L" not in {") +
           listOf(getCategories(node.splitVariable), node.splitSubset) + L"}";
}

WString BinaryTree::toString() const {
    WString text;
    std::vector<Waiting> waiting;
    if (root_) waiting.push_back({root_.get(), L"root"});
    while (!waiting.empty()) {
        const Waiting next = std::move(waiting.back());
        waiting.pop_back();
        const Node& node = *next.node;
        for (int level = 0; level < node.depth; ++level) text += L"  ";
        text += Convert::toString(node.id) + L") " + next.text + L", n = " +
                Convert::toString(node.numRecords) + L", " + describeLabel(node);
        text += node.isLeaf(alpha_) ? L" *\n" : L"\n";
        if (node.isLeaf(alpha_)) continue;
        waiting.push_back({node.right.get(), describeBranch(node, false)});
        waiting.push_back({node.left.get(), describeBranch(node, true)});
    }
    return text;
}

std::vector<Rule> BinaryTree::getRules() const {
    std::vector<Rule> rules;
    std::vector<Waiting> waiting;
    if (root_) waiting.push_back({root_.get(), {}});
    while (!waiting.empty()) {
        const Waiting next = std::move(waiting.back());
        waiting.pop_back();
        const Node& node = *next.node;
        if (node.isLeaf(alpha_)) {
            Rule rule{.node = node.id,
                      .condition = next.text,
                      .outcome = describeLabel(node),
                      .numRecords = node.numRecords};
            const Vector probabilities = node.classProbabilities();
            if (!probabilities.empty()) {
                rule.probability = probabilities[static_cast<std::uint64_t>(node.label)];
            }
            rules.push_back(std::move(rule));
            continue;
        }
        const WString lead = next.text.empty() ? WString() : next.text + L" and ";
        waiting.push_back({node.right.get(), lead + describeBranch(node, false)});
        waiting.push_back({node.left.get(), lead + describeBranch(node, true)});
    }
    return rules;
}

}  // namespace Veltrix::Engine::DT
