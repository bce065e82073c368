#include "catalog/PrinterAttachment.h"

#include "catalog/PldfTimestamps.h"
#include "support/FakeMachineService.h"

#include "tavam/PropertyNames.h"
#include "vexlorcore/Database.h"
#include "vexlorcore/Time.h"

#include <boost/uuid/uuid_io.hpp>

#include <gtest/gtest.h>

using namespace MachineService;

namespace {

using namespace TestSupport;
using namespace TavAM::PropertyNames;

constexpr long long Noon = 1'795'262'400; // 2026-11-21 12:00:00 UTC

Machine MakeMachineOf(std::uint8_t i_number, std::optional<long long> i_ticks)
{
    MachineData data = MakeMachineData(i_number);
    if (i_ticks)
        data.configurationTime = ConfigurationTime(ConfigurationTime::duration(*i_ticks));
    return MakeFakeMachine(data);
}

Machine MakeMachineAt(std::uint8_t i_number, long long i_seconds)
{
    return MakeMachineOf(i_number, i_seconds * 10'000'000 + 9'999'999); // the fraction does not count
}

std::wstring GetIdText(std::uint8_t i_number)
{
    return boost::uuids::to_wstring(MakeId(i_number));
}

class RevisionCounter final : public VexlorCore::MListener
{
public:
    int count = 0;

private:
    void ExecuteSelf(const VexlorCore::INotification& i_notification) override
    {
        count += dynamic_cast<const VexlorCore::BPPlatformRevisionChanged*>(&i_notification) ? 1 : 0;
    }
};

class PrinterAttachmentTest : public ::testing::Test
{
protected:
    PrinterAttachmentTest()
    {
        _database.AddListener(&_revisions);
        _revisions.StartListening();
    }
    TavAM::PersistentProperties& _Properties() { return _scene->GetAMObject().GetAMXProperties(false); }
    std::wstring _GetStored() { return _Properties().GetText(Print3D::MachineInformationTimestamp).value_or(L"none"); }
    std::optional<std::uint8_t> _TryGetPrinter()
    {
        const auto lookup = [this](const QUuid& i_id) -> std::optional<Machine> {
            _lookedUp.push_back(i_id);
            if (i_id.isNull())
                return std::nullopt;
            return MakeMachineOf(static_cast<std::uint8_t>(i_id.toRfc4122().back()), {});
        };
        const auto printer = Utilities::TryGetPrinter(lookup, _scene);
        return printer ? std::optional(printer->GetMachineData().id.data[15]) : std::nullopt;
    }

    VexlorCore::Database _database;
    RevisionCounter _revisions;
    VexlorCore::DataSet* const _scene = _database.CreateDataSet();
    std::vector<QUuid> _lookedUp;
};

TEST_F(PrinterAttachmentTest, ASceneNamesItsMachineUntilItIsDetached)
{
    Utilities::AttachPrinter(_scene, MakeMachineAt(1, Noon));
    EXPECT_EQ(_Properties().GetText(Print3D::SelectedQueueID), L"0f1e2d3c-4b5a-6978-8796-a5b4c3d2e101");
    EXPECT_EQ(_GetStored(), L"2026-11-21T12:00:00Z");
    EXPECT_EQ(_TryGetPrinter(), 1);
    EXPECT_TRUE(_lookedUp.empty());

    Utilities::ClearCachedMachineData(_scene);
    EXPECT_FALSE(Utilities::GetPrinter(_scene));
    EXPECT_EQ(_GetStored(), L"none");
    EXPECT_EQ(_TryGetPrinter(), 1);
    EXPECT_EQ(_TryGetPrinter(), 1);
    EXPECT_EQ(_lookedUp.size(), 1U); // kept after the first look-up

    Utilities::DetachPrinter(_scene);
    EXPECT_FALSE(_TryGetPrinter());
    EXPECT_EQ(_lookedUp.size(), 1U);
    EXPECT_EQ(_Properties().GetCount(), 0U);
    EXPECT_EQ(_revisions.count, 0);
    EXPECT_FALSE(Utilities::TryGetPrinter({}, nullptr));
}

TEST_F(PrinterAttachmentTest, AnIdOfAnEarlierVersionWinsUntilAnotherMachineIsAttached)
{
    _Properties().SetText(Print3D::OldSelectedQueueID, L"{0F1E2D3C4B5A69788796A5B4C3D2E101}");
    _Properties().SetText(Print3D::SelectedQueueID, GetIdText(2));
    Utilities::AttachPrinter(_scene, MakeMachineAt(1, Noon)); // the same machine: only the time
    EXPECT_TRUE(_Properties().Has(Print3D::OldSelectedQueueID));
    EXPECT_EQ(_Properties().GetText(Print3D::SelectedQueueID), GetIdText(2));
    EXPECT_EQ(_revisions.count, 1);

    _Properties().SetText(Print3D::OldSelectedQueueID, GetIdText(3));
    Utilities::ClearCachedMachineData(_scene);
    EXPECT_EQ(_TryGetPrinter(), 3);
    Utilities::AttachPrinter(_scene, MakeMachineOf(4, {}));
    EXPECT_FALSE(_Properties().Has(Print3D::OldSelectedQueueID));
    EXPECT_EQ(_Properties().GetText(Print3D::SelectedQueueID), GetIdText(4));
    EXPECT_EQ(_TryGetPrinter(), 4);
}

TEST_F(PrinterAttachmentTest, AMalformedIdIsLookedUpAsNullAndStopsAttaching)
{
    _Properties().SetText(Print3D::SelectedQueueID, L"no id");
    EXPECT_FALSE(_TryGetPrinter());
    EXPECT_EQ(_lookedUp, std::vector<QUuid>{QUuid()});
    EXPECT_THROW(Utilities::AttachPrinter(_scene, MakeMachineOf(1, {})), std::runtime_error);
    EXPECT_EQ(_Properties().GetText(Print3D::SelectedQueueID), L"no id");
}

TEST_F(PrinterAttachmentTest, TheStoredTimeIsOnlyAdvancedAndOnlyBySixSeconds)
{
    struct Row
    {
        std::wstring stored;
        std::optional<long long> ticks;
        std::wstring expected;
        int revisions;
    };
    const auto seconds = [](long long i_seconds) {
        return i_seconds * 10'000'000 + 9'999'999;
    };
    const Row rows[] = {
        {L"", seconds(Noon), L"2026-11-21T12:00:00Z", 1},
        {L"2026-11-21T12:00:00Z", seconds(Noon + 5), L"2026-11-21T12:00:00Z", 0},
        {L"2026-11-21T12:00:00Z", seconds(Noon + 6), L"2026-11-21T12:00:06Z", 1},
        {L"2026-11-21T12:00:00Z", seconds(Noon - 3600), L"2026-11-21T12:00:00Z", 0},
        {L"", std::nullopt, L"", 0},
        {L"", AbsentConfigurationTicks, L"", 0},
        {L"", -5'000'000, L"1970-01-01T00:00:00Z", 1}, // towards zero
    };
    for (const Row& row : rows) {
        _revisions.count = 0;
        _Properties().SetText(Print3D::MachineInformationTimestamp, row.stored);
        Utilities::UpdatePldfTimestamp(_scene, MakeMachineOf(1, row.ticks));
        EXPECT_EQ(_GetStored(), row.expected);
        EXPECT_EQ(_revisions.count, row.revisions);
    }
    _Properties().SetText(Print3D::MachineInformationTimestamp, L"noon");
    EXPECT_THROW(Utilities::UpdatePldfTimestamp(_scene, MakeMachineAt(1, Noon)), std::invalid_argument);
    // Beyond what the text form can carry: dropped.
    Utilities::SetPldfTimestampFromMachine(_scene->GetAMObject(), MakeMachineOf(1, AbsentConfigurationTicks + 1));
    EXPECT_EQ(_GetStored(), L"noon");
    Utilities::SetPldfTimeStampToCurrentTime(_scene);
    EXPECT_GT(VexlorCore::GetUtcTimeFromIso8601String(_GetStored()), 1'700'000'000);
}

TEST(PrinterNamesTest, RepresentationsKeepTheirNumbers)
{
    for (int value = -1; value <= 5; ++value) {
        const int expected = value >= 1 && value <= 4 ? value : 0;
        EXPECT_EQ(static_cast<int>(Utilities::ToMachineRepType(static_cast<MachineRepresentation>(value))), expected);
        EXPECT_EQ(
            static_cast<int>(Utilities::ToMachinePrepresentation(static_cast<MachineLayer::MachineRepType>(value))),
            expected);
    }
}

} // namespace
