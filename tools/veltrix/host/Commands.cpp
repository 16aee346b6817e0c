#include "tools/veltrix/families/AcfCommand.h"
#include "tools/veltrix/families/KMeansCommand.h"
#include "tools/veltrix/families/KnnCommand.h"
#include "tools/veltrix/families/PartitionCommand.h"
#include "tools/veltrix/families/PredictCommand.h"
#include "tools/veltrix/families/RegressCommand.h"
#include "tools/veltrix/families/SampleCommand.h"
#include "tools/veltrix/families/TreeCommand.h"
#include "tools/veltrix/host/Command.h"

namespace Veltrix::Tool {

std::vector<std::unique_ptr<Command>> makeCommands() {
    std::vector<std::unique_ptr<Command>> commands;
    commands.push_back(std::make_unique<RegressCommand>());
    commands.push_back(std::make_unique<KnnCommand>());
    commands.push_back(std::make_unique<TreeCommand>());
    commands.push_back(std::make_unique<PredictCommand>());
    commands.push_back(std::make_unique<KMeansCommand>());
    commands.push_back(std::make_unique<AcfCommand>());
    commands.push_back(std::make_unique<PartitionCommand>());
    commands.push_back(std::make_unique<SampleCommand>());
    return commands;
}

}  // namespace Veltrix::Tool
