#include "Veltrix/Engine/CatReducer.h"

#include <cstdint>
#include <type_traits>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/Util.h"
#include "engine/core/Stored.h"

namespace Veltrix {

template <>
struct Stored<Engine::CatReducer> {
    static void fields(auto& a, auto& reducer) {
        a("numCategories", reducer.numCategories_)("manualMapping", reducer.manualMapping_);
        StringVector levels;  // ascending, so that the text does not depend on a hash map
        for (const auto& entry : reducer.mapper_) levels.push_back(entry.first);
        levels = Util::uniqueElements(levels);
        IntVector codes = reducer.transform(levels);
        a("levels", levels);
        a("codes", codes, Support::Length{static_cast<std::int64_t>(levels.size())});
        setMapper(a, reducer, levels, codes);
    }

  private:
    static void setMapper(const Support::StoredWriter& /*a*/, const Engine::CatReducer& /*reducer*/,
                          const StringVector& /*levels*/, const IntVector& /*codes*/) {}
    static void setMapper(const Support::StoredReader& a, Engine::CatReducer& reducer,
                          const StringVector& levels, const IntVector& codes) {
        Support::expectDistinct(a.view().at("levels"));
        for (std::uint64_t i = 0; i < levels.size(); ++i) reducer.setMapping(levels[i], codes[i]);
    }
};

namespace Engine {
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

void CatReducer::writeJson(JSON::TextSink& sink) const { writeStoredText(sink, kType, *this); }

void CatReducer::readJson(std::string_view utf8) {
    *this = readStoredText<CatReducer>(kType, utf8);
}

}  // namespace Engine
}  // namespace Veltrix
