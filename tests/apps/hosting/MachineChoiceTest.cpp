#include "hosting/MachineChoice.h"
#include "hosting/RowPlacement.h"
#include "support/FakeMachineService.h"
#include "support/HostFixture.h"

#include <boost/uuid/uuid_io.hpp>

using namespace Hosting;

namespace {

using MachineService::BuildVolume;
using MachineService::Machine;

Machine MakeMachine(std::uint8_t i_number, const std::string& i_name, std::optional<BuildVolume> i_volume)
{
    auto data = TestSupport::MakeMachineData(i_number);
    data.name = i_name;
    data.buildVolume = i_volume;
    return TestSupport::MakeFakeMachine(data);
}

Machine MakeManaged(std::uint8_t i_number, const std::string& i_name)
{
    auto data = TestSupport::MakeMachineData(i_number);
    data.name = i_name;
    data.serviceId = MachineService::ServiceId::MachineManager;
    return TestSupport::MakeFakeMachine(data);
}

TEST(MachineChoiceTest, TakesTheWantedMachineOrTheFirstThatThePartsFitInto)
{
    // Three parts of 10 mm with 5 mm between and around them need 50 mm in one row.
    const std::vector<TavAM::Part> parts(3, TestSupport::MakePart(L"part"));
    const std::vector<Machine> machines = {
        MakeMachine(1, "Silent", std::nullopt),
        MakeMachine(2, "Low", BuildVolume{0, 0, 100, 100, 9, false}),
        MakeMachine(3, "Round", BuildVolume{-20, -20, 20, 20, 100, true}),
        MakeMachine(4, "Narrow", BuildVolume{0, 0, 20, 39, 100, false}),
        MakeMachine(5, "Fitting", BuildVolume{0, 0, 50, 20, 10, false}),
        MakeManaged(6, "Low (Machine Manager)"),
        MakeManaged(7, "Fitting (Machine Manager)"),
    };
    const auto id = QString::fromStdString(boost::uuids::to_string(TestSupport::MakeId(2)));
    const struct
    {
        QString wanted;
        std::size_t machines; ///< how many of them there are
        std::string name;     ///< empty: none
        bool postsJob = false;
    } rows[] = {
        {QString(), 5, "Fitting"},
        {QString(), 4, "Silent"},
        {QString(), 0, ""},
        {QStringLiteral("narrOW"), 5, "Narrow"},
        {id.toUpper(), 5, "Low"},
        {QStringLiteral("nobody"), 5, ""},
        {QStringLiteral("fitting"), 7, "Fitting"},
        {QStringLiteral("fitting"), 7, "Fitting (Machine Manager)", true},
        {QStringLiteral("low (machine manager)"), 7, "Low (Machine Manager)"},
        {QString(), 7, "Low (Machine Manager)", true},
        {QString(), 5, "", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.wanted.toStdString() + " of " + std::to_string(row.machines));
        const std::vector<Machine> offered(machines.begin(), machines.begin() + static_cast<int>(row.machines));
        const auto machine = ChooseMachine(offered, row.wanted, parts, row.postsJob);
        EXPECT_EQ(machine ? machine->GetMachineData().name : "", row.name);
    }
}

TEST(MachineChoiceTest, PlacesPartsInRowsOnTheBedWithoutTouchingEachOther)
{
    auto parts = std::vector<TavAM::Part>(5, TestSupport::MakePart(L"part", 400, 300));
    parts[1].SetPlacement(TavAM::Transform::Translation(0, 0, -7));
    parts.insert(parts.begin() + 2, TavAM::Part()); // without a mesh
    const auto before = parts[2].GetPlacement().rows;
    PlaceInRows(parts, BuildVolume{-30, 10, 30, 110, 50, false});
    EXPECT_EQ(parts[2].GetPlacement().rows, before);
    parts.erase(parts.begin() + 2);
    for (std::size_t left = 0; left < parts.size(); ++left) {
        const auto box = parts[left].GetBoundingBox();
        EXPECT_DOUBLE_EQ(box.min.z, 0);
        EXPECT_GE(box.min.x, -25.0);
        EXPECT_LE(box.max.x, 25.0);
        for (std::size_t right = left + 1; right < parts.size(); ++right) {
            const auto other = parts[right].GetBoundingBox();
            EXPECT_TRUE(box.max.x + 5 <= other.min.x || box.max.y + 5 <= other.min.y) << left << ' ' << right;
        }
    }
    // Three and two of them, around the middle of the bed.
    EXPECT_DOUBLE_EQ(parts[0].GetBoundingBox().min.y, 47.5);
    EXPECT_DOUBLE_EQ(parts[4].GetBoundingBox().max.y, 72.5);
}

} // namespace
