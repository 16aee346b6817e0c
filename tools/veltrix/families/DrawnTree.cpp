#include "tools/veltrix/families/DrawnTree.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "tools/veltrix/report/WorkbookRenderer.h"

namespace Veltrix::Tool {

namespace {

constexpr double kRowHeight = 16.0;
constexpr double kTop = 48.0;
constexpr double kMargin = 24.0;
constexpr double kTreeWidth = 640.0;
constexpr double kCharacterWidth = 7.0;

/// The text as it may stand in a document; control characters, which may not, become blanks.
std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            default:
                result += static_cast<unsigned char>(c) < 0x20U ? ' ' : c;
        }
    }
    return result;
}

std::string colorOf(int cluster) {
    if (cluster == 0) return "#404040";
    return fmt::format("#{:06x}", seriesColor(static_cast<std::size_t>(cluster - 1)));
}

/// 1, 2 or 5 times a power of ten, with about five steps up to the largest value.
double tickStep(double largest) {
    const double rough = largest / 5.0;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    const double share = rough / power;
    return power * (share < 1.5 ? 1.0 : share < 3.5 ? 2.0 : share < 7.5 ? 5.0 : 10.0);
}

std::string line(double x1, double y1, double x2, double y2, const std::string& color) {
    return fmt::format(
        "<line x1=\"{:.2f}\" y1=\"{:.2f}\" x2=\"{:.2f}\" y2=\"{:.2f}\" stroke=\"{}\"/>\n", x1, y1,
        x2, y2, color);
}

}  // namespace

DrawnTree::DrawnTree(const Engine::HC::Dendrogram& tree, std::vector<DrawnLeaf> leaves)
    : leaves_(std::move(leaves)) {
    const std::size_t count = tree.leaves.size();
    nodes_.resize(count);
    // The node that holds leaf number k, from 1, so far.
    std::vector<std::size_t> nodeOf(count + 1);
    for (std::size_t k = 0; k < count; ++k) {
        nodes_[k] = {.place = static_cast<double>(k + 1), .cluster = leaves_[k].cluster};
        nodeOf[static_cast<std::size_t>(tree.leaves[k])] = k;
    }
    for (const auto& [first, second, height] : tree.merges) {
        const std::size_t left = nodeOf[static_cast<std::size_t>(first)];
        const std::size_t right = nodeOf[static_cast<std::size_t>(second)];
        const bool within = nodes_[left].cluster == nodes_[right].cluster;
        nodeOf[static_cast<std::size_t>(first)] = nodes_.size();
        nodes_.push_back({.place = 0.5 * (nodes_[left].place + nodes_[right].place),
                          .height = height,
                          .left = left,
                          .right = right,
                          .cluster = within ? nodes_[left].cluster : 0});
    }
}

double DrawnTree::greatestHeight() const {
    double greatest = 0.0;
    for (const Node& node : nodes_) greatest = std::max(greatest, node.height);
    return greatest;
}

std::pair<Vector, Vector> DrawnTree::path() const {
    Vector places;
    Vector heights;
    const auto draw = [&](double place, double height) {
        places.push_back(place);
        heights.push_back(height);
    };
    /// A node, and how many of its sides have been drawn.
    std::vector<std::pair<std::size_t, int>> open{{nodes_.size() - 1, 0}};
    while (!open.empty()) {
        auto& [at, sides] = open.back();
        const Node& node = nodes_[at];
        if (sides > 0) draw(nodes_[sides == 1 ? node.left : node.right].place, node.height);
        if (isLeaf(at) || sides == 2) {
            draw(node.place, node.height);
            open.pop_back();
            continue;
        }
        if (sides == 0) draw(node.place, node.height);
        const std::size_t next = sides == 0 ? node.left : node.right;
        draw(nodes_[next].place, node.height);
        ++sides;
        open.emplace_back(next, 0);
    }
    return {std::move(places), std::move(heights)};
}

std::string DrawnTree::svg(const std::string& title) const {
    std::size_t longest = 0;
    for (const DrawnLeaf& leaf : leaves_) longest = std::max(longest, leaf.label.size());
    const double greatest = greatestHeight();
    const double bottom = kTop + kRowHeight * static_cast<double>(leaves_.size());
    const double width =
        2.0 * kMargin + kTreeWidth + 8.0 + kCharacterWidth * static_cast<double>(longest);
    const auto across = [&](double height) {
        const double share = greatest > 0.0 ? height / greatest : 0.0;
        return kMargin + kTreeWidth * (1.0 - share);
    };
    const auto down = [](double place) { return kTop + kRowHeight * (place - 0.5); };
    std::string text = fmt::format(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0:.0f}\" height=\"{1:.0f}\" "
        "viewBox=\"0 0 {0:.0f} {1:.0f}\" font-family=\"sans-serif\" font-size=\"12\">\n"
        "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
        "<text x=\"{2:.0f}\" y=\"24\" font-size=\"16\">{3}</text>\n",
        width, bottom + 56.0, kMargin, escaped(title));
    for (std::size_t k = 0; k < nodes_.size(); ++k) {
        const Node& node = nodes_[k];
        if (isLeaf(k)) {
            text += fmt::format("<text x=\"{:.2f}\" y=\"{:.2f}\" fill=\"{}\">{}</text>\n",
                                across(0.0) + 8.0, down(node.place) + 4.0, colorOf(node.cluster),
                                escaped(leaves_[k].label));
            continue;
        }
        const std::string color = colorOf(node.cluster);
        const double x = across(node.height);
        for (const std::size_t side : {node.left, node.right}) {
            const double y = down(nodes_[side].place);
            text += line(x, y, across(nodes_[side].height), y, colorOf(nodes_[side].cluster));
        }
        text += line(x, down(nodes_[node.left].place), x, down(nodes_[node.right].place), color);
    }
    const double axis = bottom + 8.0;
    text += line(across(greatest), axis, across(0.0), axis, "#404040");
    const double step = greatest > 0.0 ? tickStep(greatest) : 1.0;
    for (int k = 0; k * step <= greatest; ++k) {
        const double x = across(k * step);
        text += line(x, axis, x, axis + 5.0, "#404040");
        text += fmt::format("<text x=\"{:.2f}\" y=\"{:.2f}\" text-anchor=\"middle\">{:g}</text>\n",
                            x, axis + 19.0, k * step);
    }
    text += fmt::format("<text x=\"{:.2f}\" y=\"{:.2f}\" text-anchor=\"middle\">Distance</text>\n",
                        kMargin + 0.5 * kTreeWidth, axis + 37.0);
    return text + "</svg>\n";
}

}  // namespace Veltrix::Tool
