// The tree as text.
#include "engine/supervised/DT/Drawing.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <string_view>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Engine/DT.h"
#include "engine/supervised/DT/Traversal.h"
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

WString Model::nameOf(int column) const {
    const auto place = static_cast<std::uint64_t>(column);
    return place < colNames_.size() ? colNames_[place] : L"X" + Convert::toString(column + 1);
}

WString Model::describeBranch(const Node& node, bool left) const {
    const WString name = nameOf(node.splitVariable);
    if (!isCategorical(node.splitVariable)) {
        return name + (left ? L" < " : L" >= ") + roundedText(node.splitValue);
    }
    // The branch of unknown categories is what the other one leaves.
    std::vector<int> codes = node.splitSubset;
    if (unknownGoLeft(node)) {
        codes.clear();
        std::ranges::set_difference(categories_[static_cast<std::size_t>(node.splitVariable)],
                                    node.splitSubset, std::back_inserter(codes));
    }
    return name + (left == unknownGoLeft(node) ? L" not in {" : L" in {") +
           listOf(getCategories(node.splitVariable), codes) + L"}";
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

namespace {

/// A bound on one side of a column, or what else leads to a node.
struct Condition {
    int column;
    bool left;
    WString text;
};
using Path = std::vector<Condition>;

/// The path with one more condition; a bound takes the place of a wider one on the same side.
Path extended(const Path& path, Condition condition, bool isBound) {
    Path result = path;
    const auto wider = std::ranges::find_if(result, [&](const Condition& other) {
        return isBound && other.column == condition.column && other.left == condition.left;
    });
    if (wider == result.end()) {
        result.push_back(std::move(condition));
    } else {
        *wider = std::move(condition);
    }
    return result;
}

WString joined(const Path& path) {
    WString text;
    for (const Condition& condition : path) {
        if (!text.empty()) text += L" and ";
        text += condition.text;
    }
    return text;
}

}  // namespace

std::vector<Rule> BinaryTree::getRules() const {
    std::vector<Rule> rules;
    std::vector<std::pair<const Node*, Path>> waiting;
    if (root_) waiting.push_back({root_.get(), {}});
    while (!waiting.empty()) {
        const auto [node, path] = std::move(waiting.back());
        waiting.pop_back();
        if (node->isLeaf(alpha_)) {
            rules.push_back({.node = node->id,
                             .condition = joined(path),
                             .outcome = describeLabel(*node),
                             .numRecords = node->numRecords,
                             .probability = probabilityOfLabel(*node)});
            continue;
        }
        const bool isBound = !isCategorical(node->splitVariable);
        for (const bool left : {false, true}) {  // the left one is taken up first
            Condition condition{node->splitVariable, left, describeBranch(*node, left)};
            waiting.emplace_back((left ? node->left : node->right).get(),
                                 extended(path, std::move(condition), isBound));
        }
    }
    return rules;
}

}  // namespace Veltrix::Engine::DT
