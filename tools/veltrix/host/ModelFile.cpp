#include "tools/veltrix/host/ModelFile.h"

#include <utility>

#include <fmt/format.h>

#include "support/Files.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

constexpr std::string_view kType = "veltrix model";

/// The family with what it scores; without a family when it scores nothing.
StoredModel scoring(std::unique_ptr<Family> family) {
    StoredModel stored;
    stored.records = dynamic_cast<RecordFamily*>(family.get());
    stored.documents = dynamic_cast<DocumentFamily*>(family.get());
    const bool scores = stored.records != nullptr || stored.documents != nullptr;
    if (scores && family->needs().stored && family->needs().scores) {
        stored.family = std::move(family);
    }
    return stored;
}

StoredModel makeScoring(const Support::JsonView& name) {
    std::unique_ptr<Family> family = makeFamily(name.asString());
    const bool known = family && family->needs().stored;
    StoredModel found = scoring(std::move(family));
    if (found.family) return found;
    std::string scorers;
    for (std::unique_ptr<Family>& each : makeFamilies()) {
        const std::string quoted = Tool::quoted(each->names().family);
        if (scoring(std::move(each)).family) scorers += (scorers.empty() ? "" : ", ") + quoted;
    }
    name.fail(fmt::format("{}{}, expected one of {}", Tool::quoted(name.asString()),
                          known ? ", which scores no records" : "", scorers));
}

/// What a model of records needs beside its own fields.
void checkRecords(const StoredModel& stored, const Support::JsonView& root) {
    const int columns = stored.records->numColumns();
    if (columns == 0) root.at("model").fail("not a fitted model");
    const std::size_t found = stored.coding.columnNames().size();
    if (found != static_cast<std::size_t>(columns)) {
        root.at(stored.coding.key()).fail(fmt::format("{} columns, expected {}", found, columns));
    }
}

StoredModel readRoot(const Support::JsonView& root) {
    Support::checkStored(root, kType);
    StoredModel stored = makeScoring(root.at("family"));
    if (stored.records != nullptr) {
        stored.target = root.at("target").asString();
        stored.coding = PredictorCoding(stored.family->needs().coding);
        stored.coding.read(root);
    }
    Support::StoredReader fields(root);
    stored.family->fields(fields);
    if (stored.records != nullptr) checkRecords(stored, root);
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
