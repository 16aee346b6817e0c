#include "tools/veltrix/families/NeighbourSearch.h"

#include <algorithm>

#include <fmt/format.h>

#include "Veltrix/Data/Util.h"

namespace Veltrix::Tool {

void addSearch(ReportBuilder& report, const NeighbourSearch& search) {
    const DataFrame& errors = search.found.searchLog;
    const std::string measure = errors.getColName(0).toUtf8();
    const auto count = static_cast<std::uint64_t>(errors.getNumRows());
    const std::string title = fmt::format("Search log: {}", partName(search.searched));
    Table& log = report.table(title)
                     .counted("k", count)
                     .series(measure, errors(Selection::all, 0).toDoubleVector())
                     .marked("Chosen", count, search.found.bestK - 1, "best");
    if (search.searched == Part::Training) {
        log.note(
            "There is no validation part. Every training record is its own nearest neighbour, "
            "which makes a small k look better than it is.");
    }
    report.chart("Search over k").x(title, "k").y(title, measure).line();
}

void checkVotes(const Support::JsonView& stored, const Engine::Classification::KNN::Model& model) {
    const StringVector& classes = model.getClasses();
    const auto isClass = [&](const WString& label) {
        return std::find(classes.begin(), classes.end(), label) != classes.end();
    };
    if (!std::ranges::all_of(Util::uniqueElements(model.getTrainingResponse()), isClass)) {
        stored.at("labels").fail("a label that is none of the classes");
    }
    checkRoles(stored, model);
}

}  // namespace Veltrix::Tool
