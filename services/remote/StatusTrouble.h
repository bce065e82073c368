#pragma once

#include "client/interface/CommunicationException.h"
#include "remote/ServiceAddress.h"
#include "remote/Trouble.h"

#include <grpcpp/client_context.h>
#include <grpcpp/support/status.h>

namespace MachineService::Remote {

/// What a call's status says of the connection.
Trouble FindTrouble(const grpc::Status& i_status);

/// Throws what a call that failed means to the user: what the service says of itself, or the trouble of the connection.
[[noreturn]] void ThrowFailure(const grpc::Status& i_status, const grpc::ClientContext& i_context,
                               const ServiceAddress& i_address);

inline bool IsUnknownCall(const grpc::Status& i_status)
{
    return i_status.error_code() == grpc::StatusCode::UNIMPLEMENTED;
}

} // namespace MachineService::Remote
