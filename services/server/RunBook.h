#pragma once

#include "client/interface/CommandTypes.h"
#include "server/Bell.h"
#include "tavsdk/Mutex.h"
#include "wire/Chunks.h"

#include <boost/uuid/uuid.hpp>

#include <chrono>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace MachineService::Server {

/// A file as it is announced: what goes up, or what a run left.
struct RunFile
{
    std::string name;
    std::uint64_t size = 0;
    std::string hash; ///< SHA-256, 32 bytes; empty: told with the last piece

    bool operator==(const RunFile&) const = default;
};

/// What a host asks for.
struct RunOrder
{
    boost::uuids::uuid id = {};
    std::string client;           ///< whose run it is, for the bounds
    std::string fingerprint;      ///< of what is asked for: another one under the same id is refused
    CommandParameters parameters; ///< without files, stop token and progress
    std::optional<RunFile> input;
    /// Lets the machine begin. Called once, on a thread of the book; may throw.
    std::function<std::future<CommandResult>(const CommandParameters&)> begin;
    bool isResumption = false;
    bool takesLateHashes = false; ///< the files that it leaves need not be read for their hashes
};

/// How far a run is.
struct RunState
{
    enum class Phase
    {
        WaitingForInput,
        Running,
        Finished,
        Failed
    };

    boost::uuids::uuid id = {};
    Phase phase = Phase::WaitingForInput;
    std::uint64_t received = 0; ///< bytes of the input
    int percent = 0;            ///< never falls
    std::string stage;
    CommandResult result;
    std::vector<RunFile> files;
    std::exception_ptr failure;
    std::uint64_t version = 0; ///< counts up with each change

    bool HasEnded() const { return phase == Phase::Finished || phase == Phase::Failed; }
};

/// The runs of a service: each is carried out once, whoever asks how often, in folders of its own that go with it.
///
/// A run whose host is silent for too long is given up, one that ended is kept for a while for its host; Tend() sees to
/// both. A machine that does not give up when it is asked is left to itself, and the run has failed all the same.
///
/// Thread: any. Rings the bell after each change. Destroying it closes it.
/// Errors: WireFailure, with the reasons that the protocol names.
class RunBook
{
public:
    using Clock = std::chrono::steady_clock;
    struct Limits
    {
        std::size_t running = 64; ///< that wait for input or are carried out, of all clients
        std::size_t runningOfOneClient = 16;
        std::size_t kept = 1000;               ///< in all, also those that ended
        std::uint64_t inputBytes = 4ULL << 30; ///< of one run
        std::uint64_t diskBytes = 32ULL << 30; ///< of all inputs
        std::chrono::milliseconds hostGrace = std::chrono::seconds(60);
        std::chrono::milliseconds finishedKept = std::chrono::minutes(10);
    };
    /// A line for the log; with the run's id in it.
    using Log = std::function<void(const std::string&)>;

    RunBook(Limits i_limits, std::shared_ptr<Bell> ip_bell, Log i_log = {},
            std::function<Clock::time_point()> i_now = Clock::now);
    ~RunBook();
    RunBook(const RunBook&) = delete;
    RunBook& operator=(const RunBook&) = delete;

    /// Begins a run, or tells of one that is known.
    RunState Start(RunOrder i_order);
    RunState Get(const boost::uuids::uuid& i_id);

    /// An upload that begins ends the one before: after a broken connection, nobody waits until that is noticed.
    /// \return what Take is given.
    std::uint64_t BeginUpload(const boost::uuids::uuid& i_id);
    /// The last piece lets the run begin.
    RunState Take(const boost::uuids::uuid& i_id, std::uint64_t i_upload, const Wire::ReceivedPiece& i_piece);

    /// The run has failed within a second; harmless once it has ended.
    RunState Cancel(const boost::uuids::uuid& i_id);
    void Release(const boost::uuids::uuid& i_id);

    struct OpenedFile
    {
        std::filesystem::path path;
        RunFile file;
        std::shared_ptr<void> folder; ///< the file is there for as long as this is
    };
    OpenedFile Open(const boost::uuids::uuid& i_id, std::size_t i_file);

    /// As long as it lives, the run's host is there.
    std::shared_ptr<void> Attend(const boost::uuids::uuid& i_id);

    /// Gives up what has no host any more and forgets what was kept long enough. To be called at least once a second.
    void Tend();
    /// No run waits for input or is carried out.
    bool IsIdle() const;
    /// Refuses what comes.
    void Drain();
    /// Lets everything give up and joins the threads. Twice is harmless.
    void Close();

private:
    struct Entry;
    using EntryPointer = std::shared_ptr<Entry>;

    EntryPointer _Find(const boost::uuids::uuid& i_id) const;
    EntryPointer _Enter(RunOrder& io_order);
    void _CheckBounds(const RunOrder& i_order) const TAVSDK_REQUIRES(_mutex);
    void _Launch(const EntryPointer& ip_entry);
    void _Tell(const Entry& i_entry, const char* ip_what) const;

    const Limits _limits;
    const std::shared_ptr<Bell> _bell;
    const Log _log;
    const std::function<Clock::time_point()> _now;
    mutable TavSDK::Mutex _mutex; ///< guards everything below; taken before an entry's
    std::map<boost::uuids::uuid, EntryPointer> _entries TAVSDK_GUARDED_BY(_mutex);
    std::vector<EntryPointer> _leaving TAVSDK_GUARDED_BY(_mutex); ///< forgotten, whose threads still run
    bool _isDraining TAVSDK_GUARDED_BY(_mutex) = false;           ///< what is known still goes on
    bool _isClosed TAVSDK_GUARDED_BY(_mutex) = false;
};

} // namespace MachineService::Server
