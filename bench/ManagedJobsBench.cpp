#include "Comparison.h"
#include "ProcessStatus.h"

#include "client/interface/ScopedTempDir.h"
#include "contract/OfferedMachinesCatalog.h"
#include "machinemanager/JobDesk.h"
#include "machinemanager/Manager.h"
#include "machinemanager/page/ManagerPage.h"
#include "machinemanager/store/FileStore.h"
#include "machinemanager/store/JobStore.h"

#include <QCoreApplication>

#include <boost/uuid/random_generator.hpp>
#include <httplib.h>
#include <openssl/evp.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>

#include <unistd.h>

// The manager as a whole: files of jobs, news to the page, and what it needs when there is nothing to do.

namespace Bench {

int RunAll(int i_argc, char** ip_argv);

namespace {

using namespace MachineService;
using namespace MachineService::MachineManager;
using Clock = std::chrono::steady_clock;

constexpr std::uint64_t FileBytes = 1ULL << 30;
constexpr std::size_t PieceBytes = 1 << 20;
constexpr std::size_t Machines = 1000;
constexpr int Jobs = 10'000;
const Actor Olga = {"olga", Role::Operate};

/// As one reads it from a connection, piece by piece.
const std::string& GetPiece()
{
    static const std::string mgp_piece(PieceBytes, 'x');
    return mgp_piece;
}

class Hash
{
public:
    Hash() { EVP_DigestInit_ex(_context.get(), EVP_sha256(), nullptr); }
    void Add(const std::string& i_bytes) { EVP_DigestUpdate(_context.get(), i_bytes.data(), i_bytes.size()); }
    std::string Finish()
    {
        std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
        unsigned int size = 0;
        EVP_DigestFinal_ex(_context.get(), bytes.data(), &size);
        std::string text;
        for (unsigned int index = 0; index < size; ++index) {
            constexpr char digits[] = "0123456789abcdef";
            text += {digits[bytes[index] >> 4], digits[bytes[index] & 15]};
        }
        return text;
    }

private:
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> _context{EVP_MD_CTX_new(), &EVP_MD_CTX_free};
};

Body MakeUpload()
{
    const auto folder = std::make_shared<ScopedTempDir>();
    const auto store = std::make_shared<FileStore>(folder->GetAbsoluteDir() / "files");
    Hash hash;
    for (std::uint64_t bytes = 0; bytes < FileBytes; bytes += PieceBytes)
        hash.Add(GetPiece());
    const KeptFile announced = {"plate.TavAMX", hash.Finish(), FileBytes};
    return [folder, store, announced] {
        const auto id = boost::uuids::random_generator()();
        for (std::uint64_t bytes = 0; bytes < FileBytes; bytes += PieceBytes)
            store->Receive(id, bytes, GetPiece(), FileBytes);
        const auto kept = store->Finish(id, announced);
        std::filesystem::remove(store->GetPath(kept.hash));
    };
}

Body MakeBareCopy()
{
    const auto folder = std::make_shared<ScopedTempDir>();
    return [folder] {
        const auto path = folder->GetAbsoluteDir() / "copy";
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        Hash hash;
        for (std::uint64_t bytes = 0; bytes < FileBytes; bytes += PieceBytes) {
            hash.Add(GetPiece());
            if (write(file, GetPiece().data(), PieceBytes) != static_cast<ssize_t>(PieceBytes))
                std::abort();
        }
        benchmark::DoNotOptimize(hash.Finish());
        if (fsync(file) != 0)
            std::abort();
        close(file);
        std::filesystem::remove(path);
    };
}

NewJob MakeJob()
{
    NewJob job;
    job.id = boost::uuids::random_generator()();
    job.name = "A job of usual length";
    job.owner = "olga";
    job.target.model = "a model that nobody has";
    job.platform = {"plate.TavAMX", std::string(64, 'a'), 1'000'000};
    return job;
}

/// A manager over machines that build nothing, with its page.
class Subject
{
public:
    explicit Subject(std::size_t i_machines)
        : catalog(OfferedMachinesCatalog::Service{ServiceId::BuildProcessors, "Bench", "1"}, [i_machines] {
            std::vector<OfferedMachine> machines(i_machines);
            for (std::size_t number = 0; number < i_machines; ++number) {
                auto& data = machines[number].data;
                data.id.data[0] = 0x5e;
                data.id.data[14] = static_cast<std::uint8_t>(number / 256);
                data.id.data[15] = static_cast<std::uint8_t>(number % 256);
                data.name = "Machine " + std::to_string(number);
                data.serviceId = ServiceId::BuildProcessors;
            }
            return machines;
        })
    {
        ManagerOptions options;
        options.store = "sqlite:" + (folder.GetAbsoluteDir() / "jobs.sqlite").native();
        options.files = folder.GetAbsoluteDir() / "files";
        options.owner = Olga.name;
        manager = std::make_unique<Manager>(options, catalog);
        catalog.Start(ServiceId::BuildProcessors);
        const auto end = Clock::now() + std::chrono::minutes(2);
        while (manager->GetDesk().GetMachines(Olga).size() < i_machines && Clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        manager->Start();
        ManagerPageOptions pageOptions;
        pageOptions.socket = folder.GetAbsoluteDir() / "socket" / "manager";
        page = std::make_unique<ManagerPage>(manager->GetDesk(), pageOptions);
        page->Start();
    }
    ~Subject()
    {
        page.reset();
        catalog.Stop();
        manager->Stop();
    }
    httplib::Client Connect() const
    {
        httplib::Client client((folder.GetAbsoluteDir() / "socket" / "manager").string());
        client.set_address_family(AF_UNIX);
        return client;
    }

    const ScopedTempDir folder;
    OfferedMachinesCatalog catalog;
    std::unique_ptr<Manager> manager;
    std::unique_ptr<ManagerPage> page;
};

/// From a job's change to what a page is told of it; the median of many.
double MeasureEvent()
{
    Subject subject(1);
    auto& desk = subject.manager->GetDesk();
    const auto job = subject.manager->GetStore().Add(MakeJob(), true);
    std::mutex mutex; // guards what follows
    std::condition_variable arrived;
    int events = 0;
    bool isOver = false;
    std::thread reader([&] {
        subject.Connect().Get("/api/v1/events", [&](const char* ip_bytes, std::size_t i_size) {
            const std::lock_guard lock(mutex);
            if (std::string_view(ip_bytes, i_size).find("data:") != std::string_view::npos)
                ++events;
            arrived.notify_all();
            return !isOver;
        });
    });
    std::vector<double> seconds;
    for (int number = 0; number < 101; ++number) {
        // What came of the change before has gone by.
        std::this_thread::sleep_for(std::chrono::milliseconds(number == 0 ? 500 : 30));
        std::unique_lock lock(mutex);
        const int before = events;
        lock.unlock();
        const auto begin = Clock::now();
        desk.Act(Olga, job.id, number % 2 == 0 ? JobAction::Hold : JobAction::Release);
        lock.lock();
        if (!arrived.wait_for(lock, std::chrono::seconds(5), [&] { return events > before; }))
            throw std::runtime_error("the page was not told");
        seconds.push_back(std::chrono::duration<double>(Clock::now() - begin).count());
    }
    {
        const std::lock_guard lock(mutex);
        isOver = true;
    }
    desk.Act(Olga, job.id, JobAction::Release);
    subject.page->Stop();
    reader.join();
    std::nth_element(seconds.begin(), seconds.begin() + 50, seconds.end());
    return seconds[50];
}

std::uint64_t CountWakeUps()
{
    std::uint64_t count = 0;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream status(thread.path() / "status");
        const std::string field = "voluntary_ctxt_switches:";
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with(field))
                count += std::stoull(line.substr(field.size()));
        }
    }
    return count;
}

/// Wake-ups a second and bytes of a manager that has nothing to do.
std::array<double, 2> MeasureIdle()
{
    const auto before = ResetPeakMemory();
    Subject subject(Machines);
    for (int number = 0; number < Jobs; ++number)
        subject.manager->GetStore().Add(MakeJob(), true);
    constexpr int seconds = 20;
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    const auto begin = CountWakeUps();
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    // One is the sleep's own.
    const auto wakeUps = static_cast<double>(CountWakeUps() - begin - 1) / seconds;
    return {wakeUps, static_cast<double>(ResetPeakMemory()) - static_cast<double>(before)};
}

const std::array<double, 2>& GetIdle()
{
    static const auto mgp_idle = MeasureIdle();
    return mgp_idle;
}

} // namespace

void AddManagedJobsBenchmarks()
{
    // At least 0.7 of copying with hash.
    ComparePrepared("1 GiB of a job's platform", 1 / 0.7, &MakeUpload, &MakeBareCopy);
    Limit("a change, until the page is told", 0.05, "s", &MeasureEvent);
    Limit("wake-ups a second, idle", 2, "wake-ups", [] { return GetIdle()[0]; });
    Limit("memory, 10,000 jobs, 1,000 machines", 5e8, "bytes", [] { return GetIdle()[1]; });
}

} // namespace Bench

int main(int i_argc, char** ip_argv)
{
    QCoreApplication application(i_argc, ip_argv);
    Bench::AddManagedJobsBenchmarks();
    return Bench::RunAll(i_argc, ip_argv);
}
