#pragma once

#include "server/CatalogFeed.h"
#include "server/CatalogJournal.h"
#include "server/IconStore.h"
#include "server/MachineServer.h"
#include "server/RunBook.h"
#include "server/StreamPump.h"
#include "wire/Failures.h"
#include "wire/IdleWatchdog.h"

#include <grpcpp/server_context.h>

#include <atomic>
#include <string>

namespace MachineService::Server {

/// What all calls share.
struct ServerState
{
    ServerState(AbstractMachinesCatalog& io_catalog, const MachineServerOptions& i_options);

    /// Whether who asks has to have a secret.
    bool NeedsSecret(const grpc::ServerContextBase& i_context) const;
    /// Whose call it is.
    /// \throws WireFailure CredentialsNeeded.
    std::string Admit(const grpc::ServerContextBase& i_context) const;
    /// \throws CommunicationException MachineNotFound, WireFailure BadRequest.
    Machine FindMachine(const Wire::pb::MachineReference& i_reference) const;
    /// Throws when there is no use in waiting any longer.
    void CheckWait(const grpc::ServerContext& i_context) const;
    void Log(const std::string& i_line) const
    {
        if (options.log)
            options.log(i_line);
    }

    AbstractMachinesCatalog& catalog;
    const MachineServerOptions& options;
    const std::shared_ptr<Bell> bell = std::make_shared<Bell>();
    IconStore icons;
    CatalogJournal journal;
    RunBook book;
    StreamPump pump;
    Wire::IdleWatchdog watchdog;
    std::atomic<bool> isStopping = false;
};

/// Whatever the other side got wrong in a request is a bad request, not a failure of ours.
template <class Read>
auto ReadRequest(const Read& i_read)
{
    try {
        return i_read();
    } catch (const Wire::WireFailure&) {
        throw;
    } catch (const CommunicationException& failure) {
        throw Wire::WireFailure(Wire::WireFailure::Kind::BadRequest, failure.code(), failure.what(), "bad-request");
    }
}

/// One call: who asks is looked at, and what is thrown becomes its status.
/// \param i_work is given whose call it is.
template <class Work>
grpc::Status Answer(const ServerState& i_state, grpc::ServerContext& io_context, const Work& i_work)
{
    try {
        i_work(i_state.Admit(io_context));
        return grpc::Status::OK;
    } catch (...) {
        return Wire::ToStatus(std::current_exception(), io_context, i_state.options.language);
    }
}

/// Waits for a machine's answer for as long as the host does.
/// \param i_tick called again and again meanwhile; what it throws ends the wait.
template <class Future, class Tick>
void Await(const ServerState& i_state, const grpc::ServerContext& i_context, const Future& i_future, const Tick& i_tick)
{
    if (!i_future.valid())
        throw CommunicationException(ErrorCode::InternalError, "The machine does not offer this.");
    while (i_future.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready) {
        i_state.CheckWait(i_context);
        i_tick();
    }
}

} // namespace MachineService::Server
