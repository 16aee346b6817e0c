#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Veltrix/Engine/TM/TextMiner.h"
#include "tools/veltrix/host/OptionGroup.h"
#include "tools/veltrix/report/Report.h"
#include "tools/veltrix/report/ReportOutput.h"

namespace Veltrix::Tool {

/// What the options say of the way from documents to terms and weights.
class TextSettings {
  public:
    void declare(OptionGroup& options);
    /// Throws `UserError` for options that say nothing sensible.
    void check() const;

    /// The settings of --settings, if it was given, with those of the options in their place.
    /// Throws `UserError` that names the key that is not as expected.
    Engine::TM::TextMiner::Settings settings() const;
    Engine::TM::TF_IDF_Scheme scheme() const;

  private:
    FileOption file_{"--settings", {}};
    std::string weights_ = "count,idf,none";
    bool keepStopWords_ = false;
    bool keepCase_ = false;
    bool keepEndings_ = false;
    bool keepTags_ = false;
    bool keepUrls_ = false;
    bool keepEmails_ = false;
    bool keepNumbers_ = false;
    bool keepMoney_ = false;
    std::int64_t maxTermLength_ = -1;  ///< below 0, as an empty text, when it was not given
    std::int64_t minStemLength_ = -1;
    std::int64_t maxTerms_ = -1;
    double minFrequency_ = -1.0;
    double maxFrequency_ = -1.0;
    std::string startPhrase_;
    std::string endPhrase_;
    std::string urlToken_;
    std::string emailToken_;
    std::string numberToken_;
    std::string moneyToken_;
    std::vector<std::string> synonyms_;
    std::vector<std::string> phrases_;
    std::vector<std::string> terms_;
    std::vector<std::string> excludedTerms_;
    std::vector<std::string> keptStopWords_;
};

/// The names of local weight, global weight and normalisation, as --weights takes them.
std::string nameOfWeights(const Engine::TM::TF_IDF_Scheme& scheme);

/// Says of the settings what differs from doing nothing.
void addSettings(Table& summary, const Engine::TM::TextMiner::Settings& settings);

}  // namespace Veltrix::Tool
