#pragma once

#include "remote/RemoteService.h"

#include <boost/uuid/uuid.hpp>

#include <exception>
#include <functional>
#include <memory>

namespace MachineService::Remote {

/// Asks whether a command can run now. While the service is lost the answer is no, with the reason, at once.
/// \param i_answer, i_fail one of them is called, once, on this thread or on one of the service's.
void AskCanRun(const std::shared_ptr<RemoteService>& ip_service, const pb::MachineReference& i_machine,
               const boost::uuids::uuid& i_command, std::function<void(const CanRunAnswer&)> i_answer,
               std::function<void(const std::exception_ptr&)> i_fail);

} // namespace MachineService::Remote
