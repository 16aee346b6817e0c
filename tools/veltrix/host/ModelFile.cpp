#include "tools/veltrix/host/ModelFile.h"

#include <utility>
#include <vector>

#include <fmt/format.h>

#include "support/Files.h"
#include "support/Json.h"
#include "tools/veltrix/families/StoredKMeans.h"
#include "tools/veltrix/families/StoredKnn.h"
#include "tools/veltrix/families/StoredRegression.h"
#include "tools/veltrix/families/StoredTree.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

constexpr std::string_view kType = "veltrix model";

/// An empty model of each family.
std::vector<std::unique_ptr<StoredModel>> makeFamilies() {
    std::vector<std::unique_ptr<StoredModel>> families;
    families.push_back(std::make_unique<StoredRegression>());
    families.push_back(std::make_unique<StoredKnn>());
    families.push_back(std::make_unique<StoredTree>());
    families.push_back(std::make_unique<StoredKMeans>());
    return families;
}

std::unique_ptr<StoredModel> makeModel(const Support::JsonView& family) {
    std::string known;
    for (std::unique_ptr<StoredModel>& model : makeFamilies()) {
        if (model->family() == family.asString()) return std::move(model);
        known += (known.empty() ? "" : ", ") + Tool::quoted(model->family());
    }
    family.fail(fmt::format("{}, expected one of {}", Tool::quoted(family.asString()), known));
}

std::unique_ptr<StoredModel> readRoot(const Support::JsonView& root) {
    Support::checkStored(root, kType);
    std::unique_ptr<StoredModel> model = makeModel(root.at("family"));
    model->setTarget(root.at("target").asString());
    model->readParts(root);
    return model;
}

}  // namespace

std::string writeModel(const StoredModel& stored) {
    Support::JsonWriter writer;
    Support::beginStored(writer, kType)
        .member("family", stored.family())
        .member("target", stored.target());
    stored.writeParts(writer);
    writer.endObject();
    return writer.take() + "\n";
}

std::unique_ptr<StoredModel> readModel(const std::string& path) {
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
