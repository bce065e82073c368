#pragma once

#include "client/interface/ScopedTempDir.h"
#include "remote/RemoteCatalog.h"
#include "services/ServiceFiles.h"
#include "support/ServedProgram.h"
#include "support/SocketProxy.h"

#include <map>
#include <random>

namespace TestSupport {

/// A host that builds on a daemon, of which something dies at a moment that the seed chooses: the daemon, its engine,
/// or the connection, at once or after so many bytes.
///
/// Thread: one.
/// Errors: what is wrong is told to the test that runs.
class KillDriver
{
public:
    explicit KillDriver(std::uint32_t i_seed);
    ~KillDriver();

    /// Builds once without harm, with the real engine, whose answers later rounds get again.
    void Prepare();
    /// One build, and what happens to it.
    void DoRound(int i_number);
    /// The daemon is stopped in the midst of a build, for longer than a host waits, and goes on.
    void StandStill();
    /// Ends the daemon in order and looks what is left.
    void Finish();
    /// For the log: how many rounds of a kind ended in which way.
    std::string GetFigures() const;

private:
    enum class Blow
    {
        KillDaemon,
        KillEngine,
        CutConnection,
        CutAfterBytes,
        StopDaemon,
    };

    std::filesystem::path _Path(const char* ip_name) const { return _folder.GetAbsoluteDir() / ip_name; }
    void _WriteEngine() const;
    void _StartDaemon();
    void _Strike(Blow i_blow);
    /// The list is there, and a build is offered, within the time that a user would wait.
    void _ExpectRecovered();
    void _ExpectResult(const std::string& i_job);
    void _ExpectNothingOf(const std::string& i_job);
    MachineService::CommandParameters _MakeParameters(const std::string& i_job);
    std::size_t _CountSlicings() const;

    const MachineService::ScopedTempDir _folder;
    std::mt19937 _random;
    std::unique_ptr<ServedProgram> _daemon;
    std::unique_ptr<SocketProxy> _proxy;
    std::unique_ptr<MachineService::Remote::RemoteCatalog> _remote;
    boost::uuids::uuid _machine = {};
    boost::uuids::uuid _build = {};
    std::vector<boost::uuids::uuid> _machines;
    std::string _machineFile; ///< what each build must come to
    std::chrono::milliseconds _usual{0};
    std::chrono::milliseconds _longestRecovery{0};
    std::map<std::string, int> _ends;
};

} // namespace TestSupport
