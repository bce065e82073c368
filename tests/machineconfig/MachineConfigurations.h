#pragma once

#include "machineconfig/MachineConfiguration.h"

#include "machinelayer/IMachineData.h"
#include "support/Failures.h"
#include "support/FullMachine.h"
#include "support/Test.h"

namespace TestSupport {

using namespace MachineService;
namespace Data = MachineLayer::Data;

inline PlatformMachineConfiguration Convert(const Data::Machine& i_machine)
{
    const auto data = MachineLayer::CreateMachineData();
    data->Edit() = i_machine;
    return MachineConfigurationFromMachineData(*data);
}

/// A document of one section of the Nesting kind.
inline std::string Nest(const std::string& i_content, const std::string& i_version = "2023/03")
{
    return "<MachineConfiguration xmlns=\"https://www.vexlor.example/AM/MachineData/MachineConfiguration/2026/11\">"
           "<Machine/><Nesting xmlns=\"https://www.vexlor.example/AM/MachineData/Nesting/" +
           i_version + "\">" + i_content + "</Nesting></MachineConfiguration>";
}

} // namespace TestSupport
