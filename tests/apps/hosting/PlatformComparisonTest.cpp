#include "hosting/PlatformComparison.h"
#include "support/HostFixture.h"

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
        void (*change)(Platform&);
        const char* difference;
    } rows[] = {
        {[](Platform&) {}, ""},
        {[](Platform& io_p) { io_p.GetParts()[0].SetPlacement(TavAM::Transform::Translation(1e-7, 0, 0)); }, ""},
        {[](Platform& io_p) { io_p.SetName(L"other"); }, "The platform has another name."},
        {[](Platform& io_p) { io_p.GetAMXProperties().SetText(L"a", L"b"); }, "The platform has other properties."},
        {[](Platform& io_p) { io_p.SetMachine(std::nullopt); }, "The platform has another machine."},
        {[](Platform& io_p) { io_p.GetParts().pop_back(); }, "The platform has 1 parts instead of 2."},
        {[](Platform& io_p) { io_p.GetParts()[1] = TestSupport::MakePart(L"second"); },
         "The part 'second' has another id."},
        {[](Platform& io_p) { io_p.GetParts()[1].SetName(L"third"); }, "The part 'second' has another name."},
        {[](Platform& io_p) { io_p.GetParts()[0].SetPlacement(TavAM::Transform::Translation(0, 0, 2e-6)); },
         "The part 'first' has another place."},
        {[](Platform& io_p) { io_p.GetParts()[0].SetRepresentation({}); }, "The part 'first' has another shape."},
        {[](Platform& io_p) { io_p.GetParts()[0].SetStrategies(TavAM::Part::Strategies{}); },
         "The part 'first' has other strategies."},
        {[](Platform& io_p) { io_p.GetParts()[0].SetHasSupports(true); },
         "The part 'first' has another supports flag."},
        {[](Platform& io_p) { io_p.GetParts()[0].GetAMXProperties().SetText(L"a", L"b"); },
         "The part 'first' has other properties."},
    };
    for (const auto& row : rows) {
        Platform other = platform;
        row.change(other);
        EXPECT_EQ(Hosting::FindDifference(platform, other).toStdString(), row.difference);
    }
}

} // namespace
