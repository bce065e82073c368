#include "BareService.h"

#include "tavsdk/InputFile.h"
#include "wire/Chunks.h"
#include "wire/Conversions.h"

#include <grpcpp/create_channel.h>
#include <grpcpp/security/credentials.h>
#include <grpcpp/security/server_credentials.h>
#include <grpcpp/server_builder.h>

#include <cstdlib>
#include <fstream>

namespace Bench {

namespace {

using namespace MachineService;

constexpr std::size_t MachinesOfPage = 1000;
constexpr std::uint32_t HeartbeatMs = 5000;

std::string Read(const std::filesystem::path& i_path)
{
    return TavSDK::ReadFile(i_path, 1 << 20);
}

/// Writes pieces as they come, when they match their hash.
class Receiver
{
public:
    explicit Receiver(const std::filesystem::path& i_path)
        : _file(i_path, std::ios::binary)
    {}
    void Take(const pb::Chunk& i_chunk)
    {
        if (_reader.Take(Wire::ToPiece(i_chunk), [this](std::string_view i_bytes) {
                _file.write(i_bytes.data(), static_cast<std::streamsize>(i_bytes.size()));
            }) != Wire::ChunkReader::Piece::Taken)
            std::abort();
    }

private:
    std::ofstream _file;
    Wire::ChunkReader _reader{~0ULL};
};

} // namespace

boost::uuids::uuid MakeId(std::size_t i_number)
{
    boost::uuids::uuid id = {};
    id.data[0] = 0x42;
    for (std::size_t byte = 0; byte < 4; ++byte)
        id.data[15 - byte] = static_cast<std::uint8_t>(i_number >> (8 * byte));
    return id;
}

MachineData MakeData(std::size_t i_number)
{
    MachineData data;
    data.id = MakeId(i_number);
    data.name = "Machine " + std::to_string(i_number);
    data.manufacturer = "Example";
    data.modelId = "M-1";
    data.serviceId = ServiceId::BuildProcessors;
    data.buildVolume = BuildVolume{0, 0, 200, 200, 180, false};
    data.state = MachineState::Ready;
    return data;
}

MachineServerOptions::Tls MakeTlsFiles(const std::filesystem::path& i_folder)
{
    const auto certificate = i_folder / "certificate.pem";
    const auto key = i_folder / "key.pem";
    const std::string command = "openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=localhost -addext "
                                "subjectAltName=DNS:localhost -keyout '" +
                                key.string() + "' -out '" + certificate.string() + "' 2>/dev/null";
    if (std::system(command.c_str()) != 0)
        std::abort();
    return {certificate, key, {}};
}

Stub MakeStub(const std::string& i_address, const std::string& i_certificate)
{
    const std::string tls = "tls://";
    grpc::ChannelArguments arguments;
    // Otherwise gRPC lets several stubs share a connection.
    arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
    const auto credentials = i_certificate.empty() ? grpc::InsecureChannelCredentials()
                                                   : grpc::SslCredentials({Read(i_certificate), {}, {}});
    return pb::MachineService::NewStub(grpc::CreateCustomChannel(
        i_address.starts_with(tls) ? i_address.substr(tls.size()) : i_address, credentials, arguments));
}

BareService::BareService(std::size_t i_machines, bool i_is_tls)
{
    for (std::size_t first = 0; first < i_machines; first += MachinesOfPage) {
        auto& page = _pages.emplace_back();
        page.set_epoch(std::string(16, 'e'));
        page.set_revision(1);
        for (std::size_t number = first; number < std::min(i_machines, first + MachinesOfPage); ++number) {
            auto& machine = *page.mutable_snapshot()->add_machines() = Wire::ToMessage(MakeData(number));
            *machine.add_commands() = Wire::ToMessage(
                CommandDescription{CommandType::Additional, MakeId(number), DataFormat::Document, "Give back", "", {}});
        }
    }
    _pages.back().mutable_snapshot()->set_is_last(true);
    grpc::ServerBuilder builder;
    int port = 0;
    if (i_is_tls) {
        const auto files = MakeTlsFiles(_folder.GetAbsoluteDir());
        _certificate = files.certificateFile;
        grpc::SslServerCredentialsOptions options;
        options.pem_key_cert_pairs = {{Read(files.keyFile), Read(files.certificateFile)}};
        builder.AddListeningPort("localhost:0", grpc::SslServerCredentials(options), &port);
    } else {
        _address = "unix:" + (_folder.GetAbsoluteDir() / "socket").string();
        builder.AddListeningPort(_address, grpc::InsecureServerCredentials());
    }
    builder.RegisterService(this);
    _server = builder.BuildAndStart();
    if (i_is_tls)
        _address = "tls://localhost:" + std::to_string(port);
}

BareService::~BareService()
{
    {
        const std::lock_guard lock(_mutex);
        _isStopping = true;
        _changed.notify_all();
    }
    _server->Shutdown(std::chrono::system_clock::now());
    _server->Wait();
}

void BareService::TellChange()
{
    const std::lock_guard lock(_mutex);
    ++_changes;
    _changed.notify_all();
}

grpc::Status BareService::GetServiceInformation(Context*, const pb::ServiceInformationRequest*,
                                                pb::ServiceInformation* op_reply)
{
    op_reply->set_protocol_revision(1);
    op_reply->set_oldest_host_revision(1);
    op_reply->set_name("Bare");
    op_reply->set_heartbeat_interval_ms(HeartbeatMs);
    return grpc::Status::OK;
}

grpc::Status BareService::WatchCatalog(Context* iop_context, const pb::WatchCatalogRequest*,
                                       grpc::ServerWriter<pb::CatalogEvent>* iop_writer)
{
    int told = 0;
    {
        const std::lock_guard lock(_mutex);
        told = _changes;
    }
    for (const auto& page : _pages)
        iop_writer->Write(page);
    pb::CatalogEvent event;
    event.set_epoch(std::string(16, 'e'));
    *event.mutable_updated()->mutable_machine() = _pages.front().snapshot().machines(0);
    std::unique_lock lock(_mutex);
    while (!_isStopping && !iop_context->IsCancelled()) {
        _changed.wait_for(lock, std::chrono::milliseconds(HeartbeatMs / 10),
                          [&] { return told != _changes || _isStopping; });
        for (; told < _changes; ++told)
            iop_writer->Write(event);
    }
    return grpc::Status::OK;
}

grpc::Status BareService::GetProfileAssignments(Context* iop_context, const pb::ProfileAssignmentsRequest*,
                                                pb::ProfileAssignments*)
{
    std::unique_lock lock(_mutex);
    while (!_isAnswering && !iop_context->IsCancelled() && !_isStopping)
        _changed.wait_for(lock, std::chrono::milliseconds(100));
    return grpc::Status::OK;
}

grpc::Status BareService::Upload(Context*, grpc::ServerReader<pb::UploadRequest>* iop_reader, pb::Run*)
{
    Receiver receiver(GetFolder() / "sent");
    for (pb::UploadRequest request; iop_reader->Read(&request);)
        receiver.Take(request.chunk());
    return grpc::Status::OK;
}

grpc::Status BareService::Download(Context*, const pb::DownloadRequest*, grpc::ServerWriter<pb::Chunk>* iop_writer)
{
    TavSDK::InputFile file(GetFolder() / "sent");
    Wire::FileChunks chunks(file, 0);
    for (pb::Chunk chunk; chunks.Next(chunk) && iop_writer->Write(chunk);) {
    }
    return grpc::Status::OK;
}

void StreamThere(pb::MachineService::Stub& io_stub, const std::filesystem::path& i_file)
{
    grpc::ClientContext context;
    pb::Run reply;
    const auto writer = io_stub.Upload(&context, &reply);
    TavSDK::InputFile file(i_file);
    Wire::FileChunks chunks(file, 0);
    for (pb::UploadRequest request; chunks.Next(*request.mutable_chunk()) && writer->Write(request);) {
    }
    writer->WritesDone();
    if (!writer->Finish().ok())
        std::abort();
}

void StreamBack(pb::MachineService::Stub& io_stub, const std::filesystem::path& i_file)
{
    grpc::ClientContext context;
    Receiver receiver(i_file);
    const auto reader = io_stub.Download(&context, {});
    for (pb::Chunk chunk; reader->Read(&chunk);)
        receiver.Take(chunk);
    if (!reader->Finish().ok())
        std::abort();
}

std::size_t ReadSnapshot(pb::MachineService::Stub& io_stub)
{
    grpc::ClientContext context;
    const auto reader = io_stub.WatchCatalog(&context, {});
    std::size_t machines = 0;
    for (pb::CatalogEvent event; reader->Read(&event);) {
        machines += static_cast<std::size_t>(event.snapshot().machines_size());
        if (event.snapshot().is_last())
            break;
    }
    context.TryCancel();
    reader->Finish();
    return machines;
}

BareStream::BareStream(Stub ip_stub)
    : _stub(std::move(ip_stub))
{
    _thread = std::thread([this] {
        const auto reader = _stub->WatchCatalog(&_context, {});
        for (pb::CatalogEvent event; reader->Read(&event);) {
            const std::lock_guard lock(_mutex);
            _events += event.has_updated() ? 1 : 0;
            _machines += static_cast<std::size_t>(event.snapshot().machines_size());
            _changed.notify_all();
        }
        reader->Finish();
    });
    AwaitMachines(1);
}

BareStream::~BareStream()
{
    _context.TryCancel();
    _thread.join();
}

void BareStream::AwaitEvent()
{
    std::unique_lock lock(_mutex);
    ++_awaited;
    _changed.wait(lock, [this] { return _events >= _awaited; });
}

void BareStream::AwaitMachines(std::size_t i_machines)
{
    std::unique_lock lock(_mutex);
    _changed.wait(lock, [&] { return _machines >= i_machines; });
}

} // namespace Bench
