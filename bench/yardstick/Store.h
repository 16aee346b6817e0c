#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"

namespace Veltrix::Yardstick {

/// Reads the workloads' files: little-endian column-major doubles (.f64) and signed 32-bit integers
/// (.i32) without header, whose shapes stand in manifest.csv (file, rows, columns).
class Store {
  public:
    explicit Store(std::string directory);

    Matrix matrix(const std::string& file) const;
    /// The same values in row-major order.
    Matrix matrixByRows(const std::string& file) const;
    Vector vector(const std::string& file) const;
    IntVector integers(const std::string& file) const;
    /// Whole numbers from 0 on, a list a line.
    std::vector<std::vector<std::uint64_t>> lists(const std::string& file) const;
    /// UTF-8 texts between separators; one at the end of the file ends the last text.
    StringVector texts(const std::string& file, char separator) const;

  private:
    std::pair<int, int> shape(const std::string& file) const;
    void read(const std::string& file, void* target, std::size_t bytes) const;

    std::string directory_;
    std::map<std::string, std::pair<int, int>> shapes_;
};

}  // namespace Veltrix::Yardstick
