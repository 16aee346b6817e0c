#include "tools/veltrix/ModelFile.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "Veltrix/Data/Exception.h"
#include "support/Files.h"
#include "support/Json.h"
#include "tools/veltrix/UserError.h"

namespace Veltrix::Tool {

namespace {

constexpr std::string_view kType = "veltrix model";
constexpr std::string_view kFamily = "linear regression";

void expectText(const Support::JsonView& value, std::string_view expected) {
    if (value.asString() == expected) return;
    value.fail(
        fmt::format("{}, expected {}", Tool::quoted(value.asString()), Tool::quoted(expected)));
}

void readPart(JSON::StringImportable& object, const Support::JsonView& part) {
    try {
        object.fromJsonString(WString::fromUtf8(part.toJson()));
    } catch (const Exception& error) {
        part.fail(error.what());
    }
}

PredictorCoding readCoding(const Support::JsonView& root) {
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
    return PredictorCoding(std::move(predictors), std::move(levels));
}

StoredRegression readParts(const Support::JsonView& root) {
    Support::checkStored(root, kType);
    expectText(root.at("family"), kFamily);
    StoredRegression stored;
    stored.target = root.at("target").asString();
    stored.coding = readCoding(root);
    const Support::JsonView intercept = root.at("intercept");
    readPart(stored.model, root.at("model"));
    if (!stored.model.isFitted()) root.at("model").fail("not a fitted model");
    if (intercept.asBool() != stored.model.hasIntercept()) {
        intercept.fail("another value than the model's");
    }
    const auto columns = static_cast<std::uint64_t>(stored.model.getNumCols());
    const std::uint64_t expected = columns - (stored.model.hasIntercept() ? 1 : 0);
    const std::size_t found = stored.coding.columnNames().size();
    if (found != expected) {
        root.at("predictors").fail(fmt::format("{} columns, expected {}", found, expected));
    }
    return stored;
}

}  // namespace

std::string writeModel(const StoredRegression& stored) {
    Support::JsonWriter writer;
    Support::beginStored(writer, kType)
        .member("family", kFamily)
        .member("target", stored.target)
        .member("predictors", stored.coding.predictors())
        .member("intercept", stored.model.hasIntercept());
    writer.key("levels").json(stored.coding.levels().toJson().toUtf8());
    writer.key("model").json(stored.model.toJson().toUtf8()).endObject();
    return writer.take() + "\n";
}

StoredRegression readModel(const std::string& path) {
    try {
        const std::string text = Support::readFile(path);
        return readParts(Support::JsonDocument::parse(text).root());
    } catch (const Support::JsonError& error) {
        throw UserError(fmt::format("--model: {}: {}", Tool::quoted(path), error.what()));
    } catch (const Support::FileError& error) {
        throw UserError(std::string("--model: ") + error.what());
    }
}

}  // namespace Veltrix::Tool
