#include "tools/veltrix/AcfCommand.h"
#include "tools/veltrix/Command.h"
#include "tools/veltrix/KMeansCommand.h"
#include "tools/veltrix/KnnCommand.h"
#include "tools/veltrix/PartitionCommand.h"
#include "tools/veltrix/PredictCommand.h"
#include "tools/veltrix/RegressCommand.h"
#include "tools/veltrix/SampleCommand.h"
#include "tools/veltrix/TreeCommand.h"

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
