#include "tools/veltrix/host/ModelFile.h"

#include <utility>

#include <fmt/format.h>

#include "support/Files.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

constexpr std::string_view kType = "veltrix model";

/// The family as one that scores; none when it does not.
std::unique_ptr<RecordFamily> scoring(std::unique_ptr<Family> family) {
    auto* const records = dynamic_cast<RecordFamily*>(family.get());
    if (records == nullptr || !family->needs().stored || !family->needs().scores) return nullptr;
    static_cast<void>(family.release());
    return std::unique_ptr<RecordFamily>(records);
}

std::unique_ptr<RecordFamily> makeScoring(const Support::JsonView& name) {
    std::unique_ptr<Family> family = makeFamily(name.asString());
    const bool known = family && family->needs().stored;
    if (std::unique_ptr<RecordFamily> found = scoring(std::move(family))) return found;
    std::string scorers;
    for (std::unique_ptr<Family>& each : makeFamilies()) {
        const std::string quoted = Tool::quoted(each->names().family);
        if (scoring(std::move(each))) scorers += (scorers.empty() ? "" : ", ") + quoted;
    }
    name.fail(fmt::format("{}{}, expected one of {}", Tool::quoted(name.asString()),
                          known ? ", which scores no records" : "", scorers));
}

StoredModel readRoot(const Support::JsonView& root) {
    Support::checkStored(root, kType);
    StoredModel stored;
    stored.family = makeScoring(root.at("family"));
    RecordFamily& family = *stored.family;
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

/// `writeInput` writes what the model was fitted to.
template <class WriteInput>
std::string write(const Family& family, const WriteInput& writeInput) {
    Support::JsonWriter writer;
    Support::beginStored(writer, kType).member("family", std::string_view(family.names().family));
    writeInput(writer);
    Support::StoredWriter fields(writer);
    family.fields(fields);
    writer.endObject();
    return writer.take() + "\n";
}

}  // namespace

std::string writeModel(const std::string& target, const PredictorCoding& coding,
                       const Family& family) {
    return write(family, [&](Support::JsonWriter& writer) {
        writer.member("target", target);
        coding.write(writer);
    });
}

std::string writeModel(const Family& family) {
    return write(family, [](Support::JsonWriter& /*writer*/) {});
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
