#pragma once

#include "client/interface/CommandTypes.h"
#include "client/interface/CommunicationException.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace MachineService::Remote {

enum class RunPhase
{
    Unknown,
    WaitingForInput,
    Running,
    Finished,
    Failed,
};

/// A file that a run left.
struct RunFile
{
    std::string name;
    std::uint64_t size = 0;
    std::string hash; ///< SHA-256, 32 bytes; empty: told with the last piece
};

/// A run as its service tells it.
struct RunState
{
    RunPhase phase = RunPhase::Unknown;
    std::uint64_t receivedBytes = 0;
    int percent = 0;
    std::string stage;
    CommandResult result;
    std::vector<RunFile> files;
    std::optional<CommunicationException> failure;
};

/// What is to be done next for a run, through any number of broken connections.
///
/// Normal use: carry out GetStep() and tell how it went, until it is Done.
///
/// Thread: one at a time.
class RunTransfer
{
public:
    using Clock = std::chrono::steady_clock;

    enum class Step
    {
        Start, ///< StartRun, the first time or once more
        Upload,
        Watch,
        Download, ///< of the file GetFileIndex()
        Release,
        Done,
    };

    /// \param i_grace for so long after the last word the service keeps the run.
    RunTransfer(std::uint64_t i_input_size, std::chrono::milliseconds i_grace, Clock::time_point i_now);

    Step GetStep() const { return _step; }
    /// The service was told of the run, and said so.
    bool IsResumption() const { return _isKnown; }
    std::size_t GetFileIndex() const { return _file; }
    const RunFile& GetFile() const { return _files.at(_file); }
    std::uint64_t GetReceivedBytes() const { return _received; }
    const CommandResult& GetResult() const { return _result; }
    /// What the run left, once it has finished.
    const std::vector<RunFile>& GetFiles() const { return _files; }

    /// \throws the run's failure, or UnexpectedOutput when what the service says cannot be.
    /// \return whether percent or stage are others now.
    bool HandleState(const RunState& i_state, Clock::time_point i_now);
    /// Bytes went over the line.
    void HandleProgress(Clock::time_point i_now);
    void HandleDownloaded(Clock::time_point i_now);
    void HandleReleased() { _step = Step::Done; }
    /// The connection broke, or nothing came: the run is asked for anew.
    void HandleBroken();
    /// A piece arrived damaged: the same again.
    /// \return false when that happened too often without anything between.
    bool HandleDamage();
    /// The service has surely given the run up.
    bool IsTooLate(Clock::time_point i_now) const { return i_now - _lastWord > _grace; }
    Clock::duration GetSilence(Clock::time_point i_now) const { return i_now - _lastWord; }

    int GetPercent() const { return _percent; }
    const std::string& GetStage() const { return _stage; }

private:
    void _TakeFiles(const std::vector<RunFile>& i_files);
    void _ChooseDownload();

    const std::uint64_t _inputSize;
    const std::chrono::milliseconds _grace;
    Step _step = Step::Start;
    bool _isKnown = false;
    std::uint64_t _received = 0;
    int _percent = 0;
    std::string _stage;
    CommandResult _result;
    bool _isFinished = false;
    std::vector<RunFile> _files;
    std::size_t _file = 0;
    int _damages = 0;
    Clock::time_point _lastWord;
};

} // namespace MachineService::Remote
