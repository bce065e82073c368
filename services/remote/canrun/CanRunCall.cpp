#include "remote/canrun/CanRunCall.h"

#include "remote/ServiceAnswers.h"
#include "remote/StatusTrouble.h"
#include "remote/Trouble.h"
#include "wire/Conversions.h"

namespace MachineService::Remote {

namespace {

CanRunStore::Answers AskService(const RemoteService& i_service, Connection& io_connection,
                                const pb::MachineReference& i_machine)
{
    Call call(io_connection, QuestionDeadline, {i_service.stop.get_token()});
    pb::CanRunRequest request;
    *request.mutable_machine() = i_machine;
    pb::CanRunAnswers reply;
    const auto status = io_connection.GetStub().GetCanRunAnswers(&call.GetContext(), request, &reply);
    if (IsUnknownCall(status))
        return {{}, true};
    i_service.Check(status, call.GetContext(), {});
    return ToAnswers(reply);
}

} // namespace

void AskCanRun(const std::shared_ptr<RemoteService>& ip_service, const pb::MachineReference& i_machine,
               const boost::uuids::uuid& i_command, std::function<void(const CanRunAnswer&)> i_answer,
               std::function<void(const std::exception_ptr&)> i_fail)
{
    const auto goesDown = std::make_exception_ptr(TroubleException(Trouble::GoingDown, ip_service->address));
    if (ip_service->IsClosed()) {
        i_fail(goesDown);
        return;
    }
    const auto connection = ip_service->link.Get();
    if (const auto loss = ip_service->link.GetLoss(); loss || !connection) {
        i_answer({false, DescribeLoss(loss.value_or(Link::Loss{}))});
        return;
    }
    const CanRunStore::Key key{Wire::ToUuid(i_machine.machine_id(), "machine's id"),
                               static_cast<MachineRepresentation>(i_machine.representation())};
    if (!ip_service->canRun.Ask(key, i_command, CanRunStore::Clock::now(), {std::move(i_answer), std::move(i_fail)}))
        return;
    const bool isTaken = ip_service->workers.Post([service = ip_service, connection, key, machine = i_machine] {
        try {
            while (service->canRun.Answer(key, AskService(*service, *connection, machine), CanRunStore::Clock::now())) {
            }
        } catch (...) {
            service->canRun.Fail(key, std::current_exception());
        }
    });
    if (!isTaken)
        ip_service->canRun.Fail(key, goesDown);
}

} // namespace MachineService::Remote
