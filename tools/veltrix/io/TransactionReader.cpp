#include "tools/veltrix/io/TransactionReader.h"

#include <algorithm>
#include <numeric>
#include <string_view>

#include <fmt/format.h>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/Progress.h"
#include "support/Files.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/Encoding.h"
#include "tools/veltrix/io/TextLines.h"
#include "tools/veltrix/io/TextPool.h"

namespace Veltrix::Tool {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view withoutBlanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

/// The names of one line after another, numbered as they come.
class LineReader {
  public:
    LineReader(const std::string& file, char separator) : file_(file), separator_(separator) {}

    /// The numbers of the names in the line, with repetitions.
    const std::vector<int>& read(std::string_view line) {
        ++number_;
        items_.clear();
        for (std::size_t start = 0; start <= line.size();) {
            const std::size_t quote = line.find_first_not_of(kBlanks, start);
            const bool quoted = quote != std::string_view::npos && line[quote] == '"';
            const std::size_t end = quoted ? readQuoted(line, quote)
                                           : std::min(line.find(separator_, start), line.size());
            const std::string_view name =
                quoted ? std::string_view(name_) : withoutBlanks(line.substr(start, end - start));
            if (!name.empty()) items_.push_back(names_.add(name));
            if (static_cast<std::size_t>(names_.texts().size()) > firstLines_.size()) {
                firstLines_.push_back(number_);
            }
            start = end + 1;
        }
        return items_;
    }

    const TextPool& names() const { return names_; }
    std::string place(std::size_t name) const {
        return fmt::format("{}: line {}", file_, firstLines_[name]);
    }

  private:
    /// Takes what stands between quotation marks into `name_`; returns where the separator behind
    /// stands, or the end of the line.
    std::size_t readQuoted(std::string_view line, std::size_t quote) {
        name_.clear();
        std::size_t place = quote + 1;
        for (;; place += 2) {
            const std::size_t end = line.find('"', place);
            if (end == std::string_view::npos) failQuotes();
            name_ += line.substr(place, end - place);
            place = end;
            if (line.substr(end + 1, 1) != "\"") break;
            name_ += '"';
        }
        const std::size_t end = std::min(line.find(separator_, place), line.size());
        if (!withoutBlanks(line.substr(place + 1, end - place - 1)).empty()) failQuotes();
        return end;
    }

    [[noreturn]] void failQuotes() const {
        throw UserError(fmt::format(
            "{}: line {}: misplaced or unclosed quotation mark; a quoted name begins and ends with "
            "one, and has them doubled inside",
            file_, number_));
    }

    const std::string& file_;
    char separator_;
    std::int64_t number_ = 0;
    std::vector<int> items_;
    std::string name_;
    TextPool names_;
    std::vector<std::int64_t> firstLines_;  ///< by name
};

/// All lines, their names by the numbers in which they came.
struct Lists {
    std::vector<int> items;
    std::vector<std::size_t> ends;
};

Lists readLists(std::string_view text, LineReader& reader) {
    Lists lists;
    ProgressPhase phase("Reading", text.size());
    TextLines lines(text);
    for (std::string_view line = lines.next(); !line.empty(); line = lines.next()) {
        const std::vector<int>& items =
            reader.read(line.substr(0, line.find_last_not_of("\r\n") + 1));
        lists.items.insert(lists.items.end(), items.begin(), items.end());
        lists.ends.push_back(lists.items.size());
        phase.advance(line.size());
    }
    return lists;
}

}  // namespace

ReadTransactions readTransactions(const std::string& path, char separator) {
    const std::string file = oneLine(path);
    const std::string bytes = readCells(path);
    LineReader reader(file, separator);
    const Lists lists = readLists(checkedText(file, bytes), reader);
    if (lists.ends.empty()) throw UserError(file + ": empty, expected a transaction a line");

    const std::vector<std::string_view>& texts = reader.names().texts();
    std::vector<std::size_t> order(texts.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::sort(order, {}, [&](std::size_t name) { return texts[name]; });
    std::vector<std::uint64_t> place(texts.size());
    std::vector<std::wstring> names;
    for (const std::size_t name : order) {
        place[name] = names.size();
        names.push_back(decode(texts[name], [&] { return reader.place(name); }).str());
    }
    ReadTransactions result{Engine::AR::Data(std::move(names)), 0};
    std::vector<std::uint64_t> items;
    std::size_t start = 0;
    for (const std::size_t end : lists.ends) {
        items.clear();
        for (; start < end; ++start) {
            items.push_back(place[static_cast<std::size_t>(lists.items[start])]);
        }
        result.data.append(items);
    }
    result.repeated = static_cast<std::int64_t>(lists.items.size()) -
                      static_cast<std::int64_t>(result.data.getOccurrences().size());
    return result;
}

}  // namespace Veltrix::Tool
