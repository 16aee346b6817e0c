#include "tools/veltrix/families/Families.h"

#include <string_view>

#include "tools/veltrix/families/ClusterCommand.h"
#include "tools/veltrix/families/DescribeCommand.h"
#include "tools/veltrix/families/ModelsCommand.h"
#include "tools/veltrix/families/PartitionCommand.h"
#include "tools/veltrix/families/PredictCommand.h"
#include "tools/veltrix/families/SampleCommand.h"
#include "tools/veltrix/host/FamilyCommand.h"

namespace Veltrix::Tool {

namespace {

constexpr std::unique_ptr<Family> (*kFamilies[])() = {makeRegression,
                                                      makeLogistic,
                                                      makeSelection,
                                                      makeNeighbours,
                                                      makeNaiveBayes,
                                                      makeTree,
                                                      makeDiscriminant,
                                                      makeNetwork,
                                                      makeKMeans,
                                                      makeHierarchical,
                                                      makePrincipalComponents,
                                                      makeCanonicalVariates,
                                                      makeRules,
                                                      makeAutocorrelations,
                                                      makeArima,
                                                      makeSmoothing,
                                                      makeText};

}  // namespace

Family::~Family() = default;

OwnInput::~OwnInput() = default;

std::vector<std::unique_ptr<Family>> makeFamilies() {
    std::vector<std::unique_ptr<Family>> families;
    for (const auto& make : kFamilies) families.push_back(make());
    return families;
}

std::unique_ptr<Family> makeFamily(std::string_view name) {
    for (std::unique_ptr<Family>& family : makeFamilies()) {
        if (name == family->names().command || name == family->names().family) {
            return std::move(family);
        }
    }
    return nullptr;
}

std::vector<std::unique_ptr<Command>> makeCommands() {
    std::vector<std::unique_ptr<Command>> commands;
    commands.push_back(std::make_unique<DescribeCommand>());
    for (std::unique_ptr<Family>& family : makeFamilies()) {
        commands.push_back(std::make_unique<FamilyCommand>(std::move(family)));
    }
    commands.push_back(std::make_unique<ModelsCommand>());
    commands.push_back(std::make_unique<PredictCommand>());
    commands.push_back(std::make_unique<PartitionCommand>());
    commands.push_back(std::make_unique<SampleCommand>());
    commands.push_back(std::make_unique<ClusterCommand>());
    return commands;
}

}  // namespace Veltrix::Tool
