#include "bench/yardstick/Store.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace Veltrix::Yardstick {

Store::Store(std::string directory) : directory_(std::move(directory)) {
    std::ifstream manifest(directory_ + "/manifest.csv");
    std::string line;
    while (std::getline(manifest, line)) {
        std::istringstream cells(line);
        std::string file;
        std::string rows;
        std::string columns;
        std::getline(cells, file, ',');
        std::getline(cells, rows, ',');
        std::getline(cells, columns);
        if (file != "file") shapes_[file] = {std::stoi(rows), std::stoi(columns)};
    }
    if (shapes_.empty()) throw std::runtime_error("No manifest.csv in " + directory_);
}

Matrix Store::matrix(const std::string& file) const {
    const auto [rows, columns] = shape(file);
    Matrix result(rows, columns, MatrixOrderType::columnMajor);
    read(file, result.data(),
         sizeof(double) * static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns));
    return result;
}

Matrix Store::matrixByRows(const std::string& file) const {
    const Matrix columns = matrix(file);
    Matrix result(columns.getNumRows(), columns.getNumCols(), MatrixOrderType::rowMajor);
    for (int i = 0; i < result.getNumRows(); ++i) {
        for (int j = 0; j < result.getNumCols(); ++j) result(i, j) = columns(i, j);
    }
    return result;
}

Vector Store::vector(const std::string& file) const { return matrix(file).getAsDoubleVector(); }

IntVector Store::integers(const std::string& file) const {
    const auto [rows, columns] = shape(file);
    IntVector result(static_cast<std::uint64_t>(rows) * static_cast<std::uint64_t>(columns));
    read(file, result.data(), sizeof(int) * result.size());
    return result;
}

std::pair<int, int> Store::shape(const std::string& file) const {
    const auto found = shapes_.find(file);
    if (found == shapes_.end()) throw std::runtime_error("Not in the manifest: " + file);
    return found->second;
}

void Store::read(const std::string& file, void* target, std::size_t bytes) const {
    std::ifstream stream(directory_ + "/" + file, std::ios::binary);
    stream.read(static_cast<char*>(target), static_cast<std::streamsize>(bytes));
    if (!stream) throw std::runtime_error("Cannot read all of " + file);
}

std::vector<std::vector<std::uint64_t>> Store::lists(const std::string& file) const {
    std::ifstream in(directory_ + "/" + file);
    if (!in) throw std::runtime_error("no file " + file);
    std::vector<std::vector<std::uint64_t>> all;
    for (std::string line; std::getline(in, line);) {
        std::istringstream numbers(line);
        all.emplace_back();
        for (std::uint64_t number = 0; numbers >> number;) all.back().push_back(number);
    }
    return all;
}

StringVector Store::texts(const std::string& file, char separator) const {
    std::ifstream in(directory_ + "/" + file, std::ios::binary);
    if (!in) throw std::runtime_error("no file " + file);
    StringVector all;
    for (std::string text; std::getline(in, text, separator);) {
        all.push_back(WString::fromUtf8(text));
    }
    return all;
}

}  // namespace Veltrix::Yardstick
