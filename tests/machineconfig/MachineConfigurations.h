#pragma once

#include "machineconfig/MachineConfiguration.h"

#include "machinelayer/IMachineData.h"
#include "support/Failures.h"

#include <gmock/gmock.h>

namespace MachineService {

namespace Data = MachineLayer::Data;
using TestSupport::GetFailure;

/// Has everything, and texts that need care.
inline Data::Machine MakeFullMachine()
{
    Data::Machine machine;
    machine.properties.name = L"Größer & <größer> \"印刷機\" \U0001F5A8";
    machine.properties.manufacturer = L"Vexlor";
    machine.properties.modelId = L"V-300";
    machine.surfaceTypeProfiles[L" first\n\tsecond\r "] = {
        Data::SupportType::Tree,
        1.5,
        45.0,
        Data::SupportTeeth{0.5, 0.1, 0.4, 0.0},
        Data::SupportPerforation{Data::PerforationShape::Circle, 2.0, 1.0 / 3, 1e-7},
        Data::SupportContact{0.4, 0.0, 0.1}};
    machine.surfaceTypeProfiles[L"Overhang"].type = Data::SupportType::Point;
    machine.surfaceTypeProfiles[L"Bridge"].teeth.emplace();
    machine.supportProfileSet = {L"Usual",
                                 {{Data::SupportType::Point, L"Overhang"}, {Data::SupportType::Gusset, L"Gone"}}};
    machine.nesting = {5.0, 0.0, Data::RotationFreedom::Any, 22.5, {{L"Lamp", -1, -2, 0, 1e6, 0.1, 30}, {}}};
    machine.baseplate = {Data::BaseplateShape::Rectangle, 250.0, 210.0, 12.5, 0.0, 1.0, 2.0, 3.0, L"Steel"};
    machine.zBrace = {1.0, 0.8, 45.0, 10.0};
    machine.zCompensation = {Data::ZCompensationKey::Depth, {{0.05, -0.12}, {0.1, 0.2}}, {{0, 0}, {1.5, -1000}}};
    machine.partExport = {{L"3MF", L"STL"}, Data::LengthUnit::Inch, 0.01, L"%name-%count"};
    return machine;
}

inline PlatformMachineConfiguration Convert(const Data::Machine& i_machine)
{
    const auto data = MachineLayer::CreateMachineData();
    data->Edit() = i_machine;
    return MachineConfigurationFromMachineData(*data);
}

} // namespace MachineService
