#pragma once

#include "client/interface/AbstractPluginUtility.h"
#include "client/interface/ServiceTypes.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Hosting {

/// Which services a host has, besides those that are in the library.
struct ServiceChoice
{
    /// Of the command line.
    std::vector<MachineService::ServiceEndpoint> endpoints;
    /// The services of endpoints only: neither those in the library, nor those that the user's file names.
    bool areOnlyEndpoints = false;
    /// Jobs are posted: the user's own Machine Manager is started, and its machines are there.
    bool hasManager = false;
};

/// The services at these addresses, and none besides; those of the host when there is no address.
ServiceChoice ChooseServices(const std::vector<std::string>& i_addresses);

/// What the services tell the host beside their news; on their threads, and also while the client goes.
struct ServiceListener
{
    /// As AbstractPluginUtility::HandleEndpoint, HandleStatus and ConfirmCertificate.
    std::function<void(const MachineService::ServiceEndpoint&)> handleEndpoint;
    std::function<void(MachineService::ServiceStatus, const std::string&)> handleStatus;
    std::function<void(const MachineService::ServiceCertificate&, std::function<void(bool)>)> confirmCertificate;
};

/// Folders and settings of the services in this host.
///
/// Configuration lies below the user's configuration folder ("machineservice/build-processors"), so that a printer
/// profile put there appears in every run; the file "machineservice/services.json" there names services in other
/// processes and on other hosts. What services make goes to i_data_dir. Every setting can be given as an environment
/// variable: "engine.path" is MACHINESERVICE_ENGINE_PATH.
/// \param i_listener each function of it may be empty.
std::unique_ptr<MachineService::AbstractPluginUtility> MakePluginUtility(MachineService::ServiceId i_service,
                                                                         const std::filesystem::path& i_data_dir,
                                                                         ServiceChoice i_choice = {},
                                                                         ServiceListener i_listener = {});

/// Where the Build Processors keep the results of the slicing engine, see docs/embed.md.
std::filesystem::path GetKeptResultsDir(const std::filesystem::path& i_data_dir);

} // namespace Hosting
