// The records of any text are those that libcsv finds in its strict mode, or a fault for both.
#include <csv.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/fuzz/FuzzInput.h"
#include "tools/veltrix/io/CsvScanner.h"

namespace {

using namespace Veltrix;

using Records = std::vector<std::vector<std::string>>;

std::optional<Records> scanned(std::string_view text, char delimiter) {
    Records records;
    Tool::CsvScanner scanner(text, delimiter, text.size());
    try {
        while (scanner.nextRow()) {
            records.emplace_back();
            do records.back().emplace_back(scanner.cell());
            while (!scanner.rowEnded());
        }
    } catch (const Tool::CsvFault&) {
        return {};
    }
    return records;
}

struct Collected {
    Records records;
    std::vector<std::string> open;
};

std::optional<Records> parsedByLibrary(std::string_view text, char delimiter) {
    csv_parser parser{};
    csv_init(&parser, CSV_STRICT | CSV_STRICT_FINI);
    csv_set_delim(&parser, static_cast<unsigned char>(delimiter));
    Collected collected;
    const auto onCell = [](void* content, std::size_t size, void* self) {
        static_cast<Collected*>(self)->open.emplace_back(static_cast<const char*>(content), size);
    };
    const auto onEnd = [](int /*character*/, void* self) {
        auto& all = *static_cast<Collected*>(self);
        all.records.push_back(std::move(all.open));
        all.open.clear();
    };
    const bool sound =
        csv_parse(&parser, text.data(), text.size(), onCell, onEnd, &collected) == text.size() &&
        csv_fini(&parser, onCell, onEnd, &collected) == 0;
    csv_free(&parser);
    if (!sound) return {};
    return collected.records;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = Fuzz::textOf(data, size);
    const char delimiter = text.starts_with(';') ? ';' : text.starts_with('\t') ? '\t' : ',';
    Fuzz::require(scanned(text, delimiter) == parsedByLibrary(text, delimiter),
                  "libcsv finds the same records");
    return 0;
}
