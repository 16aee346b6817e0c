#include <cstddef>

#include "Veltrix/Engine/HC.h"
#include "engine/core/Stored.h"
#include "engine/unsupervised/HC/History.h"

namespace Veltrix {

using Engine::HC::MergeRecord;
using Engine::HC::Model;
using Engine::HC::Params;

template <>
struct Stored<Params> {
    static void fields(auto& a, auto& params) {
        a("linkage", params.linkage)("dissimilarity", params.dissimilarity);
        a("inputType", params.inputType);
    }
};

template <>
struct Stored<MergeRecord> {
    static void fields(auto& a, auto& merge) {
        a("first", merge.first)("second", merge.second)("distance", merge.distance);
    }
};

template <>
struct Stored<Model> {
    static void fields(auto& a, auto& model) {
        a("params", model.params_)("mergingHistory", model.mergingHistory_);
        a.check(
            "mergingHistory",
            [&] { return firstFault(model.mergingHistory_) == model.mergingHistory_.size(); },
            "expected merges of two clusters each");
    }
};

namespace Engine::HC {

namespace {

constexpr const char* kType = "HC::Model";

}  // namespace

void Model::writeJson(JSON::TextSink& sink) const { writeStoredText(sink, kType, *this); }

void Model::readJson(std::string_view utf8) { *this = readStoredText<Model>(kType, utf8); }

}  // namespace Engine::HC
}  // namespace Veltrix
