#include "wire/Conversions.h"
#include "client/interface/CommunicationException.h"
#include "support/Failures.h"
#include "support/Files.h"
#include "support/Test.h"
#include "wire/Failures.h"

#include <machineservice/v1/runs.pb.h>

namespace MachineService::Wire {

namespace {

using TestSupport::GetFailure;

/// Bytes that were written by the first version, and are read for ever.
template <class Message>
Message Read(const std::string& i_name)
{
    Message message;
    EXPECT_TRUE(message.ParseFromString(
        TestSupport::ReadFile(std::string(MACHINESERVICE_TEST_DATA "/protocol/") + i_name + ".bin")));
    return message;
}

boost::uuids::uuid MakeId(std::uint8_t i_first)
{
    boost::uuids::uuid id = {};
    for (auto& byte : id)
        byte = i_first++;
    return id;
}

TEST(ConversionsTest, ReadAndWriteWhatTheFirstVersionWrote)
{
    const auto message = Read<pb::Machine>("machine");
    MachineData data;
    data.id = MakeId(1);
    data.name = "Kestrel \xc3\xa4";
    data.configuresConnection = data.acceptsImplicitData = data.acceptsComposedParts = true;
    data.serviceId = ServiceId::MachineManager;
    data.representation = MachineRepresentation::Group;
    data.modelId = "model";
    data.manufacturer = "maker";
    data.driverId = "driver";
    data.comment = "comment";
    data.buildVolume = BuildVolume{-1.5, 2, 300, 200, 100, true};
    data.configurationTime = ConfigurationTime(ConfigurationTime::duration(-17));
    data.technology = MachineTechnology::SheetLamination;
    data.state = MachineState::Failed;
    data.stateReasons = {"The door is open."};
    data.stateTime = std::chrono::system_clock::time_point(std::chrono::milliseconds(1234));
    EXPECT_EQ(FromMessage(message), data);
    EXPECT_EQ(FromMessage(ToMessage(data)), data);
    EXPECT_EQ(message.picture_sha256(), std::string(32, 'p'));
    const CommandDescription command{CommandType::PostJob, MakeId(2), DataFormat::None, "Post", "Posts.", {}};
    EXPECT_EQ(FromMessage(message.commands(0)), command);
    EXPECT_EQ(FromMessage(ToMessage(command)), command);

    const auto request = Read<pb::StartRunRequest>("start-run");
    const auto parameters = GetParameters(request);
    EXPECT_EQ(parameters.commandId, MakeId(2));
    EXPECT_EQ(parameters.jobName, "../job");
    EXPECT_EQ(parameters.parts.at(0).strategies.at(0).second, "solid");
    pb::StartRunRequest again;
    SetParameters(again, parameters);
    EXPECT_EQ(again.parts(0).SerializeAsString(), request.parts(0).SerializeAsString());
    EXPECT_TRUE(request.is_resumption());
    EXPECT_EQ(request.input().size_bytes(), 5u);

    const auto run = Read<pb::Run>("run");
    EXPECT_EQ(run.phase(), pb::RUN_PHASE_FINISHED);
    const auto result = FromMessage(run.result());
    EXPECT_EQ(result.secondStatus, SubmissionSent);
    EXPECT_EQ(result.jobList.fragment, "end");
    EXPECT_EQ(ToMessage(result).SerializeAsString(), run.result().SerializeAsString());
}

TEST(ConversionsTest, KeepWhatTheyDoNotKnow)
{
    auto message = Read<pb::Machine>("machine");
    message.set_service_kind(static_cast<pb::ServiceKind>(77));
    message.set_state(static_cast<pb::MachineState>(88));
    EXPECT_EQ(ToMessage(FromMessage(message)).service_kind(), 77);
    EXPECT_EQ(ToMessage(FromMessage(message)).state(), 88);
    // A field of a later version.
    pb::Machine later;
    ASSERT_TRUE(later.ParseFromString(message.SerializeAsString() + "\xfa\x3f\x03new"));
    EXPECT_THAT(later.SerializeAsString(), HasSubstr("new"));
    // What services send need not be UTF-8; what travels is.
    MachineData data = FromMessage(message);
    data.name = "bad \xff";
    EXPECT_EQ(ToMessage(data).name(), "bad \xef\xbf\xbd");
    data.name = std::string(MaxTextBytes - 1, 'a') + "\xc3\xa4";
    EXPECT_EQ(ToMessage(data).name().size(), MaxTextBytes - 1);
}

TEST(ConversionsTest, KnowLanguagesByTheirForm)
{
    for (const auto* tag : {"de", "en-GB", "zh-Hant-TW", "sl-rozaj-1994", "gsw"})
        EXPECT_TRUE(IsLanguageTag(tag)) << tag;
    for (const auto* text : {"", "C", "de_DE", "de-", "-de", "d1", "English UK", "undetermined", "de-DE.UTF-8"})
        EXPECT_FALSE(IsLanguageTag(text)) << text;
}

TEST(ConversionsTest, LetNoPeerWriteIntoLogs)
{
    pb::Failure failure;
    failure.set_code(pb::ERROR_CODE_FILE_ERROR);
    failure.mutable_sentence()->set_text("One.\n2026-11-22 12:00 \x1b[31mforged\x7f \xc3\xa4");
    EXPECT_STREQ(FromFailure(failure).what(), "One. 2026-11-22 12:00  [31mforged  \xc3\xa4");
}

TEST(ConversionsTest, RefuseWhatNoMachineIs)
{
    const auto good = Read<pb::Machine>("machine");
    const struct
    {
        std::function<void(pb::Machine&)> spoil;
        const char* found;
    } rows[] = {
        {[](auto& io_machine) { io_machine.set_id("short"); }, "a machine's id that is no id"},
        {[](auto& io_machine) { io_machine.set_id(std::string(16, '\0')); }, "a machine without an id"},
        {[](auto& io_machine) { io_machine.set_name(std::string(MaxTextBytes + 1, 'a')); }, "that is too long"},
        {[](auto& io_machine) { io_machine.mutable_build_volume()->set_height_mm(NAN); }, "that is no number"},
        {[](auto& io_machine) { io_machine.set_state_time_ms(std::numeric_limits<std::int64_t>::min()); },
         "a time that is none"},
        {[](auto& io_machine) {
             while (io_machine.state_reasons_size() < 1000)
                 io_machine.add_state_reasons();
         },
         "too many reasons"},
    };
    for (const auto& row : rows) {
        auto bad = good;
        row.spoil(bad);
        EXPECT_THAT(GetFailure([&] { FromMessage(bad); }).text, HasSubstr(row.found));
    }
    for (const char* name : {"", ".", "..", ".hidden", "a/b", "a\\b", "a\nb", "\x7f"})
        EXPECT_FALSE(IsPlainFileName(name)) << name;
    EXPECT_FALSE(IsPlainFileName(std::string(256, 'a')));
    EXPECT_FALSE(IsPlainFileName(std::string_view("a\0b", 3)));
    EXPECT_TRUE(IsPlainFileName("Gr\xc3\xb6\xc3\x9f"
                                "e (2).gcode"));
}

} // namespace

} // namespace MachineService::Wire
