#include "server/CatalogJournal.h"
#include "support/Test.h"

namespace MachineService::Server {

namespace {

namespace pb = Wire::pb;

std::shared_ptr<const PublishedMachine> MakeMachine(const std::string& i_name)
{
    pb::Machine machine;
    machine.set_id(i_name);
    machine.set_name(i_name);
    return std::make_shared<PublishedMachine>(machine);
}

pb::CatalogEvent Parse(const std::string& i_bytes)
{
    pb::CatalogEvent event;
    EXPECT_TRUE(event.ParseFromString(i_bytes));
    // Put together of pieces, it is as if it had been written at once.
    EXPECT_EQ(event.SerializeAsString(), i_bytes);
    return event;
}

/// Everything that there is to tell, in short.
std::vector<std::string> TellAll(CatalogJournal::Reader& io_reader)
{
    std::vector<std::string> told;
    for (std::string bytes; io_reader.Next(bytes);) {
        const auto event = Parse(bytes);
        std::string text = std::to_string(event.revision()) + ":";
        if (event.has_snapshot()) {
            for (const auto& machine : event.snapshot().machines())
                text += " " + machine.name();
            text += event.snapshot().is_last() ? " last" : " more";
        } else if (event.has_added()) {
            text += " +" + event.added().name();
        } else if (event.has_updated()) {
            text += " ~" + event.updated().machine().name() + std::to_string(event.updated().changes());
        } else if (event.event_case() == pb::CatalogEvent::kRemoved) {
            text += " -" + event.removed();
        } else if (event.event_case() == pb::CatalogEvent::kStatus) {
            text += " status " + std::to_string(event.status());
        }
        told.push_back(text);
    }
    return told;
}

class CatalogJournalTest : public ::testing::Test
{
protected:
    const std::shared_ptr<Bell> bell = std::make_shared<Bell>();
    CatalogJournal journal{"epoch", bell, {.changes = 3, .pageBytes = 1 << 20, .pageMachines = 2}};
};

TEST_F(CatalogJournalTest, TellsStatusSnapshotInPagesAndThenChanges)
{
    journal.SetStatus(pb::SERVICE_STATUS_STARTING);
    auto reader = journal.Follow("", 0);
    // A host would take what is still missing for removed.
    EXPECT_THAT(TellAll(reader), ElementsAre("0: status 1"));
    for (const char* name : {"a", "b", "c"})
        journal.Put(name, MakeMachine(name), 0);
    EXPECT_THAT(TellAll(reader), IsEmpty());
    journal.SetLoaded();
    EXPECT_THAT(TellAll(reader), IsEmpty());
    journal.SetStatus(pb::SERVICE_STATUS_RUNNING);
    EXPECT_THAT(TellAll(reader), ElementsAre("0: status 2", "5: a b more", "5: c last"));
    journal.Put("b", MakeMachine("b"), 4);
    journal.Remove("a");
    journal.Remove("a");
    journal.Put("d", MakeMachine("d"), 9);
    EXPECT_THAT(TellAll(reader), ElementsAre("6: ~b4", "7: -a", "8: +d"));
    journal.SetStatus(pb::SERVICE_STATUS_FAILED);
    journal.SetStatus(pb::SERVICE_STATUS_FAILED);
    EXPECT_THAT(TellAll(reader), ElementsAre("9: status 4"));
    const auto heartbeat = Parse(reader.MakeHeartbeat());
    EXPECT_TRUE(heartbeat.has_heartbeat());
    EXPECT_EQ(heartbeat.revision(), 9u);
    EXPECT_EQ(heartbeat.epoch(), "epoch");
}

TEST_F(CatalogJournalTest, TellsAnEmptyCatalogAsOnePage)
{
    journal.SetLoaded();
    auto reader = journal.Follow("", 0);
    EXPECT_THAT(TellAll(reader), ElementsAre("0: last"));
}

TEST_F(CatalogJournalTest, GoesOnWhereTheHostWasIfItStillCan)
{
    journal.SetLoaded();
    for (const char* name : {"a", "b", "c", "d", "e"})
        journal.Put(name, MakeMachine(name), 0);
    const struct
    {
        const char* epoch;
        std::uint64_t revision;
        std::vector<std::string> told;
    } rows[] = {
        {"epoch", 5, {}},
        {"epoch", 3, {"4: +d", "5: +e"}},
        {"epoch", 2, {"3: +c", "4: +d", "5: +e"}},
        {"epoch", 1, {"5: a b more", "5: c d more", "5: e last"}}, // forgotten
        {"epoch", 0, {"5: a b more", "5: c d more", "5: e last"}}, // never had a snapshot
        {"epoch", 6, {"5: a b more", "5: c d more", "5: e last"}}, // not of this service
        {"other", 5, {"5: a b more", "5: c d more", "5: e last"}},
    };
    for (const auto& row : rows) {
        auto reader = journal.Follow(row.epoch, row.revision);
        EXPECT_EQ(TellAll(reader), row.told) << row.epoch << ' ' << row.revision;
    }
}

TEST_F(CatalogJournalTest, GivesAHostThatIsTooSlowANewSnapshot)
{
    journal.SetLoaded();
    journal.Put("a", MakeMachine("a"), 0);
    auto reader = journal.Follow("", 0);
    EXPECT_THAT(TellAll(reader), ElementsAre("1: a last"));
    for (int change = 0; change < 4; ++change)
        journal.Put("a", MakeMachine("a"), 1);
    EXPECT_THAT(TellAll(reader), ElementsAre("5: a last"));
}

TEST_F(CatalogJournalTest, IsReadWhileItIsWritten)
{
    journal.SetLoaded();
    std::thread writer([this] {
        for (int change = 0; change < 2000; ++change) {
            journal.Put("a", MakeMachine("a"), 1);
            journal.Put(std::to_string(change), MakeMachine("x"), 0);
            journal.Remove(std::to_string(change));
        }
        journal.Put("end", MakeMachine("end"), 0);
    });
    std::vector<std::thread> readers;
    for (int number = 0; number < 3; ++number)
        readers.emplace_back([this] {
            auto reader = journal.Follow("", 0);
            std::uint64_t revision = 0;
            std::string bytes;
            bool hasEnded = false;
            while (!hasEnded) {
                if (!reader.Next(bytes)) {
                    bell->Wait(Bell::Clock::now() + std::chrono::milliseconds(1));
                    continue;
                }
                const auto event = Parse(bytes);
                EXPECT_GE(event.revision(), revision);
                revision = event.revision();
                hasEnded = event.has_added() && event.added().name() == "end";
                for (const auto& machine : event.snapshot().machines())
                    hasEnded = hasEnded || machine.name() == "end";
            }
        });
    writer.join();
    for (auto& reader : readers)
        reader.join();
}

} // namespace

} // namespace MachineService::Server
