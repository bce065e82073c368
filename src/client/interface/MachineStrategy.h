#pragma once

#include "client/interface/CommandTypes.h"
#include "client/interface/MachineData.h"
#include "client/interface/PlatformTypes.h"
#include "client/interface/ProgressWatcherFuture.h"
#include "machineservice_export.h"

#include <boost/uuid/uuid.hpp>

#include <future>
#include <string>
#include <utility>
#include <vector>

namespace MachineService {

/// What stands behind a Machine: one per kind of service, and the cache that the client puts in front.
///
/// A machine maker derives from it. Each operation returns at once and answers through its future; GetCommands and
/// CanRunCommand are asked often and answer from local state. Futures come from promises: destroying one must not wait.
/// A promise is always fulfilled, with a CommunicationException when the service goes down.
///
/// Thread: every operation may be called from any thread, several at a time.
class MACHINESERVICE_EXPORT MachineStrategy
{
public:
    explicit MachineStrategy(const MachineData& i_data);
    virtual ~MachineStrategy();
    MachineStrategy(const MachineStrategy&) = delete;
    MachineStrategy& operator=(const MachineStrategy&) = delete;

    const MachineData& GetMachineData() const { return _data; }

    virtual std::future<std::vector<CommandDescription>> GetCommands() const = 0;
    virtual std::future<bool> CanRunCommand(const boost::uuids::uuid& i_command_id) const = 0;
    virtual std::future<CommandResult> RunCommand(const CommandParameters& i_parameters) const = 0;
    virtual ProgressWatcherFuture<PlatformInfo> GetPlatformInformation() const = 0;
    /// \param i_parameters platform creation parameters, XML; may be empty.
    virtual std::future<std::pair<CommandResult, Platform>> GetEmptyPlatform(const std::string& i_parameters) const = 0;
    virtual ProgressWatcherFuture<void> ModifyPlatform(const Platform& i_platform) const = 0;
    virtual std::future<CommandResult> FillReportProperties(const CommandParameters& i_parameters) const = 0;
    virtual std::future<CommandResult> Preprocessing(const CommandParameters& i_parameters) const = 0;
    virtual std::future<ProfileAssignments> GetProfileAssignments() const = 0;

private:
    const MachineData _data;
};

} // namespace MachineService
