#pragma once

#include "machine-check/Report.h"
#include "wire/Protocol.h"

#include <machineservice/v1/machines.grpc.pb.h>

#include <grpcpp/client_context.h>
#include <grpcpp/security/credentials.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace MachineCheck {

namespace pb = MachineService::Wire::pb;

/// Where the service is, and how one comes in.
struct Target
{
    std::string address; ///< unix:PATH or tls://HOST:PORT
    std::string caFile;  ///< empty: the system's
    std::string token;
    std::chrono::seconds longestCall{20};
};

/// A connection to the service that is checked, and calls with it.
///
/// Thread: one.
/// Errors: std::runtime_error with a sentence when the service cannot be reached at all.
class Session
{
public:
    explicit Session(const Target& i_target);

    std::unique_ptr<grpc::ClientContext> MakeContext() const;
    pb::MachineService::Stub& Get() { return *_stub; }
    const Target& GetTarget() const { return _target; }

    template <class Request, class Reply>
    grpc::Status Call(grpc::Status (pb::MachineService::Stub::*i_call)(grpc::ClientContext*, const Request&, Reply*),
                      const Request& i_request, Reply& o_reply)
    {
        _context = MakeContext();
        return (_stub.get()->*i_call)(_context.get(), i_request, &o_reply);
    }
    /// \param i_take called with each message; false ends the stream.
    template <class Request, class Message>
    grpc::Status
    Read(std::unique_ptr<grpc::ClientReader<Message>> (pb::MachineService::Stub::*i_call)(grpc::ClientContext*,
                                                                                          const Request&),
         const Request& i_request, const std::function<bool(const Message&)>& i_take)
    {
        _context = MakeContext();
        const auto reader = (_stub.get()->*i_call)(_context.get(), i_request);
        Message message;
        while (reader->Read(&message)) {
            if (i_take(message))
                continue;
            _context->TryCancel();
            reader->Finish();
            return grpc::Status::OK;
        }
        return reader->Finish();
    }
    /// NOT_FOUND with this reason.
    bool IsRefusedAsUnknown(const grpc::Status& i_status, const char* ip_reason) const;

private:
    const Target _target;
    std::unique_ptr<pb::MachineService::Stub> _stub;
    std::unique_ptr<grpc::ClientContext> _context; ///< of the last call
};

/// What the checks of the catalog found for those that follow.
struct Seen
{
    std::uint32_t revision = 0; ///< of the protocol
    std::vector<pb::Machine> machines;
};

/// Each looks at the rules of its part.
void CheckAuthentication(Session& io_session, bool i_is_required, Report& io_report);
void CheckResumption(Session& io_session, std::uint32_t i_heartbeat_ms, Report& io_report);
Seen CheckCatalog(Session& io_session, std::uint32_t i_heartbeat_ms, Report& io_report);
void CheckAnswers(Session& io_session, const Seen& i_seen, Report& io_report);
void CheckPlatforms(Session& io_session, const Seen& i_seen, Report& io_report);
void CheckAssignments(Session& io_session, const Seen& i_seen, Report& io_report);
/// Carries runs of the first command of the first machine out; its input is not what the machine expects, so that most
/// machines refuse it, which is no finding.
void CheckRuns(Session& io_session, const Seen& i_seen, Report& io_report);

/// All of them.
/// \throws std::runtime_error when the service cannot be reached.
Report CheckService(const Target& i_target);

} // namespace MachineCheck
