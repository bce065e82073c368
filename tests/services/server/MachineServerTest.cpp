#include "server/ConnectionListener.h"
#include "services/server/LoomServer.h"
#include "support/FakeMachineService.h"

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace MachineService {

namespace {

using namespace Testing;

using MachineServerTest = LoomServer;

TEST_F(MachineServerTest, TellsOfItselfAndItsMachinesAndNewsOfThem)
{
    Start();
    pb::ServiceInformation information;
    pb::ServiceInformationRequest request;
    EXPECT_EQ(GetReason(client->Call(&pb::MachineService::Stub::GetServiceInformation, request, information)),
              "bad-request"); // a host of revision 0
    request.set_protocol_revision(Wire::ProtocolRevision);
    ASSERT_TRUE(client->Call(&pb::MachineService::Stub::GetServiceInformation, request, information).ok());
    EXPECT_EQ(information.name(), "Looms");
    ASSERT_EQ(information.components_size(), 1);
    EXPECT_EQ(information.components(0).version(), "1.2");
    EXPECT_FALSE(information.requires_authentication());

    const auto context = client->MakeContext();
    const auto reader = client->Get().WatchCatalog(context.get(), {});
    auto events =
        client->ReadUntil<pb::CatalogEvent>(*reader, [](const auto& i_event) { return i_event.snapshot().is_last(); });
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.front().event_case(), pb::CatalogEvent::kStatus);
    const auto snapshot = events.back();
    ASSERT_EQ(snapshot.snapshot().machines_size(), 1);
    const auto told = snapshot.snapshot().machines(0);
    EXPECT_EQ(told.name(), "Loom");
    EXPECT_EQ(told.commands_size(), 2);

    pb::GetIconsRequest icons;
    icons.add_sha256(told.picture_sha256());
    icons.add_sha256(std::string(32, 'x'));
    icons.add_sha256(told.commands(1).icon_sha256());
    client->context = client->MakeContext();
    const auto received = client->ReadUntil<pb::Icon>(*client->Get().GetIcons(client->context.get(), icons), {});
    ASSERT_THAT(received, SizeIs(2));
    EXPECT_EQ(received[0].content(), "pic");
    EXPECT_EQ(received[1].sha256(), HashOf("ico"));

    {
        const std::lock_guard lock(mutex);
        machine.data.name = "Big loom";
    }
    pb::RefreshReply refreshed;
    EXPECT_TRUE(client->Call(&pb::MachineService::Stub::Refresh, {}, refreshed).ok());
    events = client->ReadUntil<pb::CatalogEvent>(*reader, [](const auto& i_event) { return i_event.has_updated(); });
    EXPECT_EQ(events.back().updated().machine().name(), "Big loom");
    EXPECT_EQ(events.back().updated().changes(), 8u);
    // Nothing happens, and the host hears that all the same.
    events = client->ReadUntil<pb::CatalogEvent>(*reader, [](const auto& i_event) { return i_event.has_heartbeat(); });
    EXPECT_TRUE(events.back().has_heartbeat());
    context->TryCancel();

    // A host that comes back gets what it missed.
    pb::WatchCatalogRequest again;
    again.set_epoch(snapshot.epoch());
    again.set_revision(snapshot.revision());
    client->context = client->MakeContext();
    const auto resumed = client->Get().WatchCatalog(client->context.get(), again);
    events = client->ReadUntil<pb::CatalogEvent>(*resumed, [](const auto& i_event) { return i_event.has_updated(); });
    EXPECT_THAT(events, SizeIs(2));
    client->context->TryCancel();
}

TEST_F(MachineServerTest, NamesTheLanguageOfItsTexts)
{
    for (const std::string language : {"en", "de", ""}) {
        options.language = language;
        Start();
        const auto told = client->ReadSnapshot().back().snapshot().machines(0);
        EXPECT_EQ(told.commands(0).name().language(), language);
        EXPECT_EQ(told.commands(0).description().language(), "") << "there is no text";
        pb::CanRunRequest canRun;
        *canRun.mutable_machine() = MakeReference();
        pb::CanRunAnswers answers;
        ASSERT_TRUE(client->Call(&pb::MachineService::Stub::GetCanRunAnswers, canRun, answers).ok());
        EXPECT_EQ(answers.answers(1).reason().language(), language);
        pb::ProfileAssignmentsRequest strategies;
        *strategies.mutable_machine() = MakeReference();
        pb::ProfileAssignments assignments;
        ASSERT_TRUE(client->Call(&pb::MachineService::Stub::GetProfileAssignments, strategies, assignments).ok());
        EXPECT_EQ(assignments.assignments(0).name().language(), "") << "nobody knows which";

        const auto getLanguage = [this](const grpc::Status& i_status) {
            return Wire::GetFailure(i_status, *client->context)->sentence().language();
        };
        canRun.mutable_machine()->set_machine_id(std::string(16, 'x'));
        EXPECT_EQ(getLanguage(client->Call(&pb::MachineService::Stub::GetCanRunAnswers, canRun, answers)),
                  language == "en" ? "en" : "");
        pb::RunRequest unknown;
        unknown.set_run_id(std::string(16, 'x'));
        pb::Run ended;
        EXPECT_EQ(getLanguage(client->Call(&pb::MachineService::Stub::CancelRun, unknown, ended)), "en");
        client.reset();
        server.reset();
    }
}

TEST_F(MachineServerTest, TellsTheMachinesOfServicesThatSayNothingOfTheirStart)
{
    const auto readStatus = [this] {
        client->context = client->MakeContext();
        const auto reader = client->Get().WatchCatalog(client->context.get(), {});
        auto last = pb::SERVICE_STATUS_STOPPED;
        const auto events = client->ReadUntil<pb::CatalogEvent>(*reader, [&](const auto& i_event) {
            if (i_event.has_status())
                last = i_event.status();
            return i_event.snapshot().is_last();
        });
        client->context->TryCancel();
        return std::pair(last, events.empty() ? 0 : events.back().snapshot().machines_size());
    };
    // One that runs already, and gets a server anew.
    Start();
    readStatus();
    client.reset();
    server.reset();
    server = std::make_unique<MachineServer>(*catalog, options);
    server->Start();
    client = std::make_unique<WireClient>(server->GetAddresses().front());
    EXPECT_EQ(readStatus(), std::pair(pb::SERVICE_STATUS_RUNNING, 1));
    // One that never tells a status.
    client.reset();
    server.reset();
    TestSupport::FakeMachinesCatalog silent;
    server = std::make_unique<MachineServer>(silent, options);
    server->Start();
    silent.Put(1);
    client = std::make_unique<WireClient>(server->GetAddresses().front());
    EXPECT_EQ(readStatus(), std::pair(pb::SERVICE_STATUS_RUNNING, 1));
    // Its machine goes.
    silent.Take(1);
    const auto end = std::chrono::steady_clock::now() + Long;
    while (readStatus().second != 0 && std::chrono::steady_clock::now() < end)
        std::this_thread::yield();
    EXPECT_LT(std::chrono::steady_clock::now(), end);
    client.reset();
    server.reset();
}

TEST_F(MachineServerTest, AnswersWhatAMachineIsAsked)
{
    std::promise<void> isHeard;
    machine.modifyPlatform = [&](const Platform& i_platform, std::stop_token) {
        modified = i_platform.data;
        isHeard.get_future().wait();
    };
    Start();
    client->ReadSnapshot();
    pb::CanRunRequest request;
    *request.mutable_machine() = MakeReference();
    pb::CanRunAnswers answers;
    ASSERT_TRUE(client->Call(&pb::MachineService::Stub::GetCanRunAnswers, request, answers).ok());
    ASSERT_EQ(answers.answers_size(), 2);
    EXPECT_TRUE(answers.answers(0).can_run());
    EXPECT_EQ(answers.answers(1).reason().text(), "The thread is torn.");
    request.mutable_machine()->set_machine_id(Wire::ToBytes(MakeId(9)));
    EXPECT_EQ(GetReason(client->Call(&pb::MachineService::Stub::GetCanRunAnswers, request, answers)),
              "unknown-machine");
    request.mutable_machine()->set_machine_id("short");
    EXPECT_EQ(GetReason(client->Call(&pb::MachineService::Stub::GetCanRunAnswers, request, answers)), "bad-request");

    pb::PlatformInformationRequest informationRequest;
    *informationRequest.mutable_machine() = MakeReference();
    client->context = client->MakeContext();
    const auto information = Read(*client->Get().GetPlatformInformation(client->context.get(), informationRequest));
    EXPECT_THAT(information.second.substr(0, information.first.xml_bytes()), HasSubstr("Loom.Yarn"));
    pb::EmptyPlatformRequest emptyRequest;
    *emptyRequest.mutable_machine() = MakeReference();
    client->context = client->MakeContext();
    const auto empty = Read(*client->Get().GetEmptyPlatform(client->context.get(), emptyRequest));
    EXPECT_TRUE(empty.first.result().completed()) << status.error_message();
    ASSERT_EQ(empty.first.items_size(), 1);
    EXPECT_EQ(empty.first.items(0).size_bytes(), empty.second.size());
    EXPECT_THAT(empty.second, StartsWith("PK"));

    client->context = client->MakeContext();
    const auto stream = client->Get().ModifyPlatform(client->context.get());
    pb::ModifyPlatformRequest header;
    *header.mutable_header()->mutable_machine() = MakeReference();
    header.mutable_header()->mutable_platform()->set_size_bytes(empty.second.size());
    stream->Write(header);
    Wire::ByteChunks().Send(empty.second, [&](const pb::Chunk& i_chunk) {
        pb::ModifyPlatformRequest piece;
        *piece.mutable_chunk() = i_chunk;
        return stream->Write(piece);
    });
    stream->WritesDone();
    pb::PlatformReply reply;
    // As long as a machine works, its host hears of it.
    EXPECT_TRUE(stream->Read(&reply) && !reply.has_header());
    isHeard.set_value();
    while (stream->Read(&reply) && !reply.has_header()) {
    }
    EXPECT_TRUE(stream->Finish().ok());
    EXPECT_EQ(modified, empty.second);

    pb::ProfileAssignmentsRequest assignmentsRequest;
    *assignmentsRequest.mutable_machine() = MakeReference();
    pb::ProfileAssignments assignments;
    ASSERT_TRUE(client->Call(&pb::MachineService::Stub::GetProfileAssignments, assignmentsRequest, assignments).ok());
    EXPECT_EQ(assignments.assignments(0).name().text(), "Solid");
}

TEST_F(MachineServerTest, CarriesARunThroughABrokenConnection)
{
    Start();
    client->ReadSnapshot();
    const std::string input(300'000, 'a');
    const auto order = MakeOrder(20, input);
    EXPECT_EQ(StartRun(order).phase(), pb::RUN_PHASE_WAITING_FOR_INPUT) << status.error_message();
    client->Upload(order.run_id(), input.substr(0, 70'000));
    client = std::make_unique<WireClient>(server->GetAddresses().front());
    auto again = order;
    again.set_is_resumption(true);
    const auto resumed = StartRun(again);
    EXPECT_EQ(resumed.received_bytes(), 70'000u);
    EXPECT_GE(client->Upload(order.run_id(), input, resumed.received_bytes()).phase(), pb::RUN_PHASE_RUNNING);
    EXPECT_TRUE(client->status.ok()) << client->status.error_message();
    const auto states = client->Watch(order.run_id());
    ASSERT_FALSE(states.empty());
    EXPECT_TRUE(client->status.ok());
    const auto& end = states.back();
    ASSERT_EQ(end.phase(), pb::RUN_PHASE_FINISHED) << end.failure().sentence().text();
    ASSERT_EQ(end.files_size(), 1);
    EXPECT_EQ(end.files(0).name(), "cloth.txt");
    // Who does not say that it takes the hash later, such as a host of the first version, is told it now.
    EXPECT_EQ(end.files(0).sha256(), HashOf(input + "!"));
    EXPECT_EQ(client->Download(order.run_id(), 0), input + "!");
    EXPECT_EQ(client->Download(order.run_id(), 0, 299'999), "a!");
    EXPECT_EQ(client->Download(order.run_id(), 0, 300'002), "");
    EXPECT_EQ(GetReason(client->status), "bad-request");
    pb::RunRequest request;
    request.set_run_id(order.run_id());
    pb::ReleaseRunReply released;
    EXPECT_TRUE(client->Call(&pb::MachineService::Stub::ReleaseRun, request, released).ok());
    EXPECT_TRUE(client->Call(&pb::MachineService::Stub::ReleaseRun, request, released).ok());
    StartRun(again);
    EXPECT_EQ(GetReason(status), "unknown-run");
    EXPECT_EQ(status.error_code(), grpc::StatusCode::NOT_FOUND);
    EXPECT_THAT(client->Watch(order.run_id()), IsEmpty());
    EXPECT_EQ(GetReason(client->status), "unknown-run");
}

TEST_F(MachineServerTest, CancelsARunAndEndsRunsWhenItStops)
{
    run = [](const CommandRun& i_run) -> CommandResult {
        std::mutex own;
        std::condition_variable_any wakeUp;
        std::unique_lock lock(own);
        wakeUp.wait(lock, i_run.stop, [] { return false; });
        throw std::runtime_error("stopped");
    };
    Start();
    client->ReadSnapshot();
    for (const std::uint8_t number : {20, 21}) {
        StartRun(MakeOrder(number, "x"));
        client->Upload(Wire::ToBytes(MakeId(number)), "x");
    }
    pb::RunRequest request;
    request.set_run_id(Wire::ToBytes(MakeId(20)));
    pb::Run answer;
    EXPECT_TRUE(client->Call(&pb::MachineService::Stub::CancelRun, request, answer).ok());
    const auto states = client->Watch(request.run_id());
    ASSERT_FALSE(states.empty());
    EXPECT_EQ(states.back().failure().code(), pb::ERROR_CODE_PROCESSING_ABORTED);

    // One still runs: it has its time, and then everything ends with a word.
    auto watched = std::async(std::launch::async, [&] {
        WireClient other(server->GetAddresses().front());
        const auto seen = other.Watch(Wire::ToBytes(MakeId(21)));
        return std::pair(seen, other.status);
    });
    const auto begun = std::chrono::steady_clock::now();
    server->Stop(std::chrono::milliseconds(300));
    EXPECT_GE(std::chrono::steady_clock::now() - begun, std::chrono::milliseconds(300));
    EXPECT_LT(std::chrono::steady_clock::now() - begun, Long);
    EXPECT_FALSE(watched.get().second.ok());
    EXPECT_FALSE(std::filesystem::exists(options.addresses.front().substr(5)));
}

TEST_F(MachineServerTest, LetsInWhoHasAToken)
{
    options.admit = [](const std::string& i_secret) {
        return i_secret == "sesame" ? std::optional<std::string>("ali") : std::nullopt;
    };
    Start();
    EXPECT_THAT(client->ReadSnapshot(), IsEmpty());
    EXPECT_EQ(client->status.error_code(), grpc::StatusCode::UNAUTHENTICATED);
    StartRun(MakeOrder(20, "x"));
    EXPECT_EQ(GetReason(status), "credentials-needed");
    pb::AuthenticationRequest request;
    request.set_secret("wrong");
    pb::AuthenticationReply reply;
    ASSERT_TRUE(client->Call(&pb::MachineService::Stub::SetAuthentication, request, reply).ok());
    EXPECT_EQ(reply.result(), pb::AUTHENTICATION_RESULT_REJECTED);
    request.set_secret("sesame");
    ASSERT_TRUE(client->Call(&pb::MachineService::Stub::SetAuthentication, request, reply).ok());
    EXPECT_EQ(reply.result(), pb::AUTHENTICATION_RESULT_ACCEPTED);
    client->token = reply.token();
    EXPECT_FALSE(client->ReadSnapshot().empty());
}

TEST_F(MachineServerTest, DoesNotListenWithoutFilesToDoItWith)
{
    int ends[2] = {};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends), 0);
    rlimit before = {};
    getrlimit(RLIMIT_NOFILE, &before);
    rlimit none = before;
    none.rlim_cur = 0;
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_THROW(Server::ConnectionListener({ends[0]}, 1, {}), CommunicationException);
    setrlimit(RLIMIT_NOFILE, &before);
    char byte = 0;
    EXPECT_EQ(read(ends[1], &byte, 1), 0) << "the socket that it was given is closed";
    close(ends[1]);
}

TEST_F(MachineServerTest, BoundsConnectionsAndStreams)
{
    options.limits.connections = 2;
    options.limits.streams = 1;
    options.heartbeat = 4 * Long;
    Start();
    const auto context = client->MakeContext();
    const auto reader = client->Get().WatchCatalog(context.get(), {});
    pb::CatalogEvent event;
    ASSERT_TRUE(reader->Read(&event));
    EXPECT_THAT(client->ReadSnapshot(), IsEmpty());
    EXPECT_EQ(client->status.error_code(), grpc::StatusCode::RESOURCE_EXHAUSTED);
    context->TryCancel();
    // Whoever leaves makes room at once, not at the next heartbeat.
    const auto begun = std::chrono::steady_clock::now();
    while (client->ReadSnapshot().empty() && std::chrono::steady_clock::now() < begun + Long)
        std::this_thread::yield();
    EXPECT_LT(std::chrono::steady_clock::now(), begun + Long);
    auto second = std::make_unique<WireClient>(server->GetAddresses().front());
    pb::RefreshReply reply;
    EXPECT_TRUE(second->Call(&pb::MachineService::Stub::Refresh, {}, reply).ok());
    WireClient third(server->GetAddresses().front());
    grpc::ClientContext hurried;
    hurried.set_deadline(std::chrono::system_clock::now() + std::chrono::milliseconds(300));
    EXPECT_FALSE(third.Get().Refresh(&hurried, {}, &reply).ok());
    // One goes, and its place is free.
    second.reset();
    EXPECT_TRUE(third.Call(&pb::MachineService::Stub::Refresh, {}, reply).ok());
}

TEST_F(MachineServerTest, SaysWhyItCannotStart)
{
    const auto getFailure = [this] {
        try {
            Start();
        } catch (const CommunicationException& failure) {
            return std::string(failure.what());
        }
        return std::string();
    };
    const auto path = folder.GetAbsoluteDir() / "socket";
    options.addresses = {"unix:" + path.string()};
    EXPECT_EQ(getFailure(), "");
    struct stat state = {};
    ASSERT_EQ(stat(path.c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 0777u, 0600u);
    const auto first = std::move(server);
    const auto firstCatalog = std::move(catalog);
    EXPECT_THAT(getFailure(), HasSubstr("another service is using it"));
    server.reset();
    TestSupport::WriteFile(folder.GetAbsoluteDir() / "file", "x");
    const struct
    {
        std::string address;
        const char* found;
    } rows[] = {
        {"unix:" + (folder.GetAbsoluteDir() / "file").string(), "no socket"},
        {"unix:relative", "not absolute"},
        {"unix:/" + std::string(200, 'a'), "too long"},
        {"http://x", "of no known kind"},
        {"tls://127.0.0.1:0", "cannot be read"},
    };
    for (const auto& row : rows) {
        options.addresses = {row.address};
        EXPECT_THAT(getFailure(), HasSubstr(row.found)) << row.address;
        server.reset();
    }
    first->Stop(std::chrono::milliseconds(0));
}

} // namespace

} // namespace MachineService
