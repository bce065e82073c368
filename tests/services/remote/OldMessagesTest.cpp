#include "client/interface/CommunicationException.h"
#include "remote/CatalogStream.h"
#include "remote/ServiceAnswers.h"
#include "remote/StoredMessages.h"
#include "support/Files.h"
#include "support/Test.h"
#include "wire/Conversions.h"
#include "wire/Failures.h"

namespace MachineService::Remote {

namespace {

/// Bytes of the first version, which are read for ever.
template <class Message>
Message Read(const std::string& i_name)
{
    Message message;
    const auto bytes = TestSupport::ReadFile(std::string(MACHINESERVICE_TEST_DATA "/protocol/") + i_name + ".bin");
    EXPECT_FALSE(bytes.empty()) << i_name;
    EXPECT_TRUE(message.ParseFromString(bytes)) << i_name;
    // Written as it was.
    EXPECT_EQ(message.SerializeAsString(), bytes) << i_name;
    return message;
}

boost::uuids::uuid MakeId(std::uint8_t i_first)
{
    boost::uuids::uuid id = {};
    for (auto& byte : id)
        byte = i_first++;
    return id;
}

void ExpectKestrel(const StoredMachine& i_machine)
{
    EXPECT_EQ(i_machine.data.id, MakeId(1));
    EXPECT_EQ(i_machine.data.name, "Kestrel");
    EXPECT_EQ(i_machine.data.modelId, "model");
    EXPECT_EQ(i_machine.data.state, MachineState::Paused);
    EXPECT_THAT(i_machine.data.stateReasons, ElementsAre("The door is open."));
    ASSERT_THAT(i_machine.commands, SizeIs(1));
    EXPECT_EQ(i_machine.commands[0].description,
              (CommandDescription{CommandType::Build, MakeId(2), DataFormat::Platform, "Print", "", {}}));
    ASSERT_THAT(i_machine.others, SizeIs(1));
    EXPECT_EQ(i_machine.others[0].data.representation, MachineRepresentation::Queue);
}

TEST(OldMessagesTest, TheCatalogOfTheFirstVersionIsRead)
{
    const auto snapshot = Read<pb::CatalogEvent>("catalog-snapshot");
    EXPECT_EQ(snapshot.epoch(), "epoch-of-16bytes");
    EXPECT_EQ(snapshot.revision(), 7u);
    EXPECT_TRUE(snapshot.snapshot().is_last());
    ASSERT_EQ(snapshot.snapshot().machines_size(), 1);
    ExpectKestrel(*ToStored(snapshot.snapshot().machines(0)));

    // As a host reads it.
    const auto page = Read<messages::CatalogEvent>("catalog-snapshot");
    EXPECT_EQ(page.epoch(), "epoch-of-16bytes");
    EXPECT_EQ(page.revision(), 7u);
    EXPECT_TRUE(page.snapshot().is_last());
    ASSERT_EQ(page.snapshot().machines_size(), 1);
    pb::Machine kestrel;
    ASSERT_TRUE(kestrel.ParseFromString(page.snapshot().machines(0)));
    ExpectKestrel(*ToStored(kestrel));
    const auto updated = Read<messages::CatalogEvent>("catalog-updated");
    EXPECT_EQ(static_cast<MachineChanges>(updated.updated().changes()), MachineChanges::NameChanged);
    ExpectKestrel(*ToStored(updated.updated().machine()));
    EXPECT_EQ(Wire::ToUuid(Read<messages::CatalogEvent>("catalog-removed").removed(), "id"), MakeId(1));
    EXPECT_EQ(static_cast<ServiceStatus>(Read<messages::CatalogEvent>("catalog-status").status()),
              ServiceStatus::Running);
}

TEST(OldMessagesTest, TheAnswersOfTheFirstVersionAreRead)
{
    const auto told = ToServiceTold(Read<pb::ServiceInformation>("service-information"));
    EXPECT_EQ(told.name, "Looms");
    EXPECT_THAT(told.components, ElementsAre(std::pair<std::string, std::string>("Loom", "1.2")));
    EXPECT_EQ(told.grace, std::chrono::minutes(1));
    EXPECT_EQ(told.longestSilence, std::chrono::seconds(3));
    EXPECT_EQ(told.largestInput, 1000u);
    // Such a service is told the hash of an input before its first piece.
    EXPECT_FALSE(told.takesLateHashes);

    const auto answers = ToAnswers(Read<pb::CanRunAnswers>("can-run-answers"));
    EXPECT_EQ(answers.commands.at(MakeId(2)), (CanRunAnswer{false, "The thread is torn."}));
    EXPECT_EQ(answers.commands.at(MakeId(1)), (CanRunAnswer{true, ""}));

    PlatformReader reader(nullptr);
    reader.Take(Read<pb::PlatformReply>("platform-header"));
    reader.Take(Read<pb::PlatformReply>("platform-chunk"));
    ASSERT_TRUE(reader.IsComplete());
    EXPECT_FALSE(reader.IsDamaged());
    EXPECT_EQ(reader.GetXml(), "<>");
    ASSERT_THAT(reader.GetItems(), SizeIs(1));
    EXPECT_EQ(reader.GetItems()[0].kind, PlatformDataKind::Platform);
    EXPECT_EQ(reader.GetItems()[0].data, "abc");
    EXPECT_EQ(Wire::FromMessage(reader.GetHeader().result()).dataFormat, DataFormat::Platform);

    EXPECT_EQ(Wire::FromMessage(Read<pb::ProfileAssignments>("profile-assignments")),
              (ProfileAssignments{{"s", "Solid", "part"}}));
    const auto failure = Wire::FromFailure(Read<pb::Failure>("failure"));
    EXPECT_EQ(failure.code(), ErrorCode::FileError);
    EXPECT_STREQ(failure.what(), "The file cannot be read.");
    const auto run = ToRunState(Read<pb::Run>("run"));
    EXPECT_EQ(run.phase, RunPhase::Finished);
    EXPECT_THAT(run.files, Not(IsEmpty()));
}

} // namespace

} // namespace MachineService::Remote
