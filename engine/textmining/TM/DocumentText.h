#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/TM/TextMiner.h"
#include "support/text/Patterns.h"

namespace Veltrix::Engine::TM {

/// The part of a text between the first `start` and the first `end` behind it; a mark that is empty
/// or missing leaves its side uncut.
std::wstring_view partBetween(std::wstring_view text, std::wstring_view start,
                              std::wstring_view end);

/// Brings documents, one after the other, into the form that is cut into tokens.
class DocumentText {
  public:
    /// Without `whole` only what included terms need is done.
    DocumentText(const TextMiner::Settings& settings, bool whole);

    /// What the document becomes; valid until the next one comes. Counts the characters and tokens
    /// of the document as it is.
    std::wstring_view normalise(std::wstring_view document, ProgressPhase& phase);

    std::size_t numCharacters() const noexcept { return numCharacters_; }
    std::size_t numTokens() const noexcept { return numTokens_; }

  private:
    /// A pattern that is replaced, and what every match of it contains.
    struct Replacement {
        Support::FindPattern find;
        unsigned classes;
        std::wstring_view token;
    };

    /// Copies a part of a document to `text_`, in lower case when the flag is set, and counts it.
    void copyPart(std::wstring_view part);
    void replacePhrases(ProgressPhase& phase);

    const TextMiner::Settings& settings_;
    bool isLowerCased_;
    std::vector<const TermMap::value_type*> phrases_;  ///< in the order in which they are replaced
    std::vector<Replacement> replacements_;
    std::wstring text_;
    std::wstring other_;    ///< takes the text after a replacement
    unsigned classes_ = 0;  ///< what characters `text_` may hold
    std::size_t numCharacters_ = 0;
    std::size_t numTokens_ = 0;
};

}  // namespace Veltrix::Engine::TM
