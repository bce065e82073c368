#include "machine-check/Session.h"
#include "tavsdk/Text.h"
#include "wire/Chunks.h"
#include "wire/Failures.h"

#include <set>
#include <utility>

namespace MachineCheck {

namespace {

/// Looks at the messages of one answer about a platform.
class PlatformReader
{
public:
    PlatformReader(Report& io_report, std::string i_what)
        : _report(io_report)
        , _what(std::move(i_what))
    {}

    bool Take(const pb::PlatformReply& i_reply)
    {
        if (i_reply.reply_case() == pb::PlatformReply::kPercent) {
            _report.Expect(i_reply.percent() <= 100 && i_reply.percent() >= _percent, "P4",
                           _what + " went from " + std::to_string(_percent) + " to " +
                               std::to_string(i_reply.percent()) + " percent.");
            _percent = i_reply.percent();
        } else if (i_reply.has_header()) {
            _header = i_reply.header();
            _report.Expect(_headers == 0 && _reader.GetReceived() == 0, "P1", _what + " has its header late or twice.");
            ++_headers;
            _announced = i_reply.header().xml_bytes();
            for (const auto& item : i_reply.header().items())
                _announced += item.size_bytes();
        } else if (i_reply.has_chunk()) {
            _report.Expect(_headers == 1, "P1", _what + " has data before its header.");
            const auto piece = _reader.Take(MachineService::Wire::ToPiece(i_reply.chunk()),
                                            [this](std::string_view i_bytes) { _Keep(i_bytes); });
            _report.Expect(piece == MachineService::Wire::ChunkReader::Piece::Taken, "P2",
                           _what + " has a piece at the wrong place, too long, or damaged.");
        }
        return true;
    }
    void End(const grpc::Status& i_status)
    {
        // A machine may refuse; a call that succeeds is whole.
        if (!i_status.ok())
            return;
        _report.Expect(_headers == 1, "P1", _what + " has no header.");
        _report.Expect(_reader.GetReceived() == _announced, "P3",
                       _what + " has " + std::to_string(_reader.GetReceived()) + " bytes and announces " +
                           std::to_string(_announced) + '.');
    }

    const pb::PlatformHeader& GetHeader() const { return _header; }
    /// The beginning of all data.
    const std::string& GetBytes() const { return _bytes; }

private:
    void _Keep(std::string_view i_bytes)
    {
        if (_bytes.size() < MaxKept)
            _bytes += i_bytes;
    }

    static constexpr std::size_t MaxKept = 64 << 20;
    Report& _report;
    const std::string _what;
    pb::PlatformHeader _header;
    std::string _bytes;
    MachineService::Wire::ChunkReader _reader{MachineService::Wire::MaxPlatformBytes};
    std::uint64_t _announced = 0;
    std::uint32_t _percent = 0;
    int _headers = 0;
};

/// A change of a platform.
struct Change
{
    grpc::Status status;
    bool hasCode = false; ///< of the failure that it ended with
    int headers = 0;
    int items = 0;
};

Change Modify(Session& io_session, const std::string& i_machine, const pb::PlatformItem& i_item,
              const std::string& i_bytes, bool i_is_damaged)
{
    Change change;
    const auto context = io_session.MakeContext();
    const auto stream = io_session.Get().ModifyPlatform(context.get());
    pb::ModifyPlatformRequest request;
    request.mutable_header()->mutable_machine()->set_machine_id(i_machine);
    *request.mutable_header()->mutable_platform() = i_item;
    if (stream->Write(request))
        MachineService::Wire::ByteChunks().Send(i_bytes, [&](const pb::Chunk& i_chunk) {
            *request.mutable_chunk() = i_chunk;
            if (i_is_damaged)
                request.mutable_chunk()->mutable_content()->front() ^= 1;
            return stream->Write(request);
        });
    stream->WritesDone();
    for (pb::PlatformReply reply; stream->Read(&reply);) {
        change.headers += reply.has_header() ? 1 : 0;
        change.items += reply.header().items_size();
    }
    change.status = stream->Finish();
    const auto failure = MachineService::Wire::GetFailure(change.status, *context);
    change.hasCode = failure && failure->code() != pb::ERROR_CODE_NONE;
    return change;
}

/// The machine gets its own empty platform back.
void CheckModification(Session& io_session, const pb::Machine& i_machine, const PlatformReader& i_empty,
                       Report& io_report)
{
    if (i_empty.GetHeader().items_size() == 0 || i_empty.GetBytes().empty() ||
        i_empty.GetBytes().size() != i_empty.GetHeader().items(0).size_bytes())
        return;
    const auto name = TavSDK::Quote(i_machine.name(), 100);
    const auto& item = i_empty.GetHeader().items(0);
    const auto damaged = Modify(io_session, i_machine.id(), item, i_empty.GetBytes(), true);
    if (damaged.status.error_code() == grpc::StatusCode::UNIMPLEMENTED)
        return;
    io_report.Expect(!damaged.status.ok(), "M2", name + " took it.");
    const auto change = Modify(io_session, i_machine.id(), item, i_empty.GetBytes(), false);
    const bool isAnswered = change.headers == 1 && change.items == 0;
    io_report.Expect(change.status.ok() ? isAnswered : change.hasCode, "M1",
                     change.status.ok() ? name + " answered with " + std::to_string(change.headers) + " headers and " +
                                              std::to_string(change.items) + " items."
                                        : name + " refused without a failure.");
}

} // namespace

void CheckAnswers(Session& io_session, const Seen& i_seen, Report& io_report)
{
    pb::CanRunAnswers answers;
    pb::CanRunRequest request;
    for (const auto& machine : i_seen.machines) {
        request.mutable_machine()->set_machine_id(machine.id());
        const auto status = io_session.Call(&pb::MachineService::Stub::GetCanRunAnswers, request, answers);
        if (!status.ok())
            continue;
        std::set<std::string> commands;
        for (const auto& command : machine.commands())
            commands.insert(command.id());
        for (const auto& answer : answers.answers())
            io_report.Expect(commands.erase(answer.command_id()) == 1, "A1",
                             TavSDK::Quote(machine.name(), 100) + " answers for a command that it has not, or twice.");
    }
    const std::string unknown(16, '\x5a');
    request.mutable_machine()->set_machine_id(unknown);
    auto status = io_session.Call(&pb::MachineService::Stub::GetCanRunAnswers, request, answers);
    if (status.error_code() != grpc::StatusCode::UNIMPLEMENTED)
        io_report.Expect(io_session.IsRefusedAsUnknown(status, "unknown-machine"), "A2",
                         "GetCanRunAnswers did not refuse it.");
    pb::EmptyPlatformRequest platform;
    platform.mutable_machine()->set_machine_id(unknown);
    status = io_session.Read<pb::EmptyPlatformRequest, pb::PlatformReply>(
        &pb::MachineService::Stub::GetEmptyPlatform, platform, [](const pb::PlatformReply&) { return true; });
    io_report.Expect(io_session.IsRefusedAsUnknown(status, "unknown-machine"), "A2",
                     "GetEmptyPlatform did not refuse it.");
}

void CheckPlatforms(Session& io_session, const Seen& i_seen, Report& io_report)
{
    for (const auto& machine : i_seen.machines) {
        const auto name = TavSDK::Quote(machine.name(), 100);
        PlatformReader information(io_report, "The platform information of " + name);
        pb::PlatformInformationRequest informationRequest;
        informationRequest.mutable_machine()->set_machine_id(machine.id());
        information.End(io_session.Read<pb::PlatformInformationRequest, pb::PlatformReply>(
            &pb::MachineService::Stub::GetPlatformInformation, informationRequest,
            [&](const pb::PlatformReply& i_reply) { return information.Take(i_reply); }));
        PlatformReader empty(io_report, "The empty platform of " + name);
        pb::EmptyPlatformRequest emptyRequest;
        emptyRequest.mutable_machine()->set_machine_id(machine.id());
        empty.End(io_session.Read<pb::EmptyPlatformRequest, pb::PlatformReply>(
            &pb::MachineService::Stub::GetEmptyPlatform, emptyRequest,
            [&](const pb::PlatformReply& i_reply) { return empty.Take(i_reply); }));
        CheckModification(io_session, machine, empty, io_report);
    }
}

void CheckAssignments(Session& io_session, const Seen& i_seen, Report& io_report)
{
    pb::ProfileAssignmentsRequest request;
    pb::ProfileAssignments reply;
    for (const auto& machine : i_seen.machines) {
        request.mutable_machine()->set_machine_id(machine.id());
        if (!io_session.Call(&pb::MachineService::Stub::GetProfileAssignments, request, reply).ok())
            continue;
        std::set<std::pair<std::string, std::string>> known;
        for (const auto& assignment : reply.assignments())
            io_report.Expect(!assignment.id().empty() && !assignment.name().text().empty() &&
                                 known.emplace(assignment.role(), assignment.id()).second,
                             "S1",
                             "A strategy of " + TavSDK::Quote(machine.name(), 100) +
                                 " has no id or no name, or is told twice for the role " +
                                 TavSDK::Quote(assignment.role(), 100) + '.');
    }
    request.mutable_machine()->set_machine_id(std::string(16, '\x5a'));
    const auto status = io_session.Call(&pb::MachineService::Stub::GetProfileAssignments, request, reply);
    if (status.error_code() != grpc::StatusCode::UNIMPLEMENTED)
        io_report.Expect(io_session.IsRefusedAsUnknown(status, "unknown-machine"), "A2",
                         "GetProfileAssignments did not refuse it.");
}

} // namespace MachineCheck
