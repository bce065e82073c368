#include "hosting/PlatformComparison.h"
#include "support/HostFixture.h"

namespace Hosting {
namespace {

using TavAM::Platform;

TEST(PlatformComparisonTest, NamesTheDifference)
{
    Platform platform;
    platform.SetName(L"platform");
    platform.SetMachine(TavAM::MachineParameters());
    platform.GetParts() = {TestSupport::MakePart(L"first"), TestSupport::MakePart(L"second")};
    const struct
    {
        const char* difference;
        std::function<void(Platform&)> change;
    } rows[] = {
        {"",
         [](Platform&) {
         }},
        {"",
         [](Platform& io_other) {
             io_other.GetParts()[0].SetPlacement(TavAM::Transform::Translation(1e-7, 0, 0));
         }},
        {"The platform has another name.",
         [](Platform& io_other) {
             io_other.SetName(L"other");
         }},
        {"The platform has other properties.",
         [](Platform& io_other) {
             io_other.GetAMXProperties().SetText(L"a", L"b");
         }},
        {"The platform has another machine.",
         [](Platform& io_other) {
             io_other.SetMachine(std::nullopt);
         }},
        {"The platform has 1 parts instead of 2.",
         [](Platform& io_other) {
             io_other.GetParts().pop_back();
         }},
        {"The part 'second' has another id.",
         [](Platform& io_other) {
             io_other.GetParts()[1] = TestSupport::MakePart(L"second");
         }},
        {"The part 'second' has another name.",
         [](Platform& io_other) {
             io_other.GetParts()[1].SetName(L"third");
         }},
        {"The part 'first' has another place.",
         [](Platform& io_other) {
             io_other.GetParts()[0].SetPlacement(TavAM::Transform::Translation(0, 0, 2e-6));
         }},
        {"The part 'first' has another shape.",
         [](Platform& io_other) {
             io_other.GetParts()[0].SetRepresentation({});
         }},
        {"The part 'first' has other strategies.",
         [](Platform& io_other) {
             io_other.GetParts()[0].SetStrategies(TavAM::Part::Strategies{});
         }},
        {"The part 'first' has another supports flag.",
         [](Platform& io_other) {
             io_other.GetParts()[0].SetHasSupports(true);
         }},
        {"The part 'first' has other properties.",
         [](Platform& io_other) {
             io_other.GetParts()[0].GetAMXProperties().SetText(L"a", L"b");
         }},
    };
    for (const auto& row : rows) {
        Platform other = platform;
        row.change(other);
        EXPECT_EQ(FindDifference(platform, other).toStdString(), row.difference);
    }
}

} // namespace
} // namespace Hosting
