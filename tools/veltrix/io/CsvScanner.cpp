#include "tools/veltrix/io/CsvScanner.h"

#include <algorithm>
#include <cstring>

namespace Veltrix::Tool {

bool CsvScanner::nextRow(bool blankRows) {
    for (row_ = next_; row_ != end_; row_ = next_) {
        const char* const first = skipBlanks(row_);
        if (blankRows || (first != end_ && *first != '\n' && *first != '\r')) return true;
        next_ = behindLineEnd(first);
    }
    return false;
}

std::string_view CsvScanner::quotedCell(const char* start) {
    const auto room = static_cast<std::size_t>(end_ - row_);
    // A mark that nothing closes would make the rest of the text one cell.
    const char* const limit = row_ + std::min(room, mostBytes_);
    unquoted_.clear();
    for (const char* from = start;;) {
        const char* mark = nullptr;
        if (from < limit) {
            mark = static_cast<const char*>(
                std::memchr(from, '"', static_cast<std::size_t>(limit - from)));
        }
        if (mark == nullptr) {
            throw CsvFault(limit == end_ ? CsvFault::Kind::Quotation : CsvFault::Kind::Length);
        }
        if (mark + 1 != end_ && mark[1] == '"') {
            unquoted_.append(from, mark + 1);
            from = mark + 2;
            continue;
        }
        const char* const stop = skipBlanks(mark + 1);
        if (stop != end_ && stops_[static_cast<unsigned char>(*stop)] == 0) {
            throw CsvFault(CsvFault::Kind::Quotation);
        }
        finish(stop);
        if (unquoted_.empty()) return {from, static_cast<std::size_t>(mark - from)};
        unquoted_.append(from, mark);
        return unquoted_;
    }
}

}  // namespace Veltrix::Tool
