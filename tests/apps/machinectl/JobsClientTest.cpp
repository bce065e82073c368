#include "hosting/jobs/JobsClient.h"
#include "apps/machinectl/ServedManager.h"
#include "hosting/InterruptWatcher.h"
#include "support/Files.h"
#include "support/SocketProxy.h"

#include <QProcess>

#include <boost/uuid/uuid_io.hpp>

namespace {

using namespace Hosting;
using namespace std::chrono_literals;
using TestSupport::ReadFile;

class JobsClientTest : public ::testing::Test
{
protected:
    Jobs::NewJob MakeJob() const
    {
        Jobs::NewJob job;
        job.id = MakeJobId();
        job.name = "Plate";
        job.target.machine = to_string(TestSupport::MakeId(1));
        return job;
    }
    Jobs::Job WaitForEnd(Jobs::Job i_job) const
    {
        while (!i_job.IsFinal()) {
            auto next = client.WaitForChange(i_job, 20s);
            if (next.version == i_job.version && next.percent == i_job.percent)
                return next;
            i_job = std::move(next);
        }
        return i_job;
    }
    /// A client whose connections break, or fall silent, as the test says.
    std::string GetProxyAddress() const { return "unix:" + GetProxyPath(); }
    std::string GetProxyPath() const { return (manager.GetFolder() / "proxy").native(); }

    TestSupport::ServedManager manager;
    const JobsClient client{manager.GetAddress()};
};

TEST_F(JobsClientTest, TakesAPlatformToItsMachineFile)
{
    auto wanted = MakeJob();
    wanted.copies = 1;
    wanted.settings = {{"colour", "blue"}};
    const auto taken = client.Submit(wanted, manager.world.WritePlatform());
    EXPECT_EQ(taken.id, wanted.id);
    EXPECT_EQ(taken.target.machine, wanted.target.machine);
    EXPECT_EQ(taken.needs.material, "PLA");
    EXPECT_THAT(taken.settings, Contains(std::pair<std::string, std::string>("colour", "blue")));
    const auto job = WaitForEnd(taken);
    ASSERT_EQ(job.state, "completed") << job.detail;
    EXPECT_EQ(job.machine, manager.world.Desk()
                               .GetMachine(MachineService::MachineManager::Testing::Operator, TestSupport::MakeId(1))
                               .entry.name);
    EXPECT_THAT(job.actions, ElementsAre("copy"));
    EXPECT_GT(job.changed, job.created);

    const auto target = manager.GetFolder() / "plate.gcode";
    client.Download(std::to_string(job.number), Jobs::FileKind::MachineFile, target);
    EXPECT_EQ(ReadFile(target), "G28\n");
    client.Download(job.id, Jobs::FileKind::Platform, target);
    EXPECT_EQ(ReadFile(target), ReadFile(manager.GetFolder() / "Plate.TavAMX"));
    const auto history = client.GetHistory(job.id);
    EXPECT_EQ(history.front().event, "submit");
    EXPECT_EQ(history.back().phase, "completed");
}

TEST_F(JobsClientTest, DoesWithJobsAndMachinesWhatIsAsked)
{
    manager.Pause();
    auto wanted = MakeJob();
    wanted.isDraft = true;
    auto job = client.Submit(wanted, manager.world.WritePlatform());
    EXPECT_EQ(job.state, "pending-held");
    job = client.Act(job.id, Jobs::Action::Release);
    EXPECT_EQ(job.state, "pending");
    EXPECT_EQ(client.Act(job.id, Jobs::Action::Hold).state, "pending-held");
    EXPECT_EQ(client.SetPriority(job.id, 77).priority, 77);
    const auto other = to_string(TestSupport::MakeId(2));
    EXPECT_EQ(client.Move(job.id, {other, {}, {}}).target.machine, other);
    const auto copy = MakeJobId();
    EXPECT_EQ(client.Copy(job.id, copy).id, copy);
    EXPECT_EQ(client.Copy(job.id, copy).id, copy);
    EXPECT_THAT(client.GetCandidates(copy), SizeIs(1));
    EXPECT_EQ(client.Act(copy, Jobs::Action::Cancel).state, "canceled");
    EXPECT_THAT(client.MakePageAddress(job.id), HasSubstr(job.id));

    Jobs::Filter filter;
    filter.count = 1;
    auto page = client.List(filter);
    ASSERT_TRUE(page.next);
    EXPECT_EQ(page.jobs.front().id, copy);
    filter.after = *page.next;
    EXPECT_EQ(client.List(filter).jobs.front().id, job.id);
    filter = {.states = {"canceled", "aborted"}, .text = "plate"};
    EXPECT_THAT(client.List(filter).jobs, SizeIs(1));
    filter = {.machine = other, .isOldestFirst = true};
    EXPECT_EQ(client.List(filter).jobs.front().id, job.id);

    const auto name = client.GetMachines().front().name;
    EXPECT_FALSE(client.Resume(name).isPaused);
    EXPECT_EQ(client.Pause(name, "dust & \"noise\"").pauseReason, "dust & \"noise\"");
    const auto loaded = client.SetLoaded(name, {"PETG", 0.4, "Smooth"}).loaded;
    EXPECT_EQ(loaded.material, "PETG");
    EXPECT_EQ(loaded.nozzle, 0.4);
    EXPECT_EQ(client.SetLoaded(name, {}).loaded.nozzle, std::nullopt);
    EXPECT_EQ(client.GetMachine(name).loaded.plate, "");
    const auto information = client.GetInformation();
    EXPECT_EQ(information.role, "operate");
    EXPECT_EQ(information.jobs.at("canceled"), 1);
    EXPECT_EQ(information.pageAddress, manager.page->GetAddress());
}

TEST_F(JobsClientTest, AnUploadGoesOnWhereItBroke)
{
    manager.Pause();
    const auto platform = manager.WriteLargePlatform();
    const auto size = std::filesystem::file_size(platform);
    ASSERT_GT(size, 1'500'000u);
    TestSupport::SocketProxy proxy(GetProxyPath(), manager.GetSocket().native());
    const JobsClient shaky(GetProxyAddress());
    std::vector<std::uint64_t> places;
    const auto job = shaky.Submit(MakeJob(), platform, [&](std::uint64_t i_done, std::uint64_t i_all) {
        EXPECT_EQ(i_all, size);
        places.push_back(i_done);
        if (places.size() <= 2)
            proxy.CloseAfter(500'000);
    });
    EXPECT_EQ(job.state, "pending");
    EXPECT_EQ(places.front(), 0u);
    EXPECT_EQ(places.back(), size);
    EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
    const auto goesOn = [&](std::uint64_t i_place) {
        return i_place > 0 && i_place < size;
    };
    EXPECT_TRUE(std::any_of(places.begin(), places.end(), goesOn)) << "it began anew each time";
}

TEST_F(JobsClientTest, TheSameIdIsTheSameJobAlsoForAnotherProgram)
{
    manager.Pause();
    const auto platform = manager.world.WritePlatform();
    const auto wanted = MakeJob();
    std::stop_source stop;
    const JobsClient first(manager.GetAddress(), {}, stop.get_token());
    EXPECT_THROW(first.Submit(wanted, platform, [&](std::uint64_t, std::uint64_t) { stop.request_stop(); }),
                 Interruption);
    const auto begun = client.GetJob(wanted.id);
    EXPECT_EQ(begun.phase, "incoming");
    const auto job = client.Submit(wanted, platform);
    EXPECT_EQ(job.number, begun.number);
    EXPECT_EQ(job.phase, "waiting");
    EXPECT_EQ(client.Submit(wanted, platform).number, begun.number);
    try {
        client.Submit(wanted, manager.world.WritePlatform(L"PETG"));
        ADD_FAILURE() << "another file is another job";
    } catch (const JobsError& failure) {
        EXPECT_EQ(failure.GetKind(), JobsError::Kind::Conflict);
    }
}

TEST_F(JobsClientTest, ADownloadGoesOnWhereItBrokeAndIsWholeOrNotThere)
{
    manager.Pause();
    const auto platform = manager.WriteLargePlatform();
    const auto job = client.Submit(MakeJob(), platform);
    TestSupport::SocketProxy proxy(GetProxyPath(), manager.GetSocket().native());
    const JobsClient shaky(GetProxyAddress());
    const auto target = manager.GetFolder() / "target" / "file";
    TestSupport::WriteFile(target, "before");
    int breaks = 0;
    shaky.Download(job.id, Jobs::FileKind::Platform, target, [&](std::uint64_t i_done, std::uint64_t i_all) {
        EXPECT_LE(i_done, i_all);
        if (i_done > i_all / 3 * static_cast<std::uint64_t>(breaks + 1) && breaks < 2) {
            ++breaks;
            proxy.CloseAfter(1'000);
        }
    });
    EXPECT_EQ(breaks, 2);
    EXPECT_EQ(ReadFile(target), ReadFile(platform));

    TestSupport::WriteFile(target, "before");
    proxy.FlipOnceIn(ReadFile(platform).substr(1'000'000, 8));
    EXPECT_THROW(shaky.Download(job.id, Jobs::FileKind::Platform, target), JobsError);
    EXPECT_TRUE(proxy.HasFlipped());
    EXPECT_EQ(ReadFile(target), "before");
    EXPECT_THROW(client.Download(job.id, Jobs::FileKind::Platform, manager.GetFolder() / "absent" / "file"),
                 HostingError);
    EXPECT_THAT(TestSupport::GetFileNames(target.parent_path()), ElementsAre("file"));
}

TEST_F(JobsClientTest, HearsOfChangesAlsoAfterABreak)
{
    manager.Pause();
    const auto job = client.Submit(MakeJob(), manager.world.WritePlatform());
    TestSupport::SocketProxy proxy(GetProxyPath(), manager.GetSocket().native());
    const JobsClient listener(GetProxyAddress());
    std::vector<std::string> heard;
    int starts = 0;
    const bool isHeard = listener.Listen(
        [&](const Jobs::Change& i_change) {
            if (i_change.kind == Jobs::Change::Kind::All && ++starts == 1)
                client.SetPriority(job.id, 60);
            if (i_change.kind == Jobs::Change::Kind::All && starts == 2)
                client.SetPriority(job.id, 70);
            if (i_change.kind != Jobs::Change::Kind::Job)
                return true;
            heard.push_back(i_change.job);
            if (heard.size() == 1)
                proxy.CloseAll();
            return heard.size() < 2;
        },
        20s);
    EXPECT_TRUE(isHeard);
    EXPECT_EQ(starts, 2);
    EXPECT_THAT(heard, ElementsAre(job.id, job.id));
    EXPECT_EQ(client.GetJob(job.id).priority, 70);

    EXPECT_FALSE(client.Listen([](const Jobs::Change&) { return true; }, 50ms));
    EXPECT_THROW(client.Listen([](const Jobs::Change&) -> bool { throw std::runtime_error("mine"); }, 20s),
                 std::runtime_error);
    EXPECT_EQ(client.WaitForChange(client.GetJob(job.id), 50ms).version, client.GetJob(job.id).version);
}

TEST_F(JobsClientTest, ComesInByTlsWithATokenAndByNothingElse)
{
    using MachineService::MachineManager::Actor;
    using MachineService::MachineManager::Role;
    QProcess openssl;
    openssl.setWorkingDirectory(QString::fromStdString(manager.GetFolder().native()));
    openssl.start(QStringLiteral("openssl"),
                  QStringLiteral("req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=localhost -addext "
                                 "subjectAltName=IP:127.0.0.1 -keyout key.pem -out certificate.pem")
                      .split(QLatin1Char(' ')));
    ASSERT_TRUE(openssl.waitForFinished(60'000));
    MachineService::MachineManager::ManagerPageOptions options;
    options.certificate = manager.GetFolder() / "certificate.pem";
    options.key = manager.GetFolder() / "key.pem";
    options.admit = [](const std::string& i_token) -> std::optional<Actor> {
        if (i_token == "see")
            return Actor{"sam", Role::See};
        return std::nullopt;
    };
    MachineService::MachineManager::ManagerPage page(manager.world.Desk(), options);
    page.Start();
    const auto fail = [&](const std::string& i_token) {
        try {
            JobsClient(page.GetAddress(), i_token).Pause("Machine 1", "test");
        } catch (const JobsError& failure) {
            return std::pair(failure.GetKind(), std::string(failure.what()));
        }
        return std::pair(JobsError::Kind::Server, std::string("it was done"));
    };
    qunsetenv("SSL_CERT_FILE");
    EXPECT_EQ(fail("see").first, JobsError::Kind::NotReached);
    EXPECT_THAT(fail("see").second, HasSubstr("SSL_CERT_FILE"));
    qputenv("SSL_CERT_FILE", QByteArray::fromStdString(options.certificate.native()));
    for (const char* const token : {"", "other", "see"})
        EXPECT_EQ(fail(token).first, JobsError::Kind::Forbidden) << token << ": " << fail(token).second;
    EXPECT_EQ(JobsClient(page.GetAddress(), "see").GetInformation().user, "sam");
    qunsetenv("SSL_CERT_FILE");
}

TEST_F(JobsClientTest, AManagerThatSaysNothingInTheTimeIsNoFailure)
{
    TestSupport::SocketProxy proxy(GetProxyPath(), manager.GetSocket().native());
    proxy.SetSilent(true);
    const JobsClient silent(GetProxyAddress());
    Jobs::Job job;
    job.id = MakeJobId();
    EXPECT_EQ(silent.WaitForChange(job, std::chrono::milliseconds(300)).id, job.id);
}

TEST_F(JobsClientTest, EndsSoonAfterItIsAskedToThoughNobodyAnswers)
{
    TestSupport::SocketProxy proxy(GetProxyPath(), manager.GetSocket().native());
    proxy.SetSilent(true);
    const std::function<void(const JobsClient&)> calls[] = {
        [](const JobsClient& i_client) { i_client.GetMachines(); },
        [](const JobsClient& i_client) { i_client.Listen([](const auto&) { return true; }, 1h); },
        [&](const JobsClient& i_client) { i_client.Submit(MakeJob(), manager.world.WritePlatform()); },
    };
    for (const auto& call : calls) {
        for (int round = 0; round < 20; ++round) {
            std::stop_source stop;
            const JobsClient silent(GetProxyAddress(), {}, stop.get_token());
            const auto begin = std::chrono::steady_clock::now();
            // At any moment of the call's life: the rounds meet different ones.
            std::thread stopper([&] {
                std::mutex mutex;
                std::unique_lock lock(mutex);
                std::condition_variable().wait_for(lock, std::chrono::microseconds(100 * round));
                stop.request_stop();
            });
            EXPECT_THROW(call(silent), Interruption);
            stopper.join();
            EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
        }
    }
}

} // namespace
