#include "WireSeeds.h"

#include "WireMessages.h"
#include "hashing/Sha256.h"
#include "wire/Conversions.h"
#include "wire/Failures.h"

#include <machineservice/v1/machines.pb.h>
#include <machineservice/v1/runs.pb.h>

namespace Fuzz {

namespace {

using namespace MachineService;
namespace pb = Wire::pb;

boost::uuids::uuid MakeId(std::uint8_t i_number)
{
    boost::uuids::uuid id = {};
    id.data[0] = i_number;
    return id;
}

std::string Write(int i_kind, const std::string& i_bytes)
{
    return std::string{static_cast<char>(i_kind), static_cast<char>(i_bytes.size() & 255),
                       static_cast<char>(i_bytes.size() >> 8)} +
           i_bytes;
}

template <class Message>
std::string Write(int i_kind, const Message& i_message)
{
    return Write(i_kind, i_message.SerializeAsString());
}

pb::Machine MakeMachine()
{
    MachineData data;
    data.id = MakeId(1);
    data.name = "Kestrel";
    data.manufacturer = "maker";
    data.buildVolume = BuildVolume{0, 0, 100, 100, 50, true};
    data.configurationTime = ConfigurationTime(ConfigurationTime::duration(17));
    data.state = MachineState::Paused;
    data.stateReasons = {"The door is open."};
    data.stateTime = std::chrono::system_clock::time_point(std::chrono::seconds(1));
    pb::Machine machine = Wire::ToMessage(data);
    CommandDescription build{CommandType::Build, MakeId(2), DataFormat::Platform, "Print", "Prints.", {'i'}};
    *machine.add_commands() = Wire::ToMessage(build);
    *machine.add_other_representations() = Wire::ToMessage(data);
    return machine;
}

pb::Chunk MakeChunk(const std::string& i_content)
{
    pb::Chunk chunk;
    chunk.set_content(i_content);
    chunk.set_sha256_so_far(HashOf(i_content));
    return chunk;
}

std::string MakeCatalog(int i_kind)
{
    pb::CatalogEvent event;
    event.set_epoch(std::string(16, 'e'));
    event.set_revision(1);
    *event.mutable_snapshot()->add_machines() = MakeMachine();
    event.mutable_snapshot()->set_is_last(true);
    std::string bytes = Write(i_kind, event);
    *event.mutable_added() = MakeMachine();
    bytes += Write(i_kind, event);
    *event.mutable_updated()->mutable_machine() = MakeMachine();
    event.mutable_updated()->set_changes(8);
    bytes += Write(i_kind, event);
    event.set_removed(Wire::ToBytes(MakeId(1)));
    return bytes + Write(i_kind, event);
}

std::string MakeRun()
{
    pb::Run run;
    run.set_run_id(Wire::ToBytes(MakeId(3)));
    run.set_phase(pb::RUN_PHASE_WAITING_FOR_INPUT);
    run.set_received_bytes(10);
    std::string bytes = Write(AnswerRun, run);
    run.set_phase(pb::RUN_PHASE_RUNNING);
    run.set_percent(50);
    Wire::SetText(*run.mutable_stage(), "Weaving");
    bytes += Write(AnswerRun, run);
    run.set_phase(pb::RUN_PHASE_FINISHED);
    CommandResult result;
    result.message = "done";
    result.jobList = {"https", "host", "/jobs", "q", "end"};
    *run.mutable_result() = Wire::ToMessage(result);
    auto& file = *run.add_files();
    file.set_name("platform.TavAMX");
    file.set_size_bytes(5);
    file.set_sha256(HashOf("hello"));
    bytes += Write(AnswerRun, run);
    run.set_phase(pb::RUN_PHASE_FAILED);
    *run.mutable_failure() = Wire::ToFailure(
        std::make_exception_ptr(CommunicationException(ErrorCode::FileError, "The file cannot be read.")));
    return bytes + Write(AnswerRun, run) + Write(AnswerFailure, run.failure());
}

std::string MakeAnswers()
{
    pb::Icon icon;
    icon.set_content("i");
    icon.set_sha256(HashOf("i"));
    pb::CanRunAnswers answers;
    answers.add_answers()->set_command_id(Wire::ToBytes(MakeId(2)));
    Wire::SetText(*answers.mutable_answers(0)->mutable_reason(), "The thread is torn.");
    pb::PlatformReply header;
    header.mutable_header()->set_xml_bytes(2);
    header.mutable_header()->add_items()->set_size_bytes(3);
    pb::PlatformReply chunk;
    *chunk.mutable_chunk() = MakeChunk("<>abc");
    pb::ServiceInformation information;
    information.set_protocol_revision(1);
    information.set_name("Looms");
    information.set_heartbeat_interval_ms(500);
    information.add_components()->set_name("part");
    return Write(AnswerIcon, icon) + Write(AnswerCanRun, answers) + Write(AnswerPlatform, header) +
           Write(AnswerPlatform, chunk) + Write(AnswerInformation, information) +
           Write(AnswerProfiles, Wire::ToMessage(ProfileAssignments{{"s", "Solid", "part"}}));
}

/// Records of the file in which a host keeps the last snapshot: a length in four bytes, and the bytes.
std::string MakeKept()
{
    pb::CatalogEvent event;
    event.set_epoch(std::string(16, 'e'));
    *event.mutable_snapshot()->add_machines() = MakeMachine();
    event.mutable_snapshot()->set_is_last(true);
    const auto bytes = event.SerializeAsString();
    return Write(AnswerKept,
                 std::string{static_cast<char>(bytes.size() & 255), static_cast<char>(bytes.size() >> 8), 0, 0} +
                     bytes);
}

std::string MakeRequests()
{
    CommandParameters parameters;
    parameters.commandId = MakeId(2);
    parameters.jobName = "../job";
    parameters.parts = {{"part", {{"part", "solid"}}, true}};
    pb::StartRunRequest start;
    Wire::SetParameters(start, parameters);
    start.set_run_id(Wire::ToBytes(MakeId(3)));
    start.mutable_machine()->set_machine_id(Wire::ToBytes(MakeId(1)));
    start.mutable_input()->set_name("in.TavAMX");
    start.mutable_input()->set_size_bytes(5);
    start.mutable_input()->set_sha256(HashOf("hello"));
    pb::UploadRequest upload;
    upload.set_run_id(start.run_id());
    *upload.mutable_chunk() = MakeChunk("hello");
    pb::RunRequest run;
    run.set_run_id(start.run_id());
    pb::DownloadRequest download;
    download.set_run_id(start.run_id());
    pb::WatchCatalogRequest watch;
    watch.set_epoch(std::string(16, 'e'));
    return Write(RequestStart, start) + Write(RequestUpload, upload) + Write(RequestDownload, download) +
           Write(RequestLater, std::string("a")) + Write(RequestCancel, run) + Write(RequestRelease, run) +
           MakeCatalog(RequestMachine) + Write(RequestWatchCatalog, watch);
}

} // namespace

std::vector<Seed> MakeWireSeeds()
{
    return {{"wireanswers", "catalog", MakeCatalog(AnswerCatalogEvent)},
            {"wireanswers", "run", MakeRun()},
            {"wireanswers", "answers", MakeAnswers()},
            {"wireanswers", "kept", MakeKept()},
            {"wirerequests", "run", MakeRequests()}};
}

} // namespace Fuzz
