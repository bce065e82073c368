#pragma once

#include "client/interface/ScopedTempDir.h"
#include "contract/OfferedMachinesCatalog.h"
#include "server/MachineServer.h"
#include "services/server/WireClient.h"
#include "support/Files.h"
#include "wire/Conversions.h"
#include "wire/Failures.h"

#include <algorithm>

namespace MachineService::Testing {

namespace pb = Wire::pb;
using TestSupport::WireClient;

inline constexpr auto Long = std::chrono::seconds(20);

inline boost::uuids::uuid MakeId(std::uint8_t i_number)
{
    boost::uuids::uuid id = {};
    id.data[0] = 0x5e;
    id.data[15] = i_number;
    return id;
}

/// A service with one machine, whose command does what the test says.
class LoomServer : public ::testing::Test
{
protected:
    LoomServer()
    {
        machine.data.id = MakeId(1);
        machine.data.name = "Loom";
        machine.data.picture = MachinePicture({'p', 'i', 'c'});
        machine.platform.choices = {{"Loom.Yarn", "Yarn", false, {{"wool", "Wool", true}}}};
        machine.strategies = {{"s", "Solid", "part"}};
        OfferedCommand weave;
        weave.description = {CommandType::Build, MakeId(2), DataFormat::Document, "Weave", "", {'i', 'c', 'o'}};
        weave.run = [this](const CommandRun& i_run) {
            return run(i_run);
        };
        OfferedCommand broken = weave;
        broken.description.id = MakeId(3);
        broken.canRun = [] {
            return false;
        };
        broken.whyNot = [] {
            return "The thread is torn.";
        };
        machine.commands = {weave, broken};
        machine.modifyPlatform = [this](const Platform& i_platform, std::stop_token) {
            modified = i_platform.data;
        };
        options.services = {ServiceId::BuildProcessors};
        options.heartbeat = std::chrono::milliseconds(200);
        options.addresses = {"unix:" + (folder.GetAbsoluteDir() / "own" / "socket").string()};
        options.name = "Looms";
    }

    ~LoomServer() override { server.reset(); }

    void Start()
    {
        catalog = std::make_unique<OfferedMachinesCatalog>(
            OfferedMachinesCatalog::Service{ServiceId::BuildProcessors, "Looms", "1.2"}, [this] {
                const std::lock_guard lock(mutex);
                return std::vector{machine};
            });
        server = std::make_unique<MachineServer>(*catalog, options);
        server->Start();
        client = std::make_unique<WireClient>(server->GetAddresses().front());
    }

    static pb::StartRunRequest MakeOrder(std::uint8_t i_number, const std::string& i_input)
    {
        pb::StartRunRequest request;
        request.set_run_id(Wire::ToBytes(MakeId(i_number)));
        *request.mutable_machine() = MakeReference();
        request.set_command_id(Wire::ToBytes(MakeId(2)));
        request.set_job_name("../job");
        request.mutable_input()->set_name("in.txt");
        request.mutable_input()->set_size_bytes(i_input.size());
        request.mutable_input()->set_sha256(HashOf(i_input));
        return request;
    }
    static pb::MachineReference MakeReference()
    {
        pb::MachineReference reference;
        reference.set_machine_id(Wire::ToBytes(MakeId(1)));
        return reference;
    }

    /// Reason of the failure that the last call ended with.
    std::string GetReason(const grpc::Status& i_status)
    {
        const auto failure = Wire::GetFailure(i_status, *client->context);
        return failure ? failure->reason() : "status " + std::to_string(i_status.error_code());
    }

    pb::Run StartRun(const pb::StartRunRequest& i_request)
    {
        pb::Run answer;
        status = client->Call(&pb::MachineService::Stub::StartRun, i_request, answer);
        return answer;
    }

    /// Everything that comes of a platform, header and bytes.
    std::pair<pb::PlatformHeader, std::string> Read(grpc::ClientReaderInterface<pb::PlatformReply>& io_reader)
    {
        std::pair<pb::PlatformHeader, std::string> all;
        pb::PlatformReply reply;
        while (io_reader.Read(&reply)) {
            if (reply.has_header())
                all.first = reply.header();
            all.second += reply.chunk().content();
        }
        status = io_reader.Finish();
        return all;
    }

    const ScopedTempDir folder;
    std::mutex mutex; ///< guards machine
    OfferedMachine machine;
    std::function<CommandResult(const CommandRun&)> run = [](const CommandRun& i_run) {
        i_run.Report(50, "Weaving");
        TestSupport::WriteFile(i_run.parameters.outputDir / "cloth.txt",
                               TestSupport::ReadFile(i_run.parameters.inputFile) + "!");
        CommandResult result;
        result.dataFormat = DataFormat::Document;
        return result;
    };
    std::string modified;
    MachineServerOptions options;
    std::unique_ptr<OfferedMachinesCatalog> catalog;
    std::unique_ptr<MachineServer> server;
    std::unique_ptr<WireClient> client;
    grpc::Status status;
};

} // namespace MachineService::Testing
