#pragma once

#include "client/interface/CommunicationException.h"
#include "wire/Protocol.h"
#include "wire/WireFailure.h"

#include <machineservice/v1/types.pb.h>

#include <grpcpp/client_context.h>
#include <grpcpp/server_context.h>
#include <grpcpp/support/status.h>

#include <exception>
#include <memory>
#include <string>

namespace MachineService::Wire {

/// What an exception is as a message. Texts of exceptions that are not the contract's are kept.
/// \param i_language of the service's sentences, in BCP 47; empty: not known. Those of the server itself are English
/// and look like the service's, so that no other language is told.
pb::Failure ToFailure(const std::exception_ptr& ip_exception, const std::string& i_language = {});
/// The exception that a message tells of.
CommunicationException FromFailure(const pb::Failure& i_failure);

/// The status of a call that ended in an exception, with the failure in the trailing metadata.
grpc::Status ToStatus(const std::exception_ptr& ip_exception, grpc::ServerContextBase& io_context,
                      const std::string& i_language = {});

/// What the service itself said of a call that failed; null when the failure is the connection's.
std::unique_ptr<pb::Failure> GetFailure(const grpc::Status& i_status, const grpc::ClientContext& i_context);

} // namespace MachineService::Wire
