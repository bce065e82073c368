#pragma once

#include "client/interface/CommunicationException.h"
#include "client/interface/ScopedTempDir.h"
#include "machinemanager/Manager.h"
#include "machinemanager/store/JobStore.h"
#include "support/FakeMachineService.h"
#include "support/Test.h"
#include "tavam/AMXFileWriter.h"
#include "tavam/Platform.h"
#include "tavam/PropertyNames.h"

#include <boost/uuid/random_generator.hpp>

/// A manager over machines and printers of a test's own.
namespace MachineService::MachineManager::Testing {

inline const Actor Operator = {"olga", Role::Operate};

/// The printers' side as a test wants it. Shared by all links, so that it outlives a manager that ended.
struct FakePrinter
{
    std::mutex mutex;                 ///< guards everything below
    std::map<std::string, int> sends; ///< by the order's key
    std::map<std::string, int> starts;
    std::map<std::string, int> cancels;
    std::map<std::string, std::string> files; ///< what arrived
    PrintStatus status = {PrintStatus::State::Printed, 100, {}};
    bool confirms = true;
    std::function<void()> onSend; ///< may throw
    std::function<void()> onStart;

    void Set(PrintStatus i_status)
    {
        const std::lock_guard lock(mutex);
        status = std::move(i_status);
    }
    int GetStarts()
    {
        const std::lock_guard lock(mutex);
        int sum = 0;
        for (const auto& [key, count] : starts)
            sum += count;
        return sum;
    }
};

class FakeLink final : public IPrinterLink
{
public:
    explicit FakeLink(std::shared_ptr<FakePrinter> ip_printer)
        : _printer(std::move(ip_printer))
    {}
    void Send(const PrintOrder& i_order, const std::function<void(std::uint64_t)>& i_progress,
              const std::stop_token&) override
    {
        std::function<void()> hook;
        {
            const std::lock_guard lock(_printer->mutex);
            ++_printer->sends[i_order.GetKey()];
            std::ifstream file(i_order.file, std::ios::binary);
            _printer->files[i_order.GetKey()] = std::string(std::istreambuf_iterator<char>(file), {});
            hook = _printer->onSend;
        }
        if (hook)
            hook();
        i_progress(1);
    }
    bool Start(const PrintOrder& i_order, const std::stop_token&) override
    {
        std::function<void()> hook;
        bool confirms = false;
        {
            const std::lock_guard lock(_printer->mutex);
            ++_printer->starts[i_order.GetKey()];
            hook = _printer->onStart;
            confirms = _printer->confirms;
        }
        if (hook)
            hook();
        return confirms;
    }
    PrintStatus GetStatus(const PrintOrder&, const std::stop_token&) override
    {
        const std::lock_guard lock(_printer->mutex);
        return _printer->status;
    }
    void Cancel(const PrintOrder& i_order, const std::stop_token&) override
    {
        const std::lock_guard lock(_printer->mutex);
        ++_printer->cancels[i_order.GetKey()];
    }

private:
    const std::shared_ptr<FakePrinter> _printer;
};

/// Manager, machines and printers in a folder of the test's. Machine N is named "Machine N" and is of the model
/// "Kestrel".
class ManagedWorld
{
public:
    ManagedWorld() { behaviour->commands = {MakeBuild()}; }

    static CommandDescription MakeBuild()
    {
        CommandDescription build;
        build.type = CommandType::Build;
        build.id = TestSupport::MakeId(200);
        build.name = "Build";
        return build;
    }

    /// A platform of one part, prepared for a material.
    std::filesystem::path WritePlatform(const std::wstring& i_material = L"PLA") const
    {
        TavAM::Platform platform;
        TavAM::MachineParameters machine;
        machine.name = L"Machine 1";
        machine.modelId = L"Kestrel";
        platform.SetMachine(machine);
        platform.GetAMXProperties().SetText(TavAM::PropertyNames::Print3D::Material, i_material);
        const auto file = folder.GetAbsoluteDir() / "Plate.TavAMX";
        TavAM::AMXFileWriter().WriteFile(file, platform);
        return file;
    }
    /// What a good machine does: the platform, and a machine file beside it.
    static void LeaveResult(const CommandParameters& i_parameters, const std::string& i_bytes = "G28\n")
    {
        std::filesystem::copy_file(i_parameters.inputFile, i_parameters.outputDir / "platform.TavAMX");
        std::ofstream(i_parameters.outputDir / "plate.gcode") << i_bytes;
    }

    void AddMachine(std::uint8_t i_number, const std::string& i_model = "Kestrel")
    {
        auto data = TestSupport::MakeMachineData(i_number);
        data.modelId = i_model;
        catalog.Set(TestSupport::MakeFakeMachine(data, behaviour));
    }
    /// As after any end of the former one, which is left as it is.
    void Open()
    {
        ManagerOptions options;
        options.store = "sqlite:" + (folder.GetAbsoluteDir() / "jobs.sqlite").native();
        options.files = folder.GetAbsoluteDir() / "files";
        options.owner = "olga";
        options.dispatch.poll = std::chrono::milliseconds(20);
        options.dispatch.beat = std::chrono::milliseconds(50);
        options.dispatch.retry = std::chrono::milliseconds(20);
        options.dispatch.reach = std::chrono::milliseconds(100);
        options.dispatch.makeLink = [link = printer](const std::string&) {
            return std::make_unique<FakeLink>(link);
        };
        options.now = [shift = clocks] {
            return std::chrono::time_point_cast<Time::duration>(std::chrono::system_clock::now()) +
                   std::chrono::seconds(shift->set);
        };
        options.dispatch.clock = [shift = clocks] {
            return std::chrono::steady_clock::now() + std::chrono::seconds(shift->passed);
        };
        options.log = [this](const std::string& i_line) {
            const std::lock_guard lock(logMutex);
            log.push_back(i_line);
            logged.notify_all();
        };
        manager = std::make_unique<Manager>(options, catalog);
    }
    void Start()
    {
        Open();
        manager->Start();
    }
    JobDesk& Desk() const { return manager->GetDesk(); }
    void GivePrinter(std::uint8_t i_number)
    {
        manager->GetStore().EditMachine(TestSupport::MakeId(i_number), "olga", "printer",
                                        [](MachineEntry& io_entry) { io_entry.printer = "{}"; });
    }

    NewJob MakeJob(std::uint8_t i_machine = 1) const
    {
        NewJob job;
        job.id = boost::uuids::random_generator()();
        job.name = "Plate";
        job.target.machine = TestSupport::MakeId(i_machine);
        return job;
    }
    Job Submit(const NewJob& i_job, const std::wstring& i_material = L"PLA") const
    {
        return Desk().Submit(Operator, i_job, WritePlatform(i_material));
    }
    /// \return the job as soon as the condition holds, or as it is when the patience is over.
    Job WaitFor(const boost::uuids::uuid& i_job, const std::function<bool(const Job&)>& i_condition,
                std::chrono::milliseconds i_patience = std::chrono::seconds(20)) const
    {
        std::mutex mutex;
        std::condition_variable changed;
        bool isChanged = true;
        const auto subscription = Desk().Subscribe([&](const boost::uuids::uuid&) {
            const std::lock_guard lock(mutex);
            isChanged = true;
            changed.notify_all();
        });
        const auto end = std::chrono::steady_clock::now() + i_patience;
        for (;;) {
            const auto job = Desk().Get(Operator, i_job);
            if (i_condition(job) || std::chrono::steady_clock::now() > end)
                return job;
            std::unique_lock lock(mutex);
            changed.wait_until(lock, end, [&] { return isChanged; });
            isChanged = false;
        }
    }
    Job WaitFor(const boost::uuids::uuid& i_job, JobPhase i_phase) const
    {
        return WaitFor(i_job, [i_phase](const Job& i_now) { return i_now.phase == i_phase; });
    }
    /// Lets the time pass again and again: the queue may not have seen yet that the job is in its phase.
    Job WaitWhilePassing(const boost::uuids::uuid& i_job, std::chrono::seconds i_time, JobPhase i_phase) const
    {
        for (int tries = 0;; ++tries) {
            clocks->passed += static_cast<int>(i_time.count());
            auto draft = MakeJob(); // so that the queue looks
            draft.isDraft = true;
            Submit(draft);
            const auto job = WaitFor(
                i_job, [&](const Job& i_now) { return i_now.phase == i_phase; }, std::chrono::milliseconds(200));
            if (job.phase == i_phase || tries == 50)
                return job;
        }
    }
    /// \return whether a line of the log tells it, sooner or later.
    bool IsLogged(const std::string& i_words)
    {
        std::unique_lock lock(logMutex);
        return logged.wait_for(lock, std::chrono::seconds(20), [&] {
            return std::ranges::any_of(log, [&](const auto& i_line) { return i_line.find(i_words) != i_line.npos; });
        });
    }
    std::vector<std::string> GetEvents(const boost::uuids::uuid& i_job) const
    {
        std::vector<std::string> events;
        for (const auto& entry : Desk().GetHistory(Operator, i_job))
            events.push_back(entry.event);
        return events;
    }

    ScopedTempDir folder;
    std::shared_ptr<TestSupport::FakeBehaviour> behaviour = std::make_shared<TestSupport::FakeBehaviour>(
        TestSupport::FakeBehaviour{{},
                                   {},
                                   [](const boost::uuids::uuid&) { return TestSupport::MakeReady(true); },
                                   [](const CommandParameters& i_parameters) {
                                       LeaveResult(i_parameters);
                                       return TestSupport::MakeReady(CommandResult());
                                   },
                                   {},
                                   {},
                                   {}});
    TestSupport::FakeMachinesCatalog catalog;
    std::shared_ptr<FakePrinter> printer = std::make_shared<FakePrinter>();
    /// Seconds by which the system's clock was set, and that passed. Shared, so that they outlive a manager that ended.
    struct Clocks
    {
        std::atomic<int> set = 0;
        std::atomic<int> passed = 0;
    };
    std::shared_ptr<Clocks> clocks = std::make_shared<Clocks>();
    std::mutex logMutex; ///< guards log
    std::condition_variable logged;
    std::vector<std::string> log; ///< of all managers
    std::unique_ptr<Manager> manager;
};

} // namespace MachineService::MachineManager::Testing
