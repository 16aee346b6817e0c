#pragma once

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <limits>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/NumberText.h"
#include "tests/support/Paths.h"

namespace Veltrix::Testing {

/// Rows of numbers as read from a file.
struct Table {
    std::size_t rows = 0;
    std::size_t columns = 0;
    std::vector<double> values;  ///< row after row

    double operator()(std::size_t i, std::size_t j) const { return values.at(i * columns + j); }
};

namespace Detail {

inline std::vector<std::string> readLines(const std::string& name) {
    std::ifstream file(std::string(kTestData) + "/" + name);
    if (!file) throw std::runtime_error("No test data file " + name);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty()) lines.push_back(line);
    }
    return lines;
}

/// Splits at commas into at most `parts` cells.
inline std::vector<std::string> splitCells(const std::string& line, std::size_t parts) {
    std::vector<std::string> cells;
    std::size_t start = 0;
    while (cells.size() + 1 < parts) {
        const std::size_t comma = line.find(',', start);
        if (comma == std::string::npos) break;
        cells.push_back(line.substr(start, comma - start));
        start = comma + 1;
    }
    cells.push_back(line.substr(start));
    return cells;
}

inline double toNumber(const std::string& cell, const std::string& where) {
    const auto value = Support::parseNumber(std::string_view(cell));
    if (!value) throw std::runtime_error("No number: \"" + cell + "\" in " + where);
    return *value;
}

}  // namespace Detail

/// Reference results, `quantity,i,j,value` a line, looked up by quantity. Everything that is asked
/// for and not in the file throws, so that a misspelt name cannot pass a test.
class ReferenceData {
  public:
    /// `name` is the file below the test data folder without ".flat.csv": "learners/longley.ols".
    explicit ReferenceData(const std::string& name) : name_(name) {
        std::map<std::string, Elements> entries;
        const std::vector<std::string> lines = Detail::readLines(name + ".flat.csv");
        for (std::size_t k = 1; k < lines.size(); ++k) {
            const std::vector<std::string> cells = Detail::splitCells(lines[k], 4);
            if (cells.size() != 4) throw std::runtime_error(name + ": not 4 cells: " + lines[k]);
            entries[cells[0]][{std::stoul(cells[1]), std::stoul(cells[2])}] = cells[3];
        }
        entries_ = std::make_shared<const std::map<std::string, Elements>>(std::move(entries));
    }

    bool has(const std::string& quantity) const { return entries_->count(prefix_ + quantity) != 0; }

    /// The quantities NAME.…, called by what follows.
    ReferenceData part(const std::string& name) const {
        ReferenceData part = *this;
        part.prefix_ += name + ".";
        return part;
    }
    /// The parts LIST.0, LIST.1, … as long as they have the quantity; at least one.
    std::vector<ReferenceData> parts(const std::string& list, const std::string& quantity) const {
        std::vector<ReferenceData> all{part(list + ".0")};
        for (find(list + ".0." + quantity); all.back().has(quantity);) {
            all.push_back(part(list + "." + std::to_string(all.size())));
        }
        all.pop_back();
        return all;
    }

    /// The only element of a quantity.
    std::string text(const std::string& quantity) const {
        const Elements& elements = find(quantity);
        if (elements.size() != 1) fail(quantity, "has several elements");
        return elements.begin()->second;
    }

    double scalar(const std::string& quantity) const {
        return Detail::toNumber(text(quantity), name_ + " " + quantity);
    }
    int integer(const std::string& quantity) const { return static_cast<int>(scalar(quantity)); }

    /// The elements (i, 0) in order. Lists without elements have no line, so they are absent like
    /// a misspelt name: ask `has` first where a list may be empty.
    std::vector<std::string> texts(const std::string& quantity) const {
        std::vector<std::string> result;
        for (const auto& [index, value] : find(quantity)) {
            if (index != Index(result.size(), 0)) fail(quantity, "is no gapless list");
            result.push_back(value);
        }
        return result;
    }

    std::vector<double> vector(const std::string& quantity) const {
        std::vector<double> result;
        for (const std::string& cell : texts(quantity)) {
            result.push_back(Detail::toNumber(cell, name_ + " " + quantity));
        }
        return result;
    }

    /// The elements (i, j); all of them must be there.
    Table matrix(const std::string& quantity) const {
        const Elements& elements = find(quantity);
        Table table;
        for (const auto& [index, value] : elements) {
            table.rows = std::max(table.rows, index.first + 1);
            table.columns = std::max(table.columns, index.second + 1);
            table.values.push_back(Detail::toNumber(value, name_ + " " + quantity));
        }
        if (table.values.size() != table.rows * table.columns) fail(quantity, "has gaps");
        return table;
    }

    /// The elements row after row, where rows may have different lengths.
    std::vector<double> flattened(const std::string& quantity) const {
        std::vector<double> result;
        for (const std::string& value : flattenedTexts(quantity)) {
            result.push_back(Detail::toNumber(value, name_ + " " + quantity));
        }
        return result;
    }
    std::vector<std::string> flattenedTexts(const std::string& quantity) const {
        std::vector<std::string> result;
        for (const auto& element : find(quantity)) result.push_back(element.second);
        return result;
    }

  private:
    using Index = std::pair<std::size_t, std::size_t>;
    using Elements = std::map<Index, std::string>;  // ordered row after row

    [[noreturn]] void fail(const std::string& quantity, const std::string& problem) const {
        throw std::runtime_error(name_ + ": \"" + prefix_ + quantity + "\" " + problem);
    }

    const Elements& find(const std::string& quantity) const {
        const auto found = entries_->find(prefix_ + quantity);
        if (found == entries_->end()) fail(quantity, "is missing");
        return found->second;
    }

    std::string name_;
    std::string prefix_;
    std::shared_ptr<const std::map<std::string, Elements>> entries_;
};

/// A data file with a header line, read by column.
class CsvData {
  public:
    /// `name` is the file below the test data folder: "learners/longley.csv".
    explicit CsvData(const std::string& name) : name_(name) {
        const std::vector<std::string> lines = Detail::readLines(name);
        constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();
        header_ = Detail::splitCells(lines.at(0), kAll);
        for (std::size_t k = 1; k < lines.size(); ++k) {
            rows_.push_back(Detail::splitCells(lines[k], kAll));
            if (rows_.back().size() != header_.size()) {
                throw std::runtime_error(name + ": wrong number of cells: " + lines[k]);
            }
        }
    }

    const std::vector<std::string>& header() const { return header_; }
    std::size_t rows() const { return rows_.size(); }

    std::vector<std::string> texts(const std::string& column) const {
        const auto found = std::find(header_.begin(), header_.end(), column);
        if (found == header_.end()) throw std::runtime_error(name_ + ": no column " + column);
        std::vector<std::string> result;
        for (const auto& row : rows_) {
            result.push_back(row[static_cast<std::size_t>(found - header_.begin())]);
        }
        return result;
    }

    std::vector<double> numbers(const std::string& column) const {
        std::vector<double> result;
        for (const std::string& cell : texts(column)) {
            result.push_back(Detail::toNumber(cell, name_ + " " + column));
        }
        return result;
    }

  private:
    std::string name_;
    std::vector<std::string> header_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace Veltrix::Testing
