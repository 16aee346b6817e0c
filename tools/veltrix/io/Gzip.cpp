#include "tools/veltrix/io/Gzip.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <new>

#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

/// The state of the unpacking library, which works on bytes of its own kind.
class Inflater {
  public:
    explicit Inflater(std::string_view bytes) : left_(bytes) {
        constexpr int kGzipOnly = 16;
        if (inflateInit2(&stream_, kGzipOnly + MAX_WBITS) != Z_OK) throw std::bad_alloc();
    }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;
    ~Inflater() { inflateEnd(&stream_); }

    /// Appends what the next bytes hold; false when they are damaged or end too early.
    bool step(std::string& text) {
        if (stream_.avail_in == 0) {
            const std::size_t most = std::numeric_limits<uInt>::max();
            const std::string_view part = left_.substr(0, most);
            // The library takes bytes that it does not change through a pointer that could.
            stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(part.data()));
            stream_.avail_in = static_cast<uInt>(part.size());
            left_.remove_prefix(part.size());
        }
        stream_.next_out = buffer_.data();
        stream_.avail_out = static_cast<uInt>(buffer_.size());
        const int status = inflate(&stream_, Z_NO_FLUSH);
        if (status == Z_MEM_ERROR) throw std::bad_alloc();
        const std::size_t count = buffer_.size() - stream_.avail_out;
        text.append(reinterpret_cast<const char*>(buffer_.data()), count);
        ended_ = status == Z_STREAM_END;
        return ended_ ? nextMember() : status == Z_OK;
    }

    bool finished() const { return ended_ && stream_.avail_in == 0 && left_.empty(); }

  private:
    bool nextMember() { return finished() || inflateReset(&stream_) == Z_OK; }

    std::string_view left_;
    z_stream stream_{};
    std::array<Bytef, 1U << 16U> buffer_{};
    bool ended_ = false;
};

}  // namespace

bool isGzip(std::string_view bytes) { return bytes.starts_with("\x1F\x8B"); }

std::string inflated(const std::string& file, std::string_view bytes) {
    Inflater inflater(bytes);
    std::string text;
    while (!inflater.finished()) {
        if (!inflater.step(text)) {
            throw UserError(file + ": damaged or cut data where a file packed by gzip goes on");
        }
    }
    return text;
}

}  // namespace Veltrix::Tool
