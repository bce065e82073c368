#pragma once

#include "machinelayer/MachineRecords.h"

namespace TestSupport {

/// A machine that has everything, with texts and numbers that are hard to carry.
inline MachineLayer::Data::Machine MakeFullMachine()
{
    namespace Data = MachineLayer::Data;
    Data::Machine machine;
    machine.properties = {L"Gr\u00f6\u00dfer & <gr\u00f6\u00dfer> \"\u5370\u5237\u6a5f\" \U0001F5A8",
                          L"<PLA> & \"more\"\n\t",
                          L"\u202Ecomment",
                          L"Maker",
                          L"m-1",
                          L"fused filament",
                          0.1 + 0.2,
                          0.4};
    machine.platformShape = Data::CylinderShape{1.0 / 3, 1e6};
    machine.platformGeometry = Data::PlatformGeometry{-100.5, 1e-300, 0};
    machine.scanFields = {{L"left", -100, -100, 5, 100}, {L"right", -5, -100, 100, 100}};
    machine.surfaceTypeProfiles[L" fi.rst\n\tsecond\r "] = {
        Data::SupportType::Tree,
        1.5,
        45.0,
        Data::SupportTeeth{0.5, 0.1, 0.4, 0.0},
        Data::SupportPerforation{Data::PerforationShape::Circle, 2.0, 1.0 / 3, 1e-7},
        Data::SupportContact{0.4, 0.0, 0.1}};
    machine.surfaceTypeProfiles[L"Overhang"].type = Data::SupportType::Point;
    machine.surfaceTypeProfiles[L"Bridge"].teeth = Data::SupportTeeth{0.5, {}, {}, {}};
    machine.supportProfileSet = {L"Usual",
                                 {{Data::SupportType::Point, L"Overhang"}, {Data::SupportType::Gusset, L"Gone"}}};
    machine.nesting = {5.0, 0.0, Data::RotationFreedom::Any, 22.5, {{L"Lamp", -1, -2, 0, 1e6, 0.1, 30}, {}}};
    machine.baseplate = {Data::BaseplateShape::Rectangle, 250.0, 210.0, 12.5, 0.0, 1.0, 2.0, 3.0, L"Steel"};
    machine.zBrace = {1.0, 0.8, 45.0, 10.0};
    machine.zCompensation = {Data::ZCompensationKey::Depth, {{0.05, -0.12}, {0.1, 0.2}}, {{0, 0}, {1.5, -1000}}};
    machine.partExport = {{L"3MF", L"STL"}, Data::LengthUnit::Inch, 0.01, L"%name-%count"};
    machine.settings = {{L"a", L""}, {L"scanField.x.minX", L"7"}, {L"\u4e2d.\u6587", L"v"}};
    return machine;
}

} // namespace TestSupport
