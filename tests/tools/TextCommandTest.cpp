// Terms and concepts of documents by the real program, held against the library.
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/TM/ConceptExtractor.h"
#include "Veltrix/Engine/TM/TextMiner.h"
#include "tests/support/CommandRun.h"
#include "tests/support/TextCases.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using Engine::TM::ConceptExtractor;
using Engine::TM::TextMiner;
using testing::ElementsAre;

/// The sections of the constitution as a folder of files, and mined by the library.
class TextCommand : public testing::Test {
  protected:
    TextCommand() {
        std::filesystem::create_directory(folder.path("docs"));
        StringVector texts;
        const TextCases corpora("text/corpora.txt");
        for (const std::wstring& text : corpora.list("articles")) {
            const std::string number = std::to_string(100 + texts.size());
            folder.write("docs/" + number + ".txt", WString(text).toUtf8());
            texts.push_back(text);
        }
        DataFrame frame;
        frame.append(texts, L"text");
        TextMiner::Settings settings;
        settings.flags.vocabularyFlags |= Engine::TM::PreprocessingFlags::kLimitVocabulary;
        settings.maxVocabulary = 40;
        miner.setSettings(settings);
        miner.preprocess(frame(Selection::all, 0));
    }

    const TemporaryFolder folder;
    const std::string docs = folder.path("docs");
    TextMiner miner;
};

TEST_F(TextCommand, ShowsTermsAndConceptsAndScoresAgain) {
    const std::string model = folder.path("m.json");
    const Arguments mine{"text --max-terms 40 --weights log,2,unit --concepts 3 --documents", docs,
                         "--save", model};
    const JsonReport report = reportOf(mine);
    EXPECT_EQ(report.entry("Documents"), 24);
    EXPECT_EQ(report.entry("Terms"), 40);
    std::vector<std::string> terms;
    std::vector<double> counts;
    for (const WString& term : miner.getTerms()) {
        terms.push_back(term.toUtf8());
        counts.push_back(static_cast<double>(miner.getGlobalFrequency(term.view())));
    }
    EXPECT_EQ(report.texts("Vocabulary", "Term"), terms);
    EXPECT_EQ(report.column("Vocabulary", "Count"), counts);
    miner.getTopTerms(2);
    for (std::size_t k = 0; k < 2; ++k) {
        EXPECT_EQ(report.texts("Top terms", "Term").at(k),
                  WString(miner.getTopTermList()[k].term).toUtf8());
    }

    const Matrix weights = miner.buildTDM({3, 2, 2});
    const ConceptExtractor concepts = ConceptExtractor({0.0, 3}).fit(weights);
    const Matrix ofDocuments = concepts.cdm(weights, false);
    const Matrix ofTerms = concepts.tcm(weights, false);
    const JsonReport again = reportOf({"predict --model", model, "--documents", docs});
    const auto check = [](const JsonReport& found, const char* table, const Matrix& expected) {
        for (int k = 0; k < 3; ++k) {
            const std::vector<double> column =
                found.column(table, "Concept " + std::to_string(k + 1));
            const auto rows = Util::range(0, expected.getNumRows());
            EXPECT_TRUE(allNear(column, expected.getSubColumn(rows, k), {1e-9, 1e-9})) << table;
        }
    };
    check(report, "Documents in the concepts", ofDocuments);
    check(again, "Documents in the concepts", ofDocuments);
    check(report, "Terms in the concepts", ofTerms);
    EXPECT_TRUE(allNear(report.column("Terms in the concepts", "Importance"),
                        ConceptExtractor::termImportance(ofTerms), {1e-9, 1e-9}));
    EXPECT_TRUE(
        allNear(report.column("Singular values", "Share, %"), concepts.getShares(), {1e-9, 1e-9}));

    // A document of its own has the weights that the fitted ones give it, not those of a corpus of
    // one.
    const std::string one = folder.write("one.csv", "id,body\n7," + terms[0] + " zzz\n");
    const JsonReport scored = reportOf({"predict --column body --model", model, "--data", one});
    EXPECT_THAT(scored.texts("Weights", "Term"), ElementsAre(terms[0]));
    EXPECT_THAT(scored.column("Weights", "Weight"), ElementsAre(1.0));
    EXPECT_NEAR(scored.column("Documents in the concepts", "Concept 1").at(0),
                concepts.getRightSingular()(0, 0), 1e-9);
}

TEST_F(TextCommand, WritesTheMatrixDenseAndSparse) {
    const std::string dense = folder.path("dense.csv");
    const std::string sparse = folder.path("sparse.csv");
    const Arguments mine{"text --max-terms 40 --documents", docs, "--matrix"};
    outputOf({mine, dense});
    outputOf({mine, sparse, "--sparse"});
    const Matrix weights = miner.buildTDM();
    const CsvData whole(std::filesystem::relative(dense, kTestData).string());
    ASSERT_EQ(whole.rows(), 24U);
    for (int j = 0; j < 40; ++j) {
        EXPECT_TRUE(allNear(whole.numbers(miner.getTerms()[j].toUtf8()),
                            weights.getSubColumn(Util::range(0, 24), j), {0.0, 0.0}));
    }
    const CsvData entries(std::filesystem::relative(sparse, kTestData).string());
    const std::vector<double> values = entries.numbers("Weight");
    const auto found = Engine::TM::SparseTDM(miner.buildSparseTDM());
    EXPECT_TRUE(allNear(values, found.weights, {0.0, 0.0}));
    EXPECT_EQ(entries.texts("Document").at(0), std::to_string(100 + found.documents[0]) + ".txt");
}

TEST_F(TextCommand, ReadsEncodingsAndSettings) {
    using namespace std::string_literals;
    const std::pair<std::string, const char*> files[] = {
        {"text\ncaf\xc3\xa9 noir\n\nNA\n", "--encoding utf-8"},
        {"\xef\xbb\xbftext\ncaf\xc3\xa9 noir\n\nNA\n", "--encoding utf-8"},
        {"text\ncaf\xe9 noir\n\nNA\n", "--encoding latin-1"},
        {"\xff\xfet\0e\0x\0t\0\n\0c\0a\0f\0\xe9\0 \0n\0o\0i\0r\0\n\0\n\0N\0A\0"s,
         "--encoding utf-8"},
        {"\xfe\xff\0t\0e\0x\0t\0\n\0c\0a\0f\0\xe9\0 \0n\0o\0i\0r\0\n\0\n\0N\0A"s,
         "--encoding utf-16"}};
    const std::string settings = folder.write(
        "s.json",
        "{\"documentFlags\": 1, \"synonyms\": {\"noir\": \"black\"}, \"maxTermLength\": 3}");
    for (const auto& [bytes, encoding] : files) {
        const std::string file = folder.write("e.csv", bytes);
        const JsonReport report = reportOf({"text --column text --data", file, encoding,
                                            "--settings", settings, "--synonym na=not"});
        EXPECT_THAT(report.texts("Vocabulary", "Term"), ElementsAre("black", "caf\xc3\xa9", "not"));
        EXPECT_EQ(report.column("Documents", "Characters"), (std::vector<double>{9, 0, 2}));
        EXPECT_EQ(report.entry("Documents without terms"), 1);
    }
}

TEST_F(TextCommand, NamesMistakes) {
    const std::string good = folder.write("good.csv", "id,text\n1,alpha beta\n2,beta\n");
    const std::string model = folder.path("m.json");
    outputOf({"text --column text --data", good, "--save", model});
    const std::string kmeans = std::string(kTestData) + "/models/kmeans.json";
    std::filesystem::create_directory(folder.path("none"));
    const std::pair<Arguments, Words> mistakes[] = {
        {{"text"}, "--data | --documents"},
        {{"text --data", good}, "--column | not given"},
        {{"text --column txt --data", good}, "--column | \"txt\" | \"text\""},
        {{"text --documents", folder.path("none")}, "--documents | holds no files"},
        {{"text --documents", good}, "--documents | is no folder"},
        {{"text --column a --documents", docs}, "--column | --documents"},
        {{"text --column text --data", folder.write("l.csv", "id,text\n1,a\n2,caf\xe9\n")},
         "--data | l.csv | line 3 | \"text\" | --encoding"},
        {{"text --column text --data", folder.write("u.csv", "\xff\xfet")},
         "line 1 | half a character"},
        {{"text --column text --data", folder.write("s.csv", "id,text\n1,the of\n2,\n")},
         "--data | no term is left of 2 documents"},
        {{"text --column text --data", good, "--settings", folder.write("x.json", "{\"stem\": 1}")},
         "--settings | x.json | \"stem\" | unknown"},
        {{"text --column text --data", good, "--weights log,idf"}, "--weights | three"},
        {{"text --column text --data", good, "--weights log,x,1"}, "--weights | \"x\" | entropy"},
        {{"text --column text --data", good, "--concepts -1"}, "--concepts | \"-1\" | elbow"},
        {{"text --column text --data", good, "--phrase ab"}, "--phrase | \"ab\""},
        {{"predict --model", model}, "--data is required"},
        {{"predict --model", model, "--data", folder.write("n.csv", "text\nno such\n")},
         "--data | no document of 1 | 2 terms"},
        {{"predict --model", kmeans, "--documents", docs}, "--documents | k-means | --data"},
        {{"predict --data", good, "--model",
          folder.write("d.json", replaced("\"termWeights\": [", "\"termWeights\": [0,",
                                          replaced("\"termWeights\":[", "\"termWeights\": [",
                                                   contentOf(model))))},
         "--model | termWeights | expected 2"},
    };
    for (const auto& [arguments, words] : mistakes) {
        SCOPED_TRACE(joined(arguments.list));
        expectMistake(run(arguments), words);
    }
}

}  // namespace
}  // namespace Veltrix::Testing
