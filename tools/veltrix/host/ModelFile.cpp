#include "tools/veltrix/host/ModelFile.h"

#include <utility>

#include <fmt/format.h>

#include "support/Files.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

constexpr std::string_view kType = "veltrix model";

std::unique_ptr<Family> makeStored(const Support::JsonView& name) {
    std::unique_ptr<Family> family = makeFamily(name.asString());
    if (family && family->needs().stored) return family;
    std::string known;
    for (const std::unique_ptr<Family>& each : makeFamilies()) {
        if (!each->needs().stored) continue;
        known += (known.empty() ? "" : ", ") + Tool::quoted(each->names().family);
    }
    name.fail(fmt::format("{}, expected one of {}", Tool::quoted(name.asString()), known));
}

StoredModel readRoot(const Support::JsonView& root) {
    Support::checkStored(root, kType);
    StoredModel stored;
    stored.family = makeStored(root.at("family"));
    Family& family = *stored.family;
    stored.target = root.at("target").asString();
    stored.coding = PredictorCoding(family.needs().coding);
    stored.coding.read(root);
    Support::StoredReader fields(root);
    family.fields(fields);
    if (family.numColumns() == 0) root.at("model").fail("not a fitted model");
    const std::size_t found = stored.coding.columnNames().size();
    if (found != static_cast<std::size_t>(family.numColumns())) {
        root.at(stored.coding.key())
            .fail(fmt::format("{} columns, expected {}", found, family.numColumns()));
    }
    return stored;
}

}  // namespace

std::string writeModel(const std::string& target, const PredictorCoding& coding,
                       const Family& family) {
    Support::JsonWriter writer;
    Support::beginStored(writer, kType)
        .member("family", std::string_view(family.names().family))
        .member("target", target);
    coding.write(writer);
    Support::StoredWriter fields(writer);
    family.fields(fields);
    writer.endObject();
    return writer.take() + "\n";
}

StoredModel readModel(const std::string& path) {
    try {
        const std::string text = Support::readFile(path);
        return readRoot(Support::JsonDocument::parse(text).root());
    } catch (const Support::JsonError& error) {
        throw UserError(fmt::format("--model: {}: {}", Tool::quoted(path), error.what()));
    } catch (const Support::FileError& error) {
        throw UserError(std::string("--model: ") + error.what());
    }
}

}  // namespace Veltrix::Tool
