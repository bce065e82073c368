#pragma once

#include "client/interface/MachineData.h"
#include "client/interface/ScopedTempDir.h"
#include "server/MachineServer.h"

#include <machineservice/v1/machines.grpc.pb.h>

#include <grpcpp/server.h>

#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

/// What anybody would have to do for the same: the messages and gRPC alone.
namespace Bench {

namespace pb = machineservice::v1;
using Stub = std::shared_ptr<pb::MachineService::Stub>;

boost::uuids::uuid MakeId(std::size_t i_number);
MachineService::MachineData MakeData(std::size_t i_number);
/// A certificate for "localhost" that vouches for itself.
MachineService::MachineServerOptions::Tls MakeTlsFiles(const std::filesystem::path& i_folder);
/// On a connection of its own.
Stub MakeStub(const std::string& i_address, const std::string& i_certificate = {});

/// Thread: any.
class BareService final : public pb::MachineService::Service
{
public:
    BareService(std::size_t i_machines, bool i_is_tls);
    ~BareService() override;

    std::string GetAddress() const { return _address; }
    std::filesystem::path GetFolder() const { return _folder.GetAbsoluteDir(); }
    Stub MakeStub() const { return Bench::MakeStub(_address, _certificate); }
    /// Questions about profiles are answered, or wait until their host gives up.
    void SetAnswering(bool i_is_answering) { _isAnswering = i_is_answering; }
    /// Sends one event to who listens.
    void TellChange();

private:
    using Context = grpc::ServerContext;
    grpc::Status GetServiceInformation(Context*, const pb::ServiceInformationRequest*,
                                       pb::ServiceInformation* op_reply) override;
    grpc::Status WatchCatalog(Context* iop_context, const pb::WatchCatalogRequest*,
                              grpc::ServerWriter<pb::CatalogEvent>* iop_writer) override;
    grpc::Status GetProfileAssignments(Context* iop_context, const pb::ProfileAssignmentsRequest*,
                                       pb::ProfileAssignments*) override;
    grpc::Status Upload(Context*, grpc::ServerReader<pb::UploadRequest>* iop_reader, pb::Run*) override;
    grpc::Status Download(Context*, const pb::DownloadRequest*, grpc::ServerWriter<pb::Chunk>* iop_writer) override;

    const MachineService::ScopedTempDir _folder;
    std::vector<pb::CatalogEvent> _pages;
    std::string _address;
    std::string _certificate; ///< file
    std::atomic<bool> _isAnswering = true;
    std::mutex _mutex; ///< guards everything below
    std::condition_variable _changed;
    int _changes = 0;
    bool _isStopping = false;
    std::unique_ptr<grpc::Server> _server;
};

/// Sends a file with the running hash of each piece; the service writes it.
void StreamThere(pb::MachineService::Stub& io_stub, const std::filesystem::path& i_file);
/// Fetches what was sent, and writes it.
void StreamBack(pb::MachineService::Stub& io_stub, const std::filesystem::path& i_file);
/// \return number of machines.
std::size_t ReadSnapshot(pb::MachineService::Stub& io_stub);

/// Listens to the catalog, on a thread of its own.
class BareStream
{
public:
    explicit BareStream(Stub ip_stub);
    ~BareStream();

    /// One more than those that were waited for before.
    void AwaitEvent();
    void AwaitMachines(std::size_t i_machines);

private:
    const Stub _stub;
    grpc::ClientContext _context;
    std::mutex _mutex; ///< guards everything below
    std::condition_variable _changed;
    int _events = 0; ///< that are news
    int _awaited = 0;
    std::size_t _machines = 0;
    std::thread _thread;
};

} // namespace Bench
