#pragma once

#include "client/interface/ServiceTypes.h"
#include "remote/RemoteService.h"

#include <memory>
#include <optional>
#include <stop_token>

namespace MachineService::Remote {

/// Connects and finds out whether both sides understand each other.
/// \throws TroubleException, CommunicationException.
std::shared_ptr<Connection> Connect(const RemoteService& i_service, const std::stop_token& i_stop);

/// Gives the credentials, if there are any, and takes the token for them.
/// \throws TroubleException CredentialsNeeded, CredentialsRefused and what else a call may come to.
void Authenticate(const RemoteService& i_service, Connection& io_connection,
                  const std::optional<AuthenticationData>& i_credentials, const std::stop_token& i_stop);

} // namespace MachineService::Remote
