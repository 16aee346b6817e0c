#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/NumberText.h"
#include "tests/support/ReferenceData.h"

namespace Veltrix::Testing {

/// Reference results for series: `case.quantity`, the number of values and the values, divided by
/// tabs. What is asked for and not in the file throws.
class SeriesReference {
  public:
    /// `name` is the file below the folder of the series data: "acvf_pacf".
    explicit SeriesReference(const std::string& name) : name_(name) {
        for (const std::string& line : Detail::readLines("timeseries/" + name + ".txt")) {
            std::istringstream cells(line);
            std::string key;
            std::string count;
            std::getline(cells, key, '\t');
            std::getline(cells, count, '\t');
            std::vector<std::string>& values = entries_[key];
            for (std::string cell; std::getline(cells, cell, '\t');) values.push_back(cell);
            if (values.size() != std::stoul(count)) throw std::runtime_error(name + ": " + key);
            cases_.insert(key.substr(0, key.find('.')));
        }
    }

    const std::set<std::string>& cases() const { return cases_; }

    std::string text(const std::string& key) const { return find(key).at(0); }

    std::vector<double> vector(const std::string& key) const {
        std::vector<double> values;
        for (const std::string& cell : find(key)) values.push_back(Detail::toNumber(cell, key));
        return values;
    }

    double scalar(const std::string& key) const { return vector(key).at(0); }
    std::size_t count(const std::string& key) const { return std::stoul(text(key)); }

  private:
    const std::vector<std::string>& find(const std::string& key) const {
        const auto found = entries_.find(key);
        if (found == entries_.end()) throw std::runtime_error(name_ + ": no " + key);
        return found->second;
    }

    std::string name_;
    std::map<std::string, std::vector<std::string>> entries_;
    std::set<std::string> cases_;
};

/// The values of a data set.
inline std::vector<double> readSeries(const std::string& name) {
    return CsvData("timeseries/series/" + name + ".csv").numbers("x");
}

}  // namespace Veltrix::Testing
