#pragma once

#include "machinemanager/JobDesk.h"
#include "machinemanager/page/EventStreams.h"
#include "machinemanager/page/Figures.h"
#include "machinemanager/page/ManagerPage.h"
#include "machinemanager/page/Sessions.h"

#include <string>
#include <vector>

namespace MachineService::MachineManager {

/// What the answers are made from; lives as long as the page runs.
struct PageContext
{
    JobDesk& desk;
    const ManagerPageOptions& options;
    Sessions& sessions;
    EventStreams& events;
    Figures& figures;
    std::string address; ///< of the page, without a path; empty when there is none
    /// Names that the page goes by, as `Host` has them.
    std::vector<std::string> hosts;
};

/// A request that was let in.
struct Call
{
    const HttpRequest& request;
    Actor actor;
    std::string secret;      ///< of the session; empty when there is none
    std::string word = {};   ///< that stands in the path in the place of {id}
    HttpFields form = {};    ///< of a POST of the page
    bool isFragment = false; ///< only what changes of the page is asked for
    std::string language = "en";
};

/// Whoever sends this with a request that changes something has read a page of ours.
std::string MakeFormToken(const std::string& i_secret);

} // namespace MachineService::MachineManager
