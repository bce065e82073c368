#pragma once

#include "wire/Protocol.h"

#include <machineservice/v1/machines.grpc.pb.h>

#include <grpcpp/server.h>

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace TestSupport {

/// What a maker may get wrong.
enum class Fault
{
    None,
    RevisionZero,
    NoName,
    NoLastPage,
    OtherEpoch,
    FallingRevision,
    NilMachine,
    NamelessMachine,
    DoubleCommand,
    WrongIcon,
    NoHeartbeat,
    OtherMachines,
    FlatVolume,
    WrongLanguage,
    AnswerForOther,
    KnowsEveryMachine,
    HeaderLate,
    PieceDamaged,
    PlatformShort,
    PlatformPercentFalls,
    StartsAtOnce,
    ForgetsOnRestart,
    TakesDamage,
    NeverBegins,
    PercentFalls,
    WatchNeverEnds,
    FailureWithoutCode,
    FileDamaged,
    CancelIgnored,
    KnowsEveryRun,
    ReleaseTwiceRefused,
    BuildWithoutMachineFile,
    BuildWithTwoFiles,
    NoneButSecret, ///< no fault, and it requires a token
    LetsAnybodyIn,
    AcceptsAnySecret,
    TakesAnyToken,
    ResumesBehind,
    ResumesEveryEpoch,
    ChangeWithItems,
    TakesDamagedChange,
    StrategyTwice,
    WantsHashAtOnce,
};

/// Lets in where one is required.
inline constexpr const char* FaultyServiceToken = "sesame";

/// A service with one machine, by the messages alone, and with at most one fault.
class FaultyService final : public MachineService::Wire::pb::MachineService::Service
{
public:
    /// \param i_address unix:PATH.
    FaultyService(const std::string& i_address, Fault i_fault);
    ~FaultyService() override;

private:
    template <class Message>
    using Writer = grpc::ServerWriter<Message>;
    using Context = grpc::ServerContext;
    struct Run
    {
        MachineService::Wire::pb::StartRunRequest order;
        MachineService::Wire::pb::Run state;
        std::string input;
    };

    grpc::Status GetServiceInformation(Context* iop_context,
                                       const MachineService::Wire::pb::ServiceInformationRequest* ip_request,
                                       MachineService::Wire::pb::ServiceInformation* op_reply) override;
    grpc::Status WatchCatalog(Context* iop_context, const MachineService::Wire::pb::WatchCatalogRequest* ip_request,
                              Writer<MachineService::Wire::pb::CatalogEvent>* iop_writer) override;
    grpc::Status GetIcons(Context* iop_context, const MachineService::Wire::pb::GetIconsRequest* ip_request,
                          Writer<MachineService::Wire::pb::Icon>* iop_writer) override;
    grpc::Status GetCanRunAnswers(Context* iop_context, const MachineService::Wire::pb::CanRunRequest* ip_request,
                                  MachineService::Wire::pb::CanRunAnswers* op_reply) override;
    grpc::Status GetEmptyPlatform(Context* iop_context,
                                  const MachineService::Wire::pb::EmptyPlatformRequest* ip_request,
                                  Writer<MachineService::Wire::pb::PlatformReply>* iop_writer) override;
    grpc::Status
    ModifyPlatform(Context* iop_context,
                   grpc::ServerReaderWriter<MachineService::Wire::pb::PlatformReply,
                                            MachineService::Wire::pb::ModifyPlatformRequest>* iop_stream) override;
    grpc::Status GetProfileAssignments(Context* iop_context,
                                       const MachineService::Wire::pb::ProfileAssignmentsRequest* ip_request,
                                       MachineService::Wire::pb::ProfileAssignments* op_reply) override;
    grpc::Status SetAuthentication(Context* iop_context,
                                   const MachineService::Wire::pb::AuthenticationRequest* ip_request,
                                   MachineService::Wire::pb::AuthenticationReply* op_reply) override;
    grpc::Status StartRun(Context* iop_context, const MachineService::Wire::pb::StartRunRequest* ip_request,
                          MachineService::Wire::pb::Run* op_reply) override;
    grpc::Status Upload(Context* iop_context, grpc::ServerReader<MachineService::Wire::pb::UploadRequest>* iop_reader,
                        MachineService::Wire::pb::Run* op_reply) override;
    grpc::Status WatchRun(Context* iop_context, const MachineService::Wire::pb::RunRequest* ip_request,
                          Writer<MachineService::Wire::pb::Run>* iop_writer) override;
    grpc::Status CancelRun(Context* iop_context, const MachineService::Wire::pb::RunRequest* ip_request,
                           MachineService::Wire::pb::Run* op_reply) override;
    grpc::Status Download(Context* iop_context, const MachineService::Wire::pb::DownloadRequest* ip_request,
                          Writer<MachineService::Wire::pb::Chunk>* iop_writer) override;
    grpc::Status ReleaseRun(Context* iop_context, const MachineService::Wire::pb::RunRequest* ip_request,
                            MachineService::Wire::pb::ReleaseRunReply* op_reply) override;

    bool _IsLetIn(const Context& i_context) const;
    MachineService::Wire::pb::Machine _MakeMachine();
    bool _Take(Run& io_run, const MachineService::Wire::pb::Chunk& i_chunk) const;
    void _End(Run& io_run) const;
    /// Null for none.
    Run* _Find(const std::string& i_id);

    const Fault _fault;
    std::mutex _mutex; ///< guards everything below
    std::condition_variable _stopped;
    bool _isStopping = false;
    int _snapshots = 0;
    std::map<std::string, Run> _runs;
    std::unique_ptr<grpc::Server> _server;
};

} // namespace TestSupport
