#pragma once

#include "server/MachineServer.h"

#include <grpcpp/security/server_credentials.h>

#include <memory>
#include <string>

namespace MachineService::Server {

/// Credentials of the files, which are looked at again every few seconds: new ones count for new connections, and
/// damaged ones leave the former in use.
/// \throws as CheckTlsFiles.
std::shared_ptr<grpc::ServerCredentials> MakeTlsCredentials(const MachineServerOptions::Tls& i_tls);

} // namespace MachineService::Server
