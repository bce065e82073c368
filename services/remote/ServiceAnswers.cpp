#include "remote/ServiceAnswers.h"

#include "contract/Failure.h"
#include "wire/Conversions.h"
#include "wire/Failures.h"

#include <algorithm>

namespace MachineService::Remote {

namespace {

constexpr int MaxAnswers = 1000;
constexpr int MaxComponents = 100;
constexpr int MaxItems = 1000;
/// Of a service that tells none.
constexpr std::chrono::milliseconds DefaultGrace(60'000);
constexpr std::chrono::milliseconds LongestGrace(24 * 3600 * 1000);
constexpr std::chrono::milliseconds HeartbeatSlack(2'000);

RunPhase ToPhase(pb::RunPhase i_phase)
{
    switch (i_phase) {
    case pb::RUN_PHASE_WAITING_FOR_INPUT:
        return RunPhase::WaitingForInput;
    case pb::RUN_PHASE_RUNNING:
        return RunPhase::Running;
    case pb::RUN_PHASE_FINISHED:
        return RunPhase::Finished;
    case pb::RUN_PHASE_FAILED:
        return RunPhase::Failed;
    default:
        return RunPhase::Unknown;
    }
}

std::uint64_t Add(std::uint64_t i_size, std::uint64_t i_more)
{
    if (i_more > Wire::MaxPlatformBytes - i_size)
        Fail(ErrorCode::InternalError,
             "The machine service announced a platform that is too large to be taken: it needs to be repaired.");
    return i_size + i_more;
}

[[noreturn]] void Refuse()
{
    Fail(ErrorCode::InternalError,
         "The machine service sent an answer about a platform that is not understood: it needs to be renewed or "
         "repaired.");
}

} // namespace

ServiceTold ToServiceTold(const pb::ServiceInformation& i_information)
{
    using std::chrono::milliseconds;
    ServiceTold told;
    told.name = i_information.name();
    for (const auto& component : i_information.components()) {
        if (told.components.size() < MaxComponents)
            told.components.emplace_back(component.name(), component.version());
    }
    if (const auto heartbeat = i_information.heartbeat_interval_ms())
        told.longestSilence = 2 * std::min(milliseconds(heartbeat), LongestGrace) + HeartbeatSlack;
    told.grace = i_information.host_grace_ms() == 0
                     ? DefaultGrace
                     : std::min(milliseconds(i_information.host_grace_ms()), LongestGrace);
    told.largestInput = i_information.largest_input_bytes();
    told.takesLateHashes = i_information.protocol_revision() >= Wire::LateHashRevision;
    return told;
}

CanRunStore::Answers ToAnswers(const pb::CanRunAnswers& i_answers)
{
    CanRunStore::Answers answers;
    for (int index = 0; index < std::min(i_answers.answers_size(), MaxAnswers); ++index) {
        const auto& answer = i_answers.answers(index);
        answers.commands[Wire::ToUuid(answer.command_id(), "command's id")] = {
            answer.can_run(), Wire::GetText(answer.reason(), "reason why a command cannot run")};
    }
    return answers;
}

RunState ToRunState(const pb::Run& i_run)
{
    RunState state;
    state.phase = ToPhase(i_run.phase());
    state.receivedBytes = i_run.received_bytes();
    state.percent = static_cast<int>(std::min(i_run.percent(), 100U));
    state.stage = Wire::GetText(i_run.stage(), "stage of a run");
    if (state.phase == RunPhase::Finished) {
        state.result = Wire::FromMessage(i_run.result());
        if (static_cast<std::size_t>(i_run.files_size()) > Wire::MaxResultFiles)
            Fail(ErrorCode::InternalError, "The machine service left too many files; it needs to be repaired.");
        for (const auto& file : i_run.files())
            state.files.push_back({file.name(), file.size_bytes(), file.sha256()});
    }
    if (state.phase == RunPhase::Failed)
        state.failure = Wire::FromFailure(i_run.failure());
    return state;
}

void PlatformReader::Take(const pb::PlatformReply& i_reply)
{
    switch (i_reply.reply_case()) {
    case pb::PlatformReply::kPercent:
        if (_watcher)
            _watcher->SetProgress(static_cast<int>(std::min(i_reply.percent(), 100U)));
        break;
    case pb::PlatformReply::kHeader:
        _TakeHeader(i_reply.header());
        break;
    case pb::PlatformReply::kChunk:
        _TakeChunk(i_reply.chunk());
        break;
    default:
        break;
    }
}

std::vector<Platform> PlatformReader::GetItems() const
{
    std::vector<Platform> items;
    std::uint64_t offset = _header->xml_bytes();
    for (const auto& item : _header->items()) {
        items.push_back({static_cast<PlatformDataKind>(item.kind()), _bytes.substr(offset, item.size_bytes())});
        offset += item.size_bytes();
    }
    return items;
}

void PlatformReader::_TakeHeader(const pb::PlatformHeader& i_header)
{
    if (_header || i_header.items_size() > MaxItems)
        Refuse();
    _size = Add(0, i_header.xml_bytes());
    for (const auto& item : i_header.items())
        _size = Add(_size, item.size_bytes());
    _header = i_header;
    _reader.emplace(_size);
}

void PlatformReader::_TakeChunk(const pb::Chunk& i_chunk)
{
    if (!_reader)
        Refuse();
    const auto piece = _reader->Take(Wire::ToPiece(i_chunk), [this](std::string_view i_bytes) { _bytes += i_bytes; });
    if (piece == Wire::ChunkReader::Piece::TooLong)
        Refuse();
    _isDamaged = _isDamaged || piece != Wire::ChunkReader::Piece::Taken;
}

} // namespace MachineService::Remote
