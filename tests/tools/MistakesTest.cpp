// What the user of the real program may do wrong: each mistake is named in one line, with nothing
// printed and no file left.
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CommandRun.h"

namespace Veltrix::Testing {
namespace {

/// Options that are wrong, and words that the message must hold.
using Cases = std::vector<std::pair<Arguments, Words>>;

/// The program in a folder of its own with small files.
class Mistakes : public testing::Test {
  protected:
    void expect(const Arguments& sound, const Cases& cases) const {
        const std::vector<std::string> before = folder.files();
        for (const auto& [wrong, words] : cases) {
            const Arguments arguments = sound + wrong;
            SCOPED_TRACE(joined(arguments.list));
            expectMistake(run(arguments), words);
            EXPECT_EQ(folder.files(), before);
        }
    }

    const TemporaryFolder folder;
    // A class that trains nowhere; a row without a part and one without a value.
    const std::string data = folder.write("data.csv",
                                          "kind,x,class,part,w,z\n"
                                          "a,1,01,train,1,0\na,2,01,train,0,0\n"
                                          "b,5,2,train,2,0\nb,6,2,train,1,0\n"
                                          "c,1.5,01,valid,1,0\nc,5.5,3,valid,1,0\n"
                                          "b,4,2,test,1,0\na,,2,test,1,0\na,9,2,,-2,0\n");
};

TEST_F(Mistakes, InCommandsAndFiles) {
    expect({}, {{{}, "A command | regress"},
                {{"regres --data", data}, "\"regres\" | regress | predict"},
                {{"regress --data", folder.path("no.csv"), "--target x"},
                 "--data | no.csv | No such file"}});
    const Arguments start{"regress --data", data, "--target x --predictors z"};
    expect(start, {{"--format xml", "--format | xml | json"},
                   {{"--report", folder.path("none/r.xlsx")}, "--report | r.xlsx | No such file"},
                   {"--report r.csv", "--report | \"r.csv\" | .xlsx"},
                   {{"--save", folder.path("")}, "--save | directory"},
                   {{"--save", std::string()}, "--save | file name"},
                   {{"--output", data}, "--output | file of --data"},
                   {"--save m --output m", "--save | file of --output"}});
}

TEST_F(Mistakes, InDataFiles) {
    const std::pair<const char*, Words> files[] = {
        {"", "--data | bad.csv | header"},
        {"y,a\n", "no data rows"},
        {"y,a\n1,NA\nNA,2\n", "no row is left | 2 rows"},
        {"y\n1\n2\n", "--predictors | no column beside the target"},
        {"y,a\n1,2\n3,inf\n", "\"a\" | row 2 | inf | finite"},
        {"y,\"a\nb\"\n1,oops\n", "\"a\\nb\" | row 1 | \"oops\""},
        {"y,a\n1,x\n2,x\n3,x\n", "\"a\" | only \"x\" | two levels"},
        {"y,a\n1,1\n2,2\n3,4x\n", "\"a\" | row 3 | \"4x\" | number | fewer levels"},
        {"y,name\n1,u\n2,v\nNA,w\n", "\"name\" | row 1 | \"u\" | rows used (2)"},
        {"y,a,a_v\n1,u,1\n2,v,3\n1,v,4\n", "--predictors | \"a_v\" | two columns"}};
    for (const auto& [content, words] : files) {
        expect({"regress --data", folder.write("bad.csv", content), "--target y --save",
                folder.path("model.json")},
               {{{}, words}});
    }
}

TEST_F(Mistakes, InRolesOfColumns) {
    const Arguments start{"regress --data", data, "--target"};
    expect(start, {{"kind --predictors x", "--target | \"kind\" | row 1 | \"a\""},
                   {"clas", "--target | did you mean \"class\""},
                   {"x --predictors z,ww", "--predictors | \"ww\" | mean \"w\""},
                   {"x --predictors z,x", "--predictors | \"x\" | target"},
                   {"x --predictors z,w,z", "\"z\" | twice"},
                   {"x --predictors w --weights w", "\"w\" | weights"},
                   {"x --predictors kind --weights w", "row 9 | -2 | 0 or more"},
                   {"x --predictors w --weights z", "\"z\" | only 0 in the rows"},
                   {"x --partition-column kind",
                    "--partition-column | \"kind\" | row 1 | \"a\" | train, valid or test"},
                   {"x --weights w --partition-column w", "\"w\" | the parts"},
                   {"x --confidence 1", "--confidence | 1 | between 0 and 1"},
                   {"x --confidence nan", "--confidence | nan"}});
    const std::string none = folder.write("none.csv", "y,x,part\n1,2,valid\n2,,train\n");
    expect({"regress --data", none, "--target y --partition-column part"},
           {{{}, "--partition-column | no row | train"}});
}

TEST_F(Mistakes, InClasses) {
    expect({"knn --data", data, "--target class --predictors x --k 1"},
           {{"--priors 01=0.5,2=0.5", "--priors | \"3\" | none"},
            {"--priors 01=0.5,2=0.3,3=-0.2", "\"-0.2\" | \"3\" | above 0"},
            {"--priors 01=0.5,2=0.3,4=0.2", "no class \"4\" | \"01\""},
            {"--priors 01=0.5,2=0.3,3=0.3", "--priors | sum to 1.1"},
            {"--priors 01=0.5,2", "--priors | \"2\" | CLASS=PROBABILITY"},
            {"--priors 01=0.5,01=0.5", "--priors | \"01\" | twice"},
            {"--success-class 2", "--success-class | 3 classes | expected 2"},
            {"--success-class x", "--success-class | no class \"x\""},
            {"--success-class 2 --cutoff 1.5", "--cutoff | 1.5 | 0 to 1"},
            {"--cutoff 0.5", "--cutoff | --success-class"},
            {"--regression --priors 01=1", "--priors | --regression"}});
    std::string many = "id,level,class,name,y\n";
    for (int i = 0; i < 303; ++i) {
        many += fmt::format("r{},l{},c{},n{},{}\n", i, i % 21, i % 3, i % 101, i % 7);
    }
    const std::string path = folder.write("many.csv", many);
    expect({"tree --data", path, "--target"},
           {{"class --predictors id", "\"id\" | row 1 | \"r0\" | 303"},
            {"class --predictors level", "--predictors: column 0 | 21"},
            {"id", "--target | \"id\" | 303 | --regression"}});
    // Two of the families whose text columns take a column of numbers a level.
    const Words cost =
        "--predictors | \"name\" | at most 100 | 101 found | 0.24 MB in 303 rows | --max-levels "
        "101";
    const Arguments regress{"regress --data", path, "--target y --predictors name"};
    expect(regress, {{{}, cost}});
    expect({"knn --data", path, "--target class --predictors name --k 1"}, {{{}, cost}});
    outputOf({regress, "--max-levels 101"});
}

TEST_F(Mistakes, InDistances) {
    const std::pair<const char*, const char*> files[] = {
        {"a,b,c\n0,1,2\n", "1 row and 3 columns"},
        {"a,b\n0,1\n1,0\n2,2\n", "3 rows and 2 columns"},
        {"a,b\n0,-1\n-1,0\n", "row 1 | \"b\" | -1 | at least 0"},
        {"a,b\n0,1\n2,0\n", "row 2 | \"a\" | 2 | row 1 | \"b\" | equal"},
        {"a,b\n0,1\n1,3\n", "row 2 | \"b\" | 3 | diagonal"},
        {"a,b\n0,\n1,0\n", "row 1 | \"b\" | nan"},
        {"a,b\n0,inf\ninf,0\n", "row 1 | \"b\" | inf"},
        {"a,b\n0,x\n1,0\n", "row 1 | \"b\" | \"x\" | number"},
        {"a\n0\n", "1 row | at least 2"}};
    for (const auto& [content, words] : files) {
        expect({"hierarchical --distance-matrix", folder.write("d.csv", content)}, {{{}, words}});
    }
    const std::string rows = folder.write("rows.csv", "a,b\n0,0\n1,1\n1,3\n");
    expect({"hierarchical --data", rows},
           {{"--clusters 4", "--clusters | 4 | 3"},
            {"--clusters 0", "--clusters | 0"},
            {"--linkage ward --distance cosine", "--distance | cosine | euclidean | ward"},
            {"--linkage nearest", "--linkage | nearest"},
            {"--memory-limit 0", "--memory-limit | 0"},
            {"--distance cosine", "--data | row 1 | 0 in all"},
            {"--distance correlation", "--data | row 1 | same value"},
            {"--distance-matrix x", "--distance-matrix"},
            {"--dendrogram tree.txt", "--dendrogram | .svg"}});
    const std::string many = folder.write("many.csv", "a,b\n1e200,1\n-1e200,1\n");
    expect({"hierarchical --data", many},
           {{{}, "--data | beyond the range"}, {"--standardize", "--standardize | \"b\""}});
    expect({"hierarchical"}, {{{}, "--data | --distance-matrix"}});
}

TEST_F(Mistakes, InOptionsOfSeries) {
    const std::string file = folder.write("s.csv", "t,x,gap,late\n1,5,1,1\n2,7,,2\n3,6,3,2\n");
    const Arguments smooth{"smooth --data", file, "--column x --method"};
    expect(smooth, {{"average", "--method | average | moving"},
                    {"moving", "--window | not given"},
                    {"moving --window 4", "--window | 4 | at most | 3"},
                    {"moving --window 2 --search", "--search | moving"},
                    {"exponential", "--alpha | --search"},
                    {"exponential --alpha 1.5", "--alpha | \"1.5\""},
                    {"exponential --alpha 1 --beta 1", "--beta | exponential"},
                    {"exponential --alpha 1 --period 2", "--period | exponential"},
                    {"exponential --alpha 1 --search", "--search | excludes | --alpha"},
                    {"exponential --search --measure rmse", "--measure | rmse | mse"},
                    {"additive --search", "--period | not given"},
                    {"additive --search --period 4", "--period | 4 | at most | 3"},
                    {"additive --search --period 0", "--period | \"0\""},
                    {"double --search --holdout 3", "--holdout | 3 | less than"},
                    {"double --search --time late", "--time | \"late\" | row 3 | more than 2"},
                    {"double --search --time gap", "--time | \"gap\" | row 2 | no time"},
                    {"double --search --time x", "--time | \"x\" | holds the series"},
                    {"double --search --forecast -1", "--forecast | \"-1\""}});
    expect({"smooth --search --method double --data", file, "--column"},
           {{"gap", "--column | \"gap\" | row 2 | without gaps"}});
    expect({"arima --data", file, "--column x --order"},
           {{"1,1", "--order | \"1,1\" | three"},
            {"1,0.5,0", "--order | \"1,0.5,0\" | whole"},
            {"1,3,0", "--order | 3 values | (1,3,0)"},
            {"0,3,0 --auto", "--auto | 3 values | every"},
            {"1,0,0 --seasonal 1,0,0", "--period | not given"},
            {"1,0,0 --period 4", "--period | --seasonal"},
            {"1,0,0 --seasonal 1,0,0 --period 1", "--period | \"1\" | at least 2"},
            {"1,0,0 --textbook-ma", "--textbook-ma | requires | --seasonal"}});
}

TEST_F(Mistakes, InOptionsOfFamilies) {
    expect({"knn --data", data, "--target class"},
           {{{}, "--k | not given | --max-k"},
            {"--k 0", "--k | \"0\" | from 1"},
            {"--max-k 9", "--max-k | 9 | at most | 7"},
            {"--k 1 --max-k 2", "--max-k | excludes | --k"},
            {"--k 1 --weighting far", "--weighting | far | distance"},
            {"--k 1 --predictors x --weights z", "--weights | only 0"}});
    expect({"logistic --data", data, "--target"},
           {{"class --predictors x", "--target | 3 classes | expected 2"},
            {"kind --predictors x --success-class d", "--success-class | no class \"d\""},
            {"z --predictors x", "--target | \"z\" | holds only \"0\""},
            {"w --predictors x --max-iterations -1", "--max-iterations | \"-1\" | from 0"}});
    expect({"discriminant --data", data, "--target class --predictors"},
           {{"z", "--predictors | within-class variance | \"z\" is constant in every class"},
            {"x,w --quadratic", "\"x\" is constant in class \"3\""},
            {"x --partition-column part --priors 01=1", "--priors | \"2\" has none"},
            {"x --weights w", "--weights"}});
    expect({"naive-bayes --data", data, "--target class"},
           {{"--alpha -1", "--alpha | \"-1\" | at least 0"},
            {"--alpha inf", "--alpha | \"inf\""},
            {"--categorical kind", "--categorical"}});
    expect({"select --data", data, "--target x --predictors z,w"},
           {{"--method stepwise --f-out 5 --f-in 4.5", "--f-out: 5 | at most --f-in, 4.5"},
            {"--use 9", "--use: 9 | number of models, 1"},
            {"--no-intercept --method forward --f-in 1e9", "--f-in: 1000000000 | no column"},
            {"--model logistic", "--target | classes | expected 2"},
            {"--f-in -1", "--f-in: \"-1\" | at least 0"},
            {"--method all", "--method: all | sequential"}});
    expect({"pca --data", data, "--columns"},
           {{"x,z --correlation", "--columns | \"z\" is constant | --correlation"},
            {"x,w --components 3", "--components: 3 | number of columns, 2"},
            {"x,w --components 1 --variance 50", "--variance | excludes | --components"},
            {"x,w --variance 101", "--variance | \"101\" | 0 to 100"},
            {"kind", "--columns | \"kind\" | \"a\""}});
    expect({"cva --data", data, "--target"},
           {{"z --predictors x", "--target | \"z\" | holds only \"0\""},
            {"class --predictors x,z", "--predictors | column 1 | does not vary"},
            {"class --predictors x --priors 01=1", "--priors"}});
    expect({"tree --data", data, "--target class --predictors x"},
           {{"--categorical kin", "--categorical | did you mean \"kind\""},
            {"--categorical kind", "--categorical | \"kind\" | no predictor"},
            {"--columns-per-split 2", "--columns-per-split | 2 | at most | 1"},
            {"--min-records 0", "--min-records | \"0\" | from 1"},
            {"--max-levels -1", "--max-levels | \"-1\" | from 0"},
            {"--max-nodes many", "--max-nodes | \"many\""}});
    const std::string big = folder.write("big.csv", "name,x,big\na,3,1\nb,4,1e151\n");
    expect({"kmeans --data", big},
           {{{}, "--clusters"},
            {"--clusters 0", "--clusters | \"0\" | from 1"},
            {"--clusters 3 --columns x", "--clusters: 3 | rows used, 2"},
            {"--clusters 1", "--data | \"big\" | row 2 | 1e+151 | 1e+150"},
            {"--clusters 2 --starts 0", "--starts | \"0\" | from 1"},
            {"--clusters 2 --seed -1", "--seed | \"-1\" | from 0"},
            {"--clusters 1 --columns x,y", "--columns | \"y\""},
            {"--clusters 1 --columns x,x", "--columns | twice | each column once"},
            {"--clusters 1 --columns name", "\"name\" | row 1 | \"a\""}});
}

TEST_F(Mistakes, InSeries) {
    const std::string gap = folder.write("gap.csv", "x,none,text\n3,NA,3\n1,,b\nNA,,1\n2,NA,2\n");
    const std::string nile = std::string(kTestData) + "/timeseries/series/nile.csv";
    expect({"acf --report", folder.path("r.xlsx"), "--data", nile, "--column x"},
           {{"--lags 0", "--lags | \"0\" | at least 1"},
            {"--lags 100", "--lags | 100 | less"},
            {"--difference 60 --lags 40", "--lags | 40 after"},
            {"--difference 100", "--difference | 100 values | \"x\""},
            {"--seasonal-difference 9 --period 12", "--seasonal-difference"},
            {"--seasonal-difference 1", "--period"}});
    expect({"acf --data", gap, "--column"}, {{"x", "--column | \"x\" | row 3 | without gaps"},
                                             {"none", "--column | \"none\" | no value"},
                                             {"text", "--column | \"text\" | row 2 | \"b\""}});
}

TEST_F(Mistakes, InSamples) {
    const std::string file = folder.write("same.csv", "y,v\na,1\na,2\n");
    expect({"sample --output", folder.path("out.csv"), "--data", file, "--size"},
           {{"4", "--size: 4, expected at most the 2 rows"},
            {"1.5", "--size: \"1.5\", expected a whole number"},
            {"1 --seed 4294967296", "--seed: "}});
    expect({"sample --data", file, "--size 1"},
           {{{"--output", file}, "--output:  | file of --data"}});
    expect({"partition --output", folder.path("out.csv"), "--data", file},
           {{"--train 1.01", "--train: \"1.01\", expected a number"},
            {"--train 0.8 --validation 0.3", "more than 1 together"},
            {"--train 0.5 --column y", "--column:  | already"},
            {{"--train 0.5 --column", std::string()}, "--column: expected a name"},
            {"--train 0.5 --target y", "--target | --success-class"},
            {"--train 0.5 --target v --success-class q",
             "--success-class: column \"v\" does not hold \"q\", expected one of \"1\", \"2\""},
            {"--train 0.5 --target y --success-class a",
             "--success-share: column \"y\" holds \"a\" only"}});
}

}  // namespace
}  // namespace Veltrix::Testing
