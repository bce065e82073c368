#pragma once

#include "machinemanager/printers/IPrinterLink.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace MachineService::MachineManager {

class FileStore;
class JobStore;
class MachineBoard;

/// Times and ways of a dispatcher; the defaults are those of the product.
struct DispatchOptions
{
    std::function<std::unique_ptr<IPrinterLink>(const std::string&)> makeLink = MakePrinterLink;
    std::chrono::milliseconds beat = std::chrono::seconds(1);
    /// A daemon whose beats stand still for so long has lost its claims.
    std::chrono::milliseconds silence = std::chrono::seconds(4);
    std::chrono::milliseconds poll = std::chrono::seconds(2); ///< of a printer that is at work
    /// A printer at work that cannot be asked for so long counts as out of reach.
    std::chrono::milliseconds reach = std::chrono::seconds(60);
    std::chrono::milliseconds retry = std::chrono::seconds(5); ///< doubled with each attempt, up to ten minutes
    int attempts = 5;                                          ///< to send a machine file
    std::function<void(const std::string&)> log;               ///< Thread: any
    /// By which deadlines are counted; empty: the one that nobody sets.
    std::function<std::chrono::steady_clock::time_point()> clock;
};

/// Lets machines carry out the jobs that wait, one at a time at each machine and machines beside one another.
///
/// Whatever a job has gone through is in the store before the next step is done, so that after any end of this program
/// the next dispatcher goes on. A job is started at most once: the store says that it is being started before the
/// printer is told.
///
/// Thread: Start and Stop one at a time; a thread of its own, and one for each machine that has a job.
/// Ownership: store, files and board are not owned.
class Dispatcher
{
public:
    Dispatcher(JobStore& io_store, FileStore& io_files, MachineBoard& io_board, DispatchOptions i_options = {});
    ~Dispatcher();
    Dispatcher(const Dispatcher&) = delete;
    Dispatcher& operator=(const Dispatcher&) = delete;

    /// Takes back what this daemon had when it ended, and begins.
    /// \throws ManagerError Storage.
    void Start();
    /// Gives back what was not started yet, lets go what runs, and joins the threads. Twice is harmless.
    void Stop();
    /// Something changed that decides whether jobs can go on.
    /// Thread: any.
    void Wake();
    /// No machine has a job, and none waits for one that could have it.
    bool IsIdle() const;

private:
    struct Impl;
    const std::shared_ptr<Impl> _impl;
};

} // namespace MachineService::MachineManager
