#include "engine/timeseries/ARIMA/DataJson.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/core/ModelJson.h"
#include "engine/timeseries/ARIMA/Operations.h"

namespace Veltrix::Engine::TS::ARIMA {
namespace {

using Support::JsonView;
using Support::JsonWriter;

constexpr const char* kType = "TS::ARIMA::Data";

void writeOperations(JsonWriter& json, std::span<const LagOperation> operations) {
    json.key("operations").beginArray();
    for (const LagOperation& operation : operations) {
        json.beginObject();
        if (operation.isMean) {
            json.member("mean", operation.value).member("given", operation.valueGiven);
        } else {
            json.member("count", operation.count).member("lag", operation.lag);
        }
        json.endObject();
    }
    json.endArray();
}

LagOperation readOperation(const JsonView& view) {
    LagOperation operation;
    if (const auto mean = view.find("mean")) {
        operation.isMean = true;
        operation.value = mean->asDouble();
        operation.valueGiven = view.at("given").asBool();
        return operation;
    }
    operation.count = view.at("count").asUint64();
    operation.lag = view.at("lag").asUint64();
    if (operation.count == 0) view.at("count").fail("expected at least 1");
    if (operation.lag == 0) view.at("lag").fail("expected at least 1");
    return operation;
}

std::vector<LagOperation> readOperations(const JsonView& list) {
    std::vector<LagOperation> operations;
    for (std::int64_t k = 0; k < list.size(); ++k) operations.push_back(readOperation(list.at(k)));
    return operations;
}

}  // namespace

void DataJson::write(JsonWriter& json, const Data& data) {
    Support::beginStored(json, kType);
    json.member("numLags", data.numLags_).member("numSeasonalLags", data.numSeasonalLags_);
    json.member("period", data.period_);
    json.member("mean", data.outcome_.mean).member("variance", data.outcome_.variance);
    json.member("original", std::span<const double>(data.original_));
    json.member("working", std::span<const double>(data.outcome_.working));
    writeOperations(json, data.outcome_.operations);
    json.member("applied", data.outcome_.numApplied);
    json.member("acvf", std::span<const double>(data.acvf_));
    json.member("pacf", std::span<const double>(data.pacf_));
    json.endObject();
}

Data DataJson::read(const JsonView& view) {
    Support::checkStored(view, kType);
    Data data(view.at("numLags").asUint64(), view.at("numSeasonalLags").asUint64(),
              view.at("period").asUint64());
    data.outcome_.mean = view.at("mean").asDouble();
    data.outcome_.variance = view.at("variance").asDouble();
    data.original_ = view.at("original").asDoubles();
    data.outcome_.working = view.at("working").asDoubles();
    if (data.outcome_.working.size() != data.original_.size()) {
        view.at("working").fail("expected as many values as in the original series");
    }
    data.outcome_.operations = readOperations(view.at("operations"));
    data.outcome_.numApplied = view.at("applied").asUint64();
    if (data.outcome_.numApplied > data.outcome_.operations.size()) {
        view.at("applied").fail("expected at most the number of operations");
    }
    const auto applied = std::span(data.outcome_.operations).first(data.outcome_.numApplied);
    const auto length = lengthAfter(data.original_.size(), applied);
    if (!length) view.at("operations").fail("expected no more differences than values");
    // The processed series is what the applied operations left at the end of the working copy.
    const auto processed = std::span(data.outcome_.working).last(*length);
    data.outcome_.processed.assign(processed.begin(), processed.end());
    data.acvf_ = view.at("acvf").asDoubles();
    data.pacf_ = view.at("pacf").asDoubles();
    return data;
}

WString Data::toJson() const {
    JsonWriter json;
    DataJson::write(json, *this);
    return WString::fromUtf8(json.take());
}

void Data::fromJsonString(const WString& json) {
    *this = ModelJson::read(kType, json, DataJson::read);
}

}  // namespace Veltrix::Engine::TS::ARIMA
