#pragma once

#include "support/HostFixture.h"

#include "machinelayer/Pldf.h"
#include "workbench/scene/Selection.h"

#include <QtTest>

#include <cmath>
#include <numbers>
#include <optional>

namespace PlateTest {

inline std::shared_ptr<TavAM::Mesh> MakeBox(float i_width, float i_depth, float i_height)
{
    auto mesh = std::make_shared<TavAM::Mesh>();
    for (int corner = 0; corner < 8; ++corner)
        mesh->vertices.push_back({(corner & 1) ? i_width : 0, (corner & 2) ? i_depth : 0, (corner & 4) ? i_height : 0});
    mesh->triangles = {{{0, 2, 1}}, {{1, 2, 3}}, {{4, 5, 6}}, {{5, 7, 6}}, {{0, 1, 4}}, {{1, 5, 4}},
                       {{2, 6, 3}}, {{3, 6, 7}}, {{0, 4, 2}}, {{2, 4, 6}}, {{1, 3, 5}}, {{3, 7, 5}}};
    return mesh;
}

/// Of rings and sectors; without poles, so that it is a little open.
inline std::shared_ptr<TavAM::Mesh> MakeBall(std::uint32_t i_rings, float i_radius)
{
    auto mesh = std::make_shared<TavAM::Mesh>();
    const std::uint32_t sectors = 2 * i_rings;
    for (std::uint32_t ring = 0; ring <= i_rings; ++ring) {
        for (std::uint32_t sector = 0; sector < sectors; ++sector) {
            const double polar = std::numbers::pi * (ring + 0.001) / (i_rings + 0.002);
            const double around = 2 * std::numbers::pi * sector / sectors;
            mesh->vertices.push_back({static_cast<float>(i_radius * std::sin(polar) * std::cos(around)),
                                      static_cast<float>(i_radius * std::sin(polar) * std::sin(around)),
                                      static_cast<float>(i_radius * (1 - std::cos(polar)))});
            if (ring == i_rings)
                continue;
            const std::uint32_t a = ring * sectors + sector, b = ring * sectors + (sector + 1) % sectors;
            mesh->triangles.push_back({a, a + sectors, b});
            mesh->triangles.push_back({b, a + sectors, b + sectors});
        }
    }
    return mesh;
}

inline TavAM::Part MakePart(const std::wstring& i_name, std::shared_ptr<const TavAM::Mesh> ip_mesh, double i_x,
                            double i_y, double i_z = 0)
{
    TavAM::Part part;
    part.SetName(i_name);
    part.SetRepresentation(TavAM::Representation::FromMesh(std::move(ip_mesh)));
    part.SetPlacement(TavAM::Transform::Translation(i_x, i_y, i_z));
    return part;
}

/// A host whose scene has a platform of a machine, and the selection of that scene.
class Fixture : public TestSupport::HostFixture
{
protected:
    /// The platform gets a machine with a volume that begins at the origin, 120 mm high. \param i_depth 0: round.
    void SetBed(double i_width, double i_depth, std::vector<MachineLayer::Data::NoBuildZone> i_zones = {})
    {
        const auto data = MachineLayer::CreateMachineData();
        MachineLayer::Data::Machine& machine = data->Edit();
        machine.properties.name = L"Example 200";
        if (i_depth > 0)
            machine.platformShape = MachineLayer::Data::BoxShape{i_width, i_depth, 120};
        else
            machine.platformShape = MachineLayer::Data::CylinderShape{i_width, 120};
        machine.platformGeometry.emplace();
        machine.nesting.emplace().noBuildZones = std::move(i_zones);
        _host.scene->GetPlatform().SetMachine(MachineLayer::PLDF::ConvertToMachineParameters(*data));
        Announce();
    }

    std::vector<TavAM::Part>& GetParts() { return _host.scene->GetParts(); }
    boost::uuids::uuid GetId(std::size_t i_index) { return GetParts()[i_index].GetRevisionId(); }
    /// Tells of parts that were put into the scene by hand.
    void Announce() { _host.GetDatabase().Send(VexlorCore::OperationCompleted(0)); }
    std::size_t CountSteps() const { return _host.application.GetOperationManager()->GetHistory().size(); }
    bool Undo() { return _host.application.GetOperationManager()->Undo(); }

    Workbench::Selection _selection{*_host.scene};
};

} // namespace PlateTest
