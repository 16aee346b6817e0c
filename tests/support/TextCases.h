#pragma once

#include <cstddef>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Veltrix/Data/WString.h"
#include "tests/support/Paths.h"

namespace Veltrix::Testing {

/// Lists of texts by key: `key <TAB> count <TAB> values`, where values hold a backslash before t,
/// n, r and itself. What is asked for and not in the file throws, so that a misspelt key cannot
/// pass a test.
class TextCases {
  public:
    /// `name` is the file below the test data folder.
    explicit TextCases(const std::string& name) : name_(name) {
        std::ifstream file(std::string(kTestData) + "/" + name);
        if (!file) throw std::runtime_error("No test data file " + name);
        for (std::string line; std::getline(file, line);) {
            std::vector<std::string> cells = split(line);
            if (cells.size() < 2) throw std::runtime_error(name + ": no list: " + line);
            const auto size = static_cast<std::size_t>(std::stoul(cells[1]));
            // An empty value at the end and no value at all look alike but for the count.
            if (size == 0) cells.resize(2);
            if (cells.size() != size + 2) throw std::runtime_error(name + ": wrong size: " + line);
            auto& list = lists_[cells[0]];
            for (std::size_t k = 2; k < cells.size(); ++k) {
                list.push_back(WString::fromUtf8(cells[k]).str());
            }
        }
    }

    bool has(const std::string& key) const { return lists_.count(key) != 0; }
    const std::vector<std::wstring>& list(const std::string& key) const {
        const auto found = lists_.find(key);
        if (found == lists_.end()) throw std::runtime_error(name_ + ": no " + key);
        return found->second;
    }
    std::vector<double> numbers(const std::string& key) const {
        std::vector<double> result;
        for (const std::wstring& text : list(key)) result.push_back(std::stod(text));
        return result;
    }
    /// What stands behind `prefix` in the keys that start with it, with the first value.
    std::map<std::string, std::wstring> firstsBelow(const std::string& prefix) const {
        std::map<std::string, std::wstring> result;
        for (auto entry = lists_.lower_bound(prefix);
             entry != lists_.end() && entry->first.rfind(prefix, 0) == 0; ++entry) {
            result[entry->first.substr(prefix.size())] = entry->second.at(0);
        }
        return result;
    }
    /// The parts before the first `suffix` of the keys that have it: the names of the cases.
    std::vector<std::string> casesWith(const std::string& suffix) const {
        std::vector<std::string> result;
        for (const auto& entry : lists_) {
            const std::string& key = entry.first;
            if (key.size() > suffix.size() &&
                key.compare(key.size() - suffix.size(), suffix.size(), suffix) == 0) {
                result.push_back(key.substr(0, key.size() - suffix.size()));
            }
        }
        return result;
    }

  private:
    static std::vector<std::string> split(const std::string& line) {
        std::vector<std::string> cells(1);
        for (std::size_t i = 0; i < line.size(); ++i) {
            if (line[i] == '\t') {
                cells.emplace_back();
            } else if (line[i] == '\\' && i + 1 < line.size()) {
                const char code = line[++i];
                cells.back() += code == 't' ? '\t' : code == 'n' ? '\n' : code == 'r' ? '\r' : code;
            } else {
                cells.back() += line[i];
            }
        }
        return cells;
    }

    std::string name_;
    std::map<std::string, std::vector<std::wstring>> lists_;
};

}  // namespace Veltrix::Testing
