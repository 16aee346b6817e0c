#include "engine/timeseries/ARIMA/DataStored.h"

namespace Veltrix::Engine::TS::ARIMA {
namespace {

constexpr const char* kType = "TS::ARIMA::Data";

}  // namespace

void Data::writeJson(JSON::TextSink& sink) const { writeStoredText(sink, kType, *this); }

void Data::readJson(std::string_view utf8) { *this = readStoredText<Data>(kType, utf8); }

}  // namespace Veltrix::Engine::TS::ARIMA
