#include "services/remote/RemoteFixture.h"
#include "support/Failures.h"
#include "support/SocketProxy.h"

#include <grpcpp/security/server_credentials.h>
#include <grpcpp/server_builder.h>

#include <QLocale>

#include <csignal>
#include <optional>

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace MachineService::Testing {

namespace {

using namespace std::chrono_literals;

/// The looms behind a connection that does what the test says.
class RemoteFaultsTest : public RemoteLooms
{
protected:
    void StartBehindProxy()
    {
        run = [this, weave = run](const CommandRun& i_run) {
            ++runs;
            if (duringRun)
                duringRun(i_run);
            return weave(i_run);
        };
        Start();
        const std::string path = folder.GetAbsoluteDir() / "proxy";
        proxy = std::make_unique<TestSupport::SocketProxy>(path, options.addresses.front().substr(5));
        ConnectAndRun("unix:" + path);
        journal.Take();
    }
    ~RemoteFaultsTest() override
    {
        remote.reset();
        proxy.reset();
    }

    std::unique_ptr<TestSupport::SocketProxy> proxy;
    std::atomic<int> runs = 0;
    std::function<void(const CommandRun&)> duringRun; ///< set before the service starts
};

TEST_F(RemoteFaultsTest, ABrokenConnectionDoesNotChangeWhatARunLeaves)
{
    duringRun = [this](const CommandRun&) {
        if (runs == 1)
            proxy->CloseAll();
    };
    StartBehindProxy();
    std::string input;
    for (int line = 0; input.size() < 3'000'000; ++line)
        input += std::to_string(line) + '\n';
    EXPECT_TRUE(GetLoom().RunCommand(MakeParameters(input)).get().completed);
    EXPECT_EQ(ReadResult(), input + "!");
    EXPECT_EQ(runs, 1) << "the same run";
    // In the midst of the upload, and of the download.
    for (const std::size_t bytes : {1'000'000, 4'500'000}) {
        ASSERT_TRUE(Expect("status 2 "));
        runs = 1;
        proxy->CloseAfter(bytes);
        std::filesystem::remove(folder.GetAbsoluteDir() / "out" / "cloth.txt");
        EXPECT_TRUE(GetLoom().RunCommand(MakeParameters(input)).get().completed);
        EXPECT_EQ(ReadResult(), input + "!");
        EXPECT_EQ(runs, 2);
        EXPECT_THAT(GetResults(), SizeIs(1));
    }
}

TEST_F(RemoteFaultsTest, ABitThatFlipsOnTheWayIsNeverPartOfAResult)
{
    StartBehindProxy();
    const std::string input = std::string(300'000, 'a') + "mark" + std::string(300'000, 'b');
    proxy->FlipOnceIn("mark"); // on the way up
    EXPECT_TRUE(GetLoom().RunCommand(MakeParameters(input)).get().completed);
    EXPECT_EQ(ReadResult(), input + "!");
    EXPECT_TRUE(proxy->HasFlipped());
    proxy->FlipOnceIn("b!"); // only the result ends so
    EXPECT_TRUE(GetLoom().RunCommand(MakeParameters(input)).get().completed);
    EXPECT_EQ(ReadResult(), input + "!");
    EXPECT_TRUE(proxy->HasFlipped());
    EXPECT_EQ(runs, 2);
}

TEST_F(RemoteFaultsTest, AConnectionOfOneByteASecondIsLostAndItsRunGoesOn)
{
    std::promise<void> begun;
    std::promise<void> mayEnd;
    duringRun = [&](const CommandRun&) {
        begun.set_value();
        mayEnd.get_future().wait();
    };
    StartBehindProxy();
    auto result = GetLoom().RunCommand(MakeParameters("x"));
    begun.get_future().wait();
    proxy->SetSlow(true);
    EXPECT_TRUE(Expect("status 4 The machine service at")) << "a heartbeat is longer";
    EXPECT_THAT(journal.Take().back(), HasSubstr("does not answer"));
    mayEnd.set_value();
    proxy->SetSlow(false);
    proxy->CloseAll();
    EXPECT_TRUE(result.get().completed);
    EXPECT_EQ(ReadResult(), "x!");
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(Expect("status 2 "));
}

/// No file of this process grows beyond so many bytes, as on a full disk.
class SmallDisk
{
public:
    explicit SmallDisk(rlim_t i_bytes)
    {
        getrlimit(RLIMIT_FSIZE, &_former);
        const rlimit small = {i_bytes, _former.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~SmallDisk()
    {
        setrlimit(RLIMIT_FSIZE, &_former);
        std::signal(SIGXFSZ, _handler);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

private:
    rlimit _former = {};
    void (*const _handler)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

TEST_F(RemoteFaultsTest, ADiskThatIsFullIsOneSentenceOnEitherSide)
{
    std::optional<SmallDisk> disk;
    bool isHostFull = false;
    run = [&, weave = run](const CommandRun& i_run) {
        auto result = weave(i_run);
        // All that is written from now on, the host writes.
        if (isHostFull)
            disk.emplace(100'000);
        return result;
    };
    StartBehindProxy();
    const std::string input(500'000, 'x');
    for (const bool isHost : {false, true}) {
        isHostFull = isHost;
        const auto parameters = MakeParameters(input);
        if (!isHost)
            disk.emplace(100'000);
        const auto failure = GetFailure([&] { GetLoom().RunCommand(parameters).get(); });
        disk.reset();
        EXPECT_EQ(failure.code, ErrorCode::FileError);
        EXPECT_THAT(failure.text, MatchesRegex("The file '.*(in|cloth).txt' cannot be written: File too large."));
        EXPECT_THAT(GetResults(), IsEmpty());
    }
    isHostFull = false;
    EXPECT_TRUE(GetLoom().RunCommand(MakeParameters(input)).get().completed);
    EXPECT_EQ(ReadResult(), input + "!");
}

TEST_F(RemoteFaultsTest, WhatAnswersWithGarbageIsNoMachineService)
{
    const std::string path = folder.GetAbsoluteDir() / "garbage";
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 5), 0);
    std::thread garbage([listener] {
        for (int connection; (connection = accept(listener, nullptr, nullptr)) >= 0; close(connection)) {
            const std::string text(10'000, '\x7f');
            [[maybe_unused]] const auto sent = send(connection, text.data(), text.size(), MSG_NOSIGNAL);
        }
    });
    Connect("unix:" + path);
    EXPECT_TRUE(Expect("status 4 "));
    EXPECT_THAT(journal.Take().back(), AllOf(HasSubstr(path), ::testing::EndsWith(".")));
    remote.reset();
    shutdown(listener, SHUT_RDWR);
    garbage.join();
    close(listener);
}

TEST_F(RemoteFaultsTest, AServiceThatIsSilentIsLostAndComesBack)
{
    StartBehindProxy();
    proxy->SetSilent(true);
    ASSERT_TRUE(Expect("status 4 The machine service at"));
    EXPECT_THAT(journal.Take().back(), HasSubstr("does not answer"));
    proxy->SetSilent(false);
    proxy->CloseAll();
    EXPECT_TRUE(Expect("status 2 "));
}

TEST_F(RemoteFaultsTest, AServiceThatWasStartedAnewDuringARunSaysSoOnce)
{
    std::promise<void> begun;
    duringRun = [&](const CommandRun& i_run) {
        if (runs > 1)
            return;
        begun.set_value();
        while (!i_run.stop.stop_requested())
            std::this_thread::yield();
    };
    StartBehindProxy();
    auto result = GetLoom().RunCommand(MakeParameters("x"));
    begun.get_future().wait();
    Restart();
    const auto failure = GetFailure([&] { result.get(); });
    EXPECT_THAT(failure.text, AllOf(HasSubstr("was started anew"), HasSubstr("run the command again")));
    EXPECT_THAT(GetResults(), IsEmpty());
    ASSERT_TRUE(Expect("status 2 "));
    EXPECT_TRUE(GetLoom().RunCommand(MakeParameters("x")).get().completed);
    EXPECT_EQ(ReadResult(), "x!");
}

TEST_F(RemoteFaultsTest, ACancelReachesTheMachineAndComesBackAtOnceWhateverTheConnectionDoes)
{
    Journal<std::string> told;
    duringRun = [&](const CommandRun& i_run) {
        told.Add("begun");
        while (!i_run.stop.stop_requested())
            std::this_thread::yield();
        told.Add("stopped");
    };
    StartBehindProxy();
    for (const bool isSilent : {false, true}) {
        std::stop_source stop;
        auto parameters = MakeParameters("x");
        parameters.stopToken = stop.get_token();
        auto result = GetLoom().RunCommand(parameters);
        ASSERT_TRUE(told.WaitFor([](const auto& i_all) { return !i_all.empty(); }, Long));
        proxy->SetSilent(isSilent);
        const auto begin = std::chrono::steady_clock::now();
        stop.request_stop();
        EXPECT_EQ(GetFailure([&] { result.get(); }).code, ErrorCode::ProcessingAborted);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
        if (!isSilent) {
            EXPECT_TRUE(told.WaitFor([](const auto& i_all) { return i_all.size() == 2; }, Long));
        }
        told.Take();
    }
    // A run that no cancel reached goes on until its service goes.
    remote.reset();
    server.reset();
    catalog.reset();
}

/// A service that says of itself what a test wants.
class OtherService final : public pb::MachineService::Service
{
public:
    grpc::Status GetServiceInformation(grpc::ServerContext*, const pb::ServiceInformationRequest* ip_request,
                                       pb::ServiceInformation* op_information) override
    {
        languages = {ip_request->languages().begin(), ip_request->languages().end()};
        *op_information = information;
        return status;
    }
    grpc::Status WatchCatalog(grpc::ServerContext* iop_context, const pb::WatchCatalogRequest*,
                              grpc::ServerWriter<pb::CatalogEvent>* iop_writer) override
    {
        if (events.empty())
            return {grpc::StatusCode::UNIMPLEMENTED, ""};
        for (const auto& event : events)
            iop_writer->Write(event);
        // A call of this kind is not told that it was cancelled.
        while (!iop_context->IsCancelled())
            std::this_thread::sleep_for(1ms);
        return grpc::Status::OK;
    }
    pb::ServiceInformation information;
    grpc::Status status;
    std::vector<pb::CatalogEvent> events; ///< none: the call is not known
    std::vector<std::string> languages;   ///< that the host asked for last
};

TEST_F(RemoteFaultsTest, AServiceThatDoesNotFitSaysWhichSideIsToBeRenewed)
{
    const std::string address = "unix:" + (folder.GetAbsoluteDir() / "other").string();
    const auto expect = [&](const OtherService& i_service, const std::string& i_status) {
        OtherService service;
        service.information = i_service.information;
        service.status = i_service.status;
        grpc::ServerBuilder builder;
        builder.AddListeningPort(address, grpc::InsecureServerCredentials());
        builder.RegisterService(&service);
        const auto other = builder.BuildAndStart();
        Connect(address);
        EXPECT_TRUE(Expect(i_status)) << ::testing::PrintToString(journal.Take());
        remote.reset();
        other->Shutdown();
        journal.Take();
    };
    OtherService service;
    expect(service, "status 4 The machine service at '" + address + "' is too old");
    service.information.set_protocol_revision(9);
    service.information.set_oldest_host_revision(9);
    expect(service, "status 4 This program is too old");
    service.information.set_oldest_host_revision(1);
    service.information.set_requires_authentication(true);
    expect(service, "status 3 The machine service at '" + address + "' asks for credentials");
    service.status = {grpc::StatusCode::UNIMPLEMENTED, ""};
    expect(service, "status 4 What answers at '" + address + "' is no machine service");
    service.status = {grpc::StatusCode::RESOURCE_EXHAUSTED, ""};
    expect(service, "status 4 The machine service at '" + address + "' has too much to do");
}

TEST_F(RemoteFaultsTest, AServiceHearsWhichLanguageTheProgramSpeaks)
{
    const std::string address = "unix:" + (folder.GetAbsoluteDir() / "other").string();
    OtherService service;
    service.information.set_protocol_revision(1);
    grpc::ServerBuilder builder;
    builder.AddListeningPort(address, grpc::InsecureServerCredentials());
    builder.RegisterService(&service);
    const auto other = builder.BuildAndStart();
    const QLocale before;
    for (const auto& [locale, expected] :
         {std::pair(QLocale(QLocale::German, QLocale::Germany), std::string("de")), {QLocale::c(), {}}}) {
        QLocale::setDefault(locale);
        Connect(address);
        EXPECT_TRUE(Expect("status 4 What answers")) << ::testing::PrintToString(journal.Take());
        remote.reset();
        journal.Take();
        EXPECT_EQ(service.languages.empty(), expected.empty());
        for (const auto& language : service.languages)
            EXPECT_TRUE(language.starts_with(expected)) << language;
    }
    QLocale::setDefault(before);
    other->Shutdown();
}

TEST_F(RemoteFaultsTest, AMachineThatCannotBeReadDoesNotTakeTheOthersOfItsPageWithIt)
{
    const std::string address = "unix:" + (folder.GetAbsoluteDir() / "other").string();
    OtherService service;
    service.information.set_protocol_revision(1);
    const auto add = [](pb::CatalogEvent& io_page, std::uint8_t i_number, const std::string& i_name) {
        auto& added = *io_page.mutable_snapshot()->add_machines();
        added.set_id(i_number == 0 ? std::string(16, '\0') : Wire::ToBytes(MakeId(i_number)));
        added.set_name(i_name);
    };
    pb::CatalogEvent page;
    page.set_epoch("epoch-of-16bytes");
    page.set_revision(1);
    add(page, 1, "first");
    add(page, 2, "not UTF-8: \xff");
    service.events.push_back(page);
    page.clear_snapshot();
    add(page, 0, "without an id");
    add(page, 3, "last");
    page.mutable_snapshot()->set_is_last(true);
    service.events.push_back(page);
    page.clear_snapshot();
    page.set_revision(2);
    page.set_removed(Wire::ToBytes(MakeId(1)));
    service.events.push_back(page);

    grpc::ServerBuilder builder;
    builder.AddListeningPort(address, grpc::InsecureServerCredentials());
    builder.RegisterService(&service);
    const auto other = builder.BuildAndStart();
    Connect(address);
    EXPECT_TRUE(Expect("removed 1"));
    EXPECT_THAT(journal.Take(), ::testing::IsSupersetOf({"added 1", "added 3", "status 2 "}));
    EXPECT_THAT(remote->GetMachineIds(), ElementsAre(MakeId(3)));
    EXPECT_EQ(remote->GetMachine(MakeId(3)).GetMachineData().name, "last");
    remote.reset();
    other->Shutdown();
}

} // namespace

} // namespace MachineService::Testing
