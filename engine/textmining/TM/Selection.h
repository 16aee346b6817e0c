#pragma once

#include <cstdint>
#include <vector>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/TM/TextMiner.h"
#include "engine/textmining/TM/TermCounter.h"

namespace Veltrix::Engine::TM {

/// The terms that the frequency flags leave, in no particular order.
std::vector<std::uint32_t> selectTerms(const TermCounter& counter,
                                       const TextMiner::Settings& settings);

/// The chosen terms with their postings and frequencies as parts of a corpus. Throws
/// `TMEmptyVocabulary` when there are none.
void fillVocabulary(const TermCounter& counter, std::vector<std::uint32_t> chosen,
                    TextMiner::Corpus& corpus, ProgressPhase& phase);

}  // namespace Veltrix::Engine::TM
