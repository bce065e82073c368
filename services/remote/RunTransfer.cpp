#include "remote/RunTransfer.h"

#include "contract/Failure.h"
#include "tavsdk/Text.h"
#include "wire/Conversions.h"

#include <algorithm>
#include <set>

namespace MachineService::Remote {

namespace {

constexpr int MaxDamages = 5;
constexpr std::size_t MaxShown = 100; ///< bytes of a name in a sentence

[[noreturn]] void Refuse(const std::string& i_what)
{
    Fail(ErrorCode::InternalError,
         "The machine service told of " + i_what + ", which cannot be: the service needs to be repaired.");
}

} // namespace

RunTransfer::RunTransfer(std::uint64_t i_input_size, std::chrono::milliseconds i_grace, Clock::time_point i_now)
    : _inputSize(i_input_size)
    , _grace(i_grace)
    , _lastWord(i_now)
{}

bool RunTransfer::HandleState(const RunState& i_state, Clock::time_point i_now)
{
    _lastWord = i_now;
    _isKnown = true;
    switch (i_state.phase) {
    case RunPhase::Failed:
        throw i_state.failure ? *i_state.failure : CommunicationException(ErrorCode::ProcessingError);
    case RunPhase::WaitingForInput:
        if (i_state.receivedBytes > _inputSize)
            Refuse("more bytes than were sent");
        if (i_state.receivedBytes > _received)
            _damages = 0;
        _received = i_state.receivedBytes;
        _step = Step::Upload;
        break;
    case RunPhase::Finished:
        if (!_isFinished) {
            _TakeFiles(i_state.files);
            _result = i_state.result;
            _isFinished = true;
        }
        _ChooseDownload();
        break;
    case RunPhase::Running:
    case RunPhase::Unknown:
        // A phase that this program does not know comes before the end as well.
        _step = Step::Watch;
        break;
    }
    const int percent = std::max(_percent, std::clamp(i_state.percent, 0, 100));
    const bool isOther = percent != _percent || i_state.stage != _stage;
    _percent = percent;
    _stage = i_state.stage;
    return isOther;
}

void RunTransfer::_TakeFiles(const std::vector<RunFile>& i_files)
{
    std::set<std::string> names;
    for (const RunFile& file : i_files) {
        if (!Wire::IsPlainFileName(file.name))
            Refuse("a file named " + TavSDK::Quote(file.name, MaxShown));
        if (!names.insert(file.name).second)
            Refuse("two files named " + TavSDK::Quote(file.name, MaxShown));
    }
    _files = i_files;
}

void RunTransfer::_ChooseDownload()
{
    _step = _file < _files.size() ? Step::Download : Step::Release;
}

void RunTransfer::HandleProgress(Clock::time_point i_now)
{
    _lastWord = i_now;
    _damages = 0;
}

void RunTransfer::HandleDownloaded(Clock::time_point i_now)
{
    HandleProgress(i_now);
    ++_file;
    _ChooseDownload();
}

void RunTransfer::HandleBroken()
{
    // Everything has arrived then: whether the service forgets it now or later is its own affair.
    _step = _step == Step::Release ? Step::Done : Step::Start;
}

bool RunTransfer::HandleDamage()
{
    HandleBroken();
    return ++_damages <= MaxDamages;
}

} // namespace MachineService::Remote
