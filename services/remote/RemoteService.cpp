#include "remote/RemoteService.h"

#include "contract/Failure.h"
#include "remote/StatusTrouble.h"

namespace MachineService::Remote {

RemoteService::RemoteService(const ServiceEndpoint& i_endpoint, std::filesystem::path i_jobs_dir)
    : address(ParseServiceAddress(i_endpoint.address))
    , authorityFile(i_endpoint.authorityFile)
    , jobsDir(std::move(i_jobs_dir))
{}

void RemoteService::Close()
{
    stop.request_stop();
    workers.Close();
    watchdog.Close();
}

void RemoteService::ThrowIfClosed() const
{
    if (IsClosed())
        throw TroubleException(Trouble::GoingDown, address);
}

std::shared_ptr<Connection> RemoteService::GetConnection() const
{
    ThrowIfClosed();
    if (auto connection = link.Get())
        return connection;
    const auto loss = link.GetLoss();
    if (loss && !loss->sentence.empty())
        Fail(ErrorCode::InternalError, loss->sentence);
    throw TroubleException(Trouble::NoAnswer, address);
}

void RemoteService::Check(const grpc::Status& i_status, const grpc::ClientContext& i_context,
                          const std::stop_token& i_caller, bool i_was_idle) const
{
    if (i_status.ok())
        return;
    ThrowIfClosed();
    if (i_caller.stop_requested())
        throw CommunicationException(ErrorCode::ProcessingAborted);
    if (i_was_idle)
        throw TroubleException(Trouble::NoAnswer, address);
    ThrowFailure(i_status, i_context, address);
}

} // namespace MachineService::Remote
