#include "tools/veltrix/host/StoredModel.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Data/Exception.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

StoredModel::~StoredModel() = default;

void expectText(const Support::JsonView& value, std::string_view expected) {
    if (value.asString() == expected) return;
    value.fail(
        fmt::format("{}, expected {}", Tool::quoted(value.asString()), Tool::quoted(expected)));
}

bool readChoice(const Support::JsonView& value, const char* first, const char* second) {
    if (value.asString() == first) return true;
    expectText(value, second);
    return false;
}

void readPart(JSON::StringImportable& object, const Support::JsonView& part) {
    try {
        object.fromJsonString(WString::fromUtf8(part.toJson()));
    } catch (const Exception& error) {
        part.fail(error.what());
    }
}

CsvOptions StoredCodedModel::csvOptions() const {
    // Levels are compared as they are written, also when all of them look like numbers.
    CsvOptions options;
    for (const auto& [column, levels] : coding_.levels().getMapping()) {
        options.textColumns.push_back(column.toUtf8());
    }
    return options;
}

std::vector<UsedColumn> StoredCodedModel::usedForScoring(const std::string& option) const {
    return coding_.usedForScoring(option);
}

void StoredCodedModel::writeCoding(Support::JsonWriter& writer) const {
    writer.member("predictors", coding_.predictors());
    writer.key("levels").json(coding_.levels().toJson().toUtf8());
}

void StoredCodedModel::readCoding(const Support::JsonView& root, LevelColumns levelColumns) {
    std::vector<std::string> predictors = root.at("predictors").asStrings();
    const Support::JsonView part = root.at("levels");
    Engine::Encoder levels;
    readPart(levels, part);
    for (const auto& [column, categories] : levels.getMapping()) {
        const std::string name = column.toUtf8();
        if (std::ranges::find(predictors, name) == predictors.end()) {
            part.fail(fmt::format("column {} is no predictor", Tool::quoted(name)));
        }
        if (categories.empty()) part.fail(fmt::format("no level of {}", Tool::quoted(name)));
    }
    coding_ = PredictorCoding(std::move(predictors), levelColumns, std::move(levels));
}

void StoredCodedModel::expectColumns(const Support::JsonView& root, std::size_t expected) const {
    const std::size_t found = coding_.columnNames().size();
    if (found == expected) return;
    root.at("predictors").fail(fmt::format("{} columns, expected {}", found, expected));
}

}  // namespace Veltrix::Tool
