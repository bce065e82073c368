#pragma once

#include "client/interface/CommunicationException.h"
#include "client/interface/Machine.h"

#include <exception>
#include <future>
#include <string>
#include <utility>
#include <vector>

/// What machines of tests are made of.
namespace TestSupport {

template <class T>
std::future<T> MakeReady(T i_value)
{
    std::promise<T> promise;
    promise.set_value(std::move(i_value));
    return promise.get_future();
}

template <class T>
std::future<T> MakeFailed(std::exception_ptr ip_exception)
{
    std::promise<T> promise;
    promise.set_exception(std::move(ip_exception));
    return promise.get_future();
}

} // namespace TestSupport

namespace MachineService {

/// Answers everything with a future that is not valid; tests override what they ask.
class SilentMachine : public MachineStrategy
{
public:
    using MachineStrategy::MachineStrategy;
    std::future<std::vector<CommandDescription>> GetCommands() const override { return {}; }
    std::future<bool> CanRunCommand(const boost::uuids::uuid&) const override { return {}; }
    std::future<CommandResult> RunCommand(const CommandParameters&) const override { return {}; }
    std::future<CommandResult> FillReportProperties(const CommandParameters&) const override { return {}; }
    std::future<CommandResult> Preprocessing(const CommandParameters&) const override { return {}; }
    ProgressWatcherFuture<PlatformInfo> GetPlatformInformation() const override { return {}; }
    std::future<std::pair<CommandResult, Platform>> GetEmptyPlatform(const std::string&) const override { return {}; }
    ProgressWatcherFuture<void> ModifyPlatform(const Platform&) const override { return {}; }
    std::future<ProfileAssignments> GetProfileAssignments() const override { return {}; }
};

} // namespace MachineService
