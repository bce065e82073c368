#include "machine-check/Session.h"
#include "tavsdk/Text.h"
#include "wire/Chunks.h"

#include <set>

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
            _report.Expect(_headers == 0 && _reader.GetReceived() == 0, "P1", _what + " has its header late or twice.");
            ++_headers;
            _announced = i_reply.header().xml_bytes();
            for (const auto& item : i_reply.header().items())
                _announced += item.size_bytes();
        } else if (i_reply.has_chunk()) {
            _report.Expect(_headers == 1, "P1", _what + " has data before its header.");
            const auto piece = _reader.Take(MachineService::Wire::ToPiece(i_reply.chunk()), [](std::string_view) {});
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

private:
    Report& _report;
    const std::string _what;
    MachineService::Wire::ChunkReader _reader{MachineService::Wire::MaxPlatformBytes};
    std::uint64_t _announced = 0;
    std::uint32_t _percent = 0;
    int _headers = 0;
};

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
    }
}

} // namespace MachineCheck
