#pragma once

#include "server/RunBook.h"

#include <machineservice/v1/runs.pb.h>

#include <string>

namespace MachineService::Server {

// Runs of the book as messages, and what hosts ask for as orders. \throws WireFailure for a bad request. Thread: any.

boost::uuids::uuid ReadRunId(const std::string& i_bytes);
/// Without what lets the machine begin.
/// \param i_client whose run it is.
RunOrder ToOrder(const Wire::pb::StartRunRequest& i_request, const std::string& i_client);
/// \param i_language see MachineServerOptions.
Wire::pb::Run ToMessage(const RunState& i_state, const std::string& i_language);

} // namespace MachineService::Server
