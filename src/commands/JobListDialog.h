#pragma once

#include "client/interface/CommandTypes.h"

#include <QUrl>

#include <functional>

class IVexlorApiProvider;

namespace MachineService::Helpers {

/// Assembles an address from its parts with correct escaping; the host may carry a port ("jobs.example:8080").
/// The result is not valid when the parts do not make one.
QUrl AssembleUrl(const JobListAddress& i_address);

/// Tells the user that the Machine Manager took the job, and opens the job list in the desktop's browser if the user
/// wants.
///
/// Only http and https addresses are opened: a service must not make the desktop start other programs.
/// Thread: any.
void ShowPlatformSent(const JobListAddress& i_address, IVexlorApiProvider& io_api_provider);

} // namespace MachineService::Helpers
