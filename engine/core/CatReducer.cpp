#include "Veltrix/Engine/CatReducer.h"

#include <cstdint>
#include <span>
#include <type_traits>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/Util.h"
#include "engine/core/ModelJson.h"

namespace Veltrix::Engine {
namespace {

constexpr const char* kType = "CatReducer";

/// Codes of the levels, which are distinct and ascending, from their counts.
CatReducer::Mapper codesByFrequency(const StringVector& levels, const Vector& counts, int k) {
    CatReducer::Mapper mapper;
    mapper.reserve(levels.size());
    int code = 1;
    // The sort is stable, so equal counts stay in ascending order of the level.
    for (const int place : Veltrix::Util::argSort(counts, Ordering::largestFirst)) {
        const bool own = code < k;
        mapper[levels[static_cast<std::uint64_t>(place)]] = own ? code : k;
        if (own) ++code;
    }
    return mapper;
}

}  // namespace

CatReducer::~CatReducer() = default;

static_assert(std::is_nothrow_move_constructible_v<CatReducer>);

CatReducer& CatReducer::setNumCategories(int k) {
    numCategories_ = k;
    return *this;
}

CatReducer& CatReducer::setManualMapping(bool manual) {
    manualMapping_ = manual;
    return *this;
}

CatReducer& CatReducer::setMapper(const Mapper& mapper) {
    mapper_ = Mapper(mapper);
    return *this;
}

CatReducer& CatReducer::setMapping(const WString& level, int code) {
    mapper_[level] = code;
    return *this;
}

int CatReducer::getMapping(const WString& level) const {
    const auto found = mapper_.find(level);
    return found == mapper_.end() ? 0 : found->second;
}

CatReducer& CatReducer::fit(const StringVector& values) {
    if (manualMapping_) return *this;
    DataFrame frame;
    frame.append(values);
    return fit(frame(Veltrix::Util::all, 0));
}

CatReducer& CatReducer::fit(const ConstDataFrameColumn& column) {
    if (manualMapping_) return *this;
    IntVector codes;
    const StringVector levels = column.getLevels(codes);
    Vector counts(levels.size());
    for (const int code : codes) ++counts[static_cast<std::uint64_t>(code)];
    mapper_ = codesByFrequency(levels, counts, numCategories_);
    return *this;
}

IntVector CatReducer::transform(const StringVector& values) const {
    IntVector result;
    result.reserve(values.size());
    for (const WString& value : values) result.push_back(getMapping(value));
    return result;
}

IntVector CatReducer::transform(const ConstDataFrameColumn& column) const {
    IntVector codes;
    const IntVector reduced = transform(column.getLevels(codes));
    return Veltrix::Util::bind(reduced, codes);
}

WString CatReducer::toJson() const {
    StringVector levels;
    for (const auto& entry : mapper_) levels.push_back(entry.first);
    levels = Veltrix::Util::uniqueElements(levels);
    const IntVector codes = transform(levels);
    Support::JsonWriter json = ModelJson::begin(kType);
    json.member("numCategories", numCategories_).member("manualMapping", manualMapping_);
    ModelJson::member(json, "levels", levels);
    json.member("codes", std::span<const std::int32_t>(codes.data(), codes.size()));
    return ModelJson::finish(json);
}

void CatReducer::fromJsonString(const WString& json) {
    *this = ModelJson::read(kType, json, [](const Support::JsonView& root) {
        CatReducer reducer;
        reducer.numCategories_ = root.at("numCategories").asInt32();
        reducer.manualMapping_ = root.at("manualMapping").asBool();
        const StringVector levels = ModelJson::distinctTexts(root.at("levels"));
        const std::vector<std::int32_t> codes = root.at("codes").asInt32s();
        if (codes.size() != levels.size()) {
            root.at("codes").fail("as many codes as levels expected");
        }
        for (std::uint64_t i = 0; i < levels.size(); ++i) reducer.setMapping(levels[i], codes[i]);
        return reducer;
    });
}

}  // namespace Veltrix::Engine
