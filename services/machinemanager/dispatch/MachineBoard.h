#pragma once

#include "client/interface/AbstractMachinesCatalog.h"
#include "machinemanager/jobs/Job.h"

#include <chrono>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace MachineService::MachineManager {

class JobStore;

/// A machine with all that decides whether it gets a job.
struct BoardMachine
{
    MachineData data;   ///< as its service told last
    MachineEntry entry; ///< what the manager keeps of it
    bool isOffered = false;
    boost::uuids::uuid buildCommand = {}; ///< nil: it has none
    bool canBuild = false;
    std::string whyNot; ///< its own sentence; may be empty
};

/// A check between a job and a machine that says no.
struct FitRefusal
{
    std::string keyword; ///< of the job's reasons, as the Internet Printing Protocol has it
    std::string sentence;
    bool canBeAcknowledged = false; ///< somebody may say that it will do nevertheless
};

/// The first check that says no; empty when the machine can have the job now.
///
/// Order: whether it is offered, whether it builds, its queue, what its service says of it, model and size of what the
/// platform was prepared for, what is loaded.
std::optional<FitRefusal> FindRefusal(const Job& i_job, const BoardMachine& i_machine);
/// Whether the job is for this machine at all.
bool IsFor(const Job& i_job, const BoardMachine& i_machine);

/// The machines of the Build Processors as the manager sees them: kept in the memory, told anew by their services'
/// news.
///
/// Thread: any.
/// Ownership: store and catalog are not owned.
class MachineBoard
{
public:
    /// Reads what there is, and hears news from then on.
    /// \param io_catalog machines of service kind MachineManager in it are left out.
    MachineBoard(JobStore& io_store, AbstractMachinesCatalog& io_catalog);
    ~MachineBoard();
    MachineBoard(const MachineBoard&) = delete;
    MachineBoard& operator=(const MachineBoard&) = delete;

    /// By name. Also those that are not offered now and were once.
    std::vector<BoardMachine> GetMachines() const;
    std::optional<BoardMachine> Find(const boost::uuids::uuid& i_id) const;
    /// \throws CommunicationException MachineNotFound.
    Machine GetMachine(const boost::uuids::uuid& i_id) const;

    /// Waits until the services have told what they offer: they had machines when the board was made, or have a
    /// status, and none is starting.
    ///
    /// \return false when it ends sooner, by the token or after the time.
    /// Thread: any but a service's.
    bool WaitForServices(const std::stop_token& i_stop, std::chrono::milliseconds i_longest) const;

    /// Told after each change of what a service offers, on a thread of the service; never under a lock.
    boost::signals2::connection ConnectChanged(const boost::signals2::signal<void()>::slot_type& i_slot);

private:
    struct Impl;
    const std::shared_ptr<Impl> _impl; ///< shared with slots on their way
};

} // namespace MachineService::MachineManager
