#include "tools/veltrix/families/StoredRegression.h"

#include "tools/veltrix/families/RegressionReport.h"

namespace Veltrix::Tool {

std::vector<Column> StoredRegression::scoreColumns(const NumericSelection& selection,
                                                   double confidence) const {
    const Matrix x = coding().code(selection, 0);
    Vector predicted = model.predict(x);
    std::vector<Column> columns =
        intervalColumns(model.computeNewPredictionIntervals(x, predicted, confidence), confidence);
    columns.insert(columns.begin(), series("Prediction", std::move(predicted)));
    return columns;
}

void StoredRegression::writeParts(Support::JsonWriter& writer) const {
    writeCoding(writer);
    writer.member("intercept", model.hasIntercept());
    writer.key("model").json(model.toJson().toUtf8());
}

void StoredRegression::readParts(const Support::JsonView& root) {
    readCoding(root, LevelColumns::AllButBase);
    const Support::JsonView intercept = root.at("intercept");
    readPart(model, root.at("model"));
    if (!model.isFitted()) root.at("model").fail("not a fitted model");
    if (intercept.asBool() != model.hasIntercept())
        intercept.fail("another value than the model's");
    const auto columns = static_cast<std::size_t>(model.getNumCols());
    expectColumns(root, columns - (model.hasIntercept() ? 1 : 0));
}

}  // namespace Veltrix::Tool
