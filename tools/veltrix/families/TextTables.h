#pragma once

#include <string>
#include <vector>

#include "Veltrix/Engine/TM/ConceptExtractor.h"
#include "Veltrix/Engine/TM/TextMiner.h"
#include "tools/veltrix/host/Documents.h"
#include "tools/veltrix/report/ReportBuilder.h"

/// @file
/// Tables and charts of documents, terms and concepts.

namespace Veltrix::Tool {

/// What the documents hold, in all.
void summarizeCorpus(Table& summary, const Engine::TM::TextMiner& miner);

/// The first terms by their count, with a chart of the counts and one of all counts against their
/// ranks in logarithms (Zipf 1949).
void addTopTerms(ReportBuilder& report, Engine::TM::TextMiner miner, std::int64_t count);

/// All terms with count, document frequency and global weight.
void addVocabulary(Table& table, const Engine::TM::TextMiner& miner,
                   const std::vector<double>& weights);

/// Every document with its size and how many terms it holds.
void addDocuments(Table& table, const Documents& documents, const Engine::TM::TextMiner& miner);

/// The terms that the documents hold, with counts and weights.
void addWeights(Table& table, const Documents& documents, const Engine::TM::TextMiner& miner,
                const Matrix& weights);

/// The documents' places in the concepts, with a chart of the first two.
void addDocumentConcepts(ReportBuilder& report, const Documents& documents, const Matrix& places);

/// Singular values with their shares, and the terms' places and importance, with charts.
void addConcepts(ReportBuilder& report, const Engine::TM::ConceptExtractor& concepts,
                 const Engine::TM::TextMiner& miner, const Matrix& weights, bool unitRows);

/// A CSV file of the matrix: a column for each term, or a row for each entry other than 0.
std::string denseCsv(const Documents& documents, const StringVector& terms, const Matrix& weights);
std::string sparseCsv(const Documents& documents, const StringVector& terms,
                      const Engine::TM::SparseTDM& weights);

}  // namespace Veltrix::Tool
