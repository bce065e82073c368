#pragma once

#include "hosting/jobs/JobsTypes.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>

namespace Workbench {

/// What the window asks of a Machine Manager.
///
/// Thread: any; every call waits for the manager, so never the UI thread.
/// Errors: Hosting::JobsError; an exception of any kind once the token asks to stop.
class IJobSource
{
public:
    virtual ~IJobSource() = default;

    /// Whose jobs those of this window are.
    virtual std::string GetUser() const = 0;
    virtual Hosting::Jobs::JobPage List(const Hosting::Jobs::Filter& i_filter) const = 0;
    virtual Hosting::Jobs::Job GetJob(const std::string& i_job) const = 0;
    virtual Hosting::Jobs::Job Act(const std::string& i_job, Hosting::Jobs::Action i_action) const = 0;
    /// Lets a browser in once.
    virtual std::string MakePageAddress(const std::string& i_job) const = 0;
    /// What has the name of the target is replaced when the file is whole.
    virtual void SaveMachineFile(const std::string& i_job, const std::filesystem::path& i_target) const = 0;
    /// Tells of changes until the manager is lost or i_take returns false. Begins with one of all.
    virtual void Listen(const std::function<bool(const Hosting::Jobs::Change&)>& i_take) const = 0;
};

/// Makes one whose calls end soon after the token asks.
/// \throws Hosting::HostingError when there can be no manager here.
using MakeJobSource = std::function<std::unique_ptr<IJobSource>(const std::stop_token&)>;

} // namespace Workbench
