#pragma once

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/Json.h"

namespace Veltrix::Testing {

/// Tables of a report printed as JSON.
class JsonReport {
  public:
    explicit JsonReport(const std::string& text)
        : document_(Support::JsonDocument::parse(text)), tables_(document_.root().at("tables")) {}

    Support::JsonView table(const std::string& title) const {
        for (std::int64_t k = 0; k < tables_.size(); ++k) {
            if (tables_.at(k).at("title").asString() == title) return tables_.at(k);
        }
        throw std::runtime_error("No table " + title);
    }

    /// The cells below a heading that are not empty.
    std::vector<double> column(const std::string& title, const std::string& heading) const {
        std::vector<double> values;
        for (const Support::JsonView& cell : cells(title, heading)) {
            values.push_back(cell.asDouble());
        }
        return values;
    }

    std::vector<std::string> texts(const std::string& title, const std::string& heading) const {
        std::vector<std::string> values;
        for (const Support::JsonView& cell : cells(title, heading)) {
            values.push_back(cell.asString());
        }
        return values;
    }

    double entry(const std::string& label) const {
        const Support::JsonView rows = table("Summary").at("rows");
        for (std::int64_t i = 0; i < rows.size(); ++i) {
            const auto row = rows.at(i);
            if (row.at(std::int64_t{0}).asString() == label) return row.at(1).asDouble();
        }
        throw std::runtime_error("No entry " + label);
    }

  private:
    std::vector<Support::JsonView> cells(const std::string& title,
                                         const std::string& heading) const {
        const Support::JsonView content = table(title);
        const std::vector<std::string> headings = content.at("columns").asStrings();
        const auto found = std::find(headings.begin(), headings.end(), heading);
        if (found == headings.end()) throw std::runtime_error("No column " + heading);
        std::vector<Support::JsonView> result;
        for (std::int64_t i = 0; i < content.at("rows").size(); ++i) {
            const auto cell = content.at("rows").at(i).at(found - headings.begin());
            if (!cell.isNull()) result.push_back(cell);
        }
        return result;
    }

    Support::JsonDocument document_;
    Support::JsonView tables_;
};

}  // namespace Veltrix::Testing
