#pragma once

#include "client/interface/CommunicationException.h"
#include "client/interface/Machine.h"

#include <exception>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

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

/// What a fake machine answers. An operation without a function gives a future that is not valid.
struct FakeBehaviour
{
    using Run = std::function<std::future<MachineService::CommandResult>(const MachineService::CommandParameters&)>;
    using Answer = std::pair<MachineService::CommandResult, MachineService::Platform>;

    std::vector<MachineService::CommandDescription> commands;
    std::function<std::future<std::vector<MachineService::CommandDescription>>()> getCommands; ///< before those above
    std::function<std::future<bool>(const boost::uuids::uuid&)> canRun;
    Run run;
    Run fillReport;
    std::function<MachineService::ProgressWatcherFuture<MachineService::PlatformInfo>()> getInformation;
    std::function<std::future<Answer>(const std::string&)> getPlatform;
};

/// The one machine of all tests that need no real one. A test adds what a machine may do besides in a class of its own.
class FakeMachine : public MachineService::MachineStrategy
{
public:
    FakeMachine(const MachineService::MachineData& i_data, std::shared_ptr<const FakeBehaviour> ip_behaviour)
        : MachineStrategy(i_data)
        , _behaviour(std::move(ip_behaviour))
    {}

    std::future<std::vector<MachineService::CommandDescription>> GetCommands() const override
    {
        return _behaviour->getCommands ? _behaviour->getCommands() : MakeReady(_behaviour->commands);
    }
    std::future<bool> CanRunCommand(const boost::uuids::uuid& i_id) const override
    {
        return _Ask(_behaviour->canRun, i_id);
    }
    std::future<MachineService::CommandResult>
    RunCommand(const MachineService::CommandParameters& i_parameters) const override
    {
        return _Ask(_behaviour->run, i_parameters);
    }
    std::future<MachineService::CommandResult>
    FillReportProperties(const MachineService::CommandParameters& i_parameters) const override
    {
        return _Ask(_behaviour->fillReport, i_parameters);
    }
    std::future<MachineService::CommandResult> Preprocessing(const MachineService::CommandParameters&) const override
    {
        return {};
    }
    MachineService::ProgressWatcherFuture<MachineService::PlatformInfo> GetPlatformInformation() const override
    {
        return _Ask(_behaviour->getInformation);
    }
    std::future<FakeBehaviour::Answer> GetEmptyPlatform(const std::string& i_parameters) const override
    {
        return _Ask(_behaviour->getPlatform, i_parameters);
    }
    MachineService::ProgressWatcherFuture<void> ModifyPlatform(const MachineService::Platform&) const override
    {
        return {};
    }
    std::future<MachineService::ProfileAssignments> GetProfileAssignments() const override { return {}; }

private:
    template <class Result, class... Parameters>
    static Result _Ask(const std::function<Result(Parameters...)>& i_answer,
                       std::type_identity_t<Parameters>... i_arguments)
    {
        return i_answer ? i_answer(i_arguments...) : Result();
    }

    std::shared_ptr<const FakeBehaviour> _behaviour;
};

/// A machine whose behaviour the test may still change.
inline MachineService::Machine MakeFakeMachine(const MachineService::MachineData& i_data,
                                               std::shared_ptr<const FakeBehaviour> ip_behaviour)
{
    return MachineService::Machine(std::make_unique<FakeMachine>(i_data, std::move(ip_behaviour)));
}

inline MachineService::Machine MakeFakeMachine(const MachineService::MachineData& i_data,
                                               FakeBehaviour i_behaviour = {})
{
    return MakeFakeMachine(i_data, std::make_shared<FakeBehaviour>(std::move(i_behaviour)));
}

} // namespace TestSupport
