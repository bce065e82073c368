#pragma once

#include "commands/CommandExecution.h"
#include "commands/CommandsFixture.h"

namespace MachineService {

inline CommandDescription Describe(CommandType i_type, int i_format = 1)
{
    CommandDescription description;
    description.type = i_type;
    description.id.data[0] = 7;
    description.name = "Own name";
    description.dataFormat = static_cast<DataFormat>(i_format);
    return description;
}

/// A run that leaves these files and ends in this result.
inline auto Leave(std::vector<std::string> i_files, CommandResult i_result = {})
{
    return [i_files, i_result](const CommandParameters& i_parameters) {
        for (const std::string& file : i_files)
            std::ofstream(i_parameters.outputDir / file) << "output";
        return MakeReady(i_result);
    };
}

class CommandExecution : public CommandsFixture
{
protected:
    bool _Submit(CommandType i_type = CommandType::Build, int i_format = 1)
    {
        return Helpers::RunPrinterCommand(Describe(i_type, i_format), _MakeMachine(), _MakeHost());
    }
};

} // namespace MachineService
