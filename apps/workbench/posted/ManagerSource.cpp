#include "workbench/posted/ManagerSource.h"

#include "hosting/jobs/JobsClient.h"

#include <chrono>

namespace Workbench {

namespace {

namespace Jobs = Hosting::Jobs;

class ManagerSource final : public IJobSource
{
public:
    explicit ManagerSource(const std::stop_token& i_stop)
        : _client(Hosting::GetOwnManagerAddress(), {}, i_stop)
    {}

    std::string GetUser() const override { return _client.GetInformation().user; }
    Jobs::JobPage List(const Jobs::Filter& i_filter) const override { return _client.List(i_filter); }
    Jobs::Job GetJob(const std::string& i_job) const override { return _client.GetJob(i_job); }
    Jobs::Job Act(const std::string& i_job, Jobs::Action i_action) const override
    {
        return _client.Act(i_job, i_action);
    }
    std::string MakePageAddress(const std::string& i_job) const override { return _client.MakePageAddress(i_job); }
    void SaveMachineFile(const std::string& i_job, const std::filesystem::path& i_target) const override
    {
        _client.Download(i_job, Jobs::FileKind::MachineFile, i_target);
    }
    void Listen(const std::function<bool(const Jobs::Change&)>& i_take) const override
    {
        while (!_client.Listen(i_take, std::chrono::hours(1))) {
        }
    }

private:
    const Hosting::JobsClient _client;
};

} // namespace

MakeJobSource MakeOwnManagerSource()
{
    return [](const std::stop_token& i_stop) {
        return std::make_unique<ManagerSource>(i_stop);
    };
}

} // namespace Workbench
