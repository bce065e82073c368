#include "services/machinemanager/page/PageFixture.h"

#include <QCoreApplication>

#include <iostream>

// A manager with a job in each state, for those who look at its page: prints its address and "ready", then does what
// the lines of its standard input say, each with an answer, until that ends.

namespace MachineService::MachineManager::Testing {

namespace {

const Actor Olga{"olga", Role::Operate};

class Sample final : public PageFixture
{
public:
    explicit Sample(const std::string& i_picture)
        : _picture(i_picture)
    {
        store->NoteMachine(MakeId(3), "Lumen 8K", "Lumen 8K");
        store->NoteMachine(MakeId(4), "Kestrel 180, in the back room", "Kestrel 180");
        store->NoteMachine(MakeId(5), "Kestrel 350 Pro, second floor", "Kestrel 350 Pro");
        desk->SetLoaded(Olga, MakeId(1), {"PETG", 0.4, "Smooth steel"});
        desk->SetPaused(Olga, MakeId(4), true, "The nozzle is being changed.");
        AddJobs();
        options.name = "Workshop";
        Start();
    }

    std::string Do(const std::string& i_line)
    {
        if (i_line.starts_with("address "))
            return MakeAddress(i_line.substr(8));
        if (i_line == "submit")
            return to_string(Submit(90, "arrived just now").id);
        if (i_line == "print") {
            store->Change(_printing, {JobEvent::Printed});
            return to_string(_printing.job);
        }
        return "unknown";
    }

private:
    void TestBody() override {}

    std::string MakeAddress(const std::string& i_role)
    {
        const auto role = i_role == "see" ? Role::See : i_role == "submit" ? Role::Submit : Role::Operate;
        const auto address = page->MakeJobAddress({}, {role == Role::Operate ? "olga" : "sam", role});
        return address.scheme + "://" + address.host + address.path + '?' + address.query;
    }
    Job Add(std::uint8_t i_number, const std::string& i_name, std::uint8_t i_machine)
    {
        auto job = MakeJob(i_number, i_name);
        job.owner = i_number % 2 == 0 ? "olga" : "sam";
        job.target.machine = MakeId(i_machine);
        job.platform = files->AddBytes(MakePlatformBytes(), "plate " + std::to_string(i_number) + ".TavAMX");
        if (i_number % 3 != 0)
            job.picture = files->Add(_picture, "plate.png");
        job.needs = {"Kestrel 350 Pro", "PETG", 0.4, 210.0, 180.0, 95.5};
        job.estimates = {11'520.0, 48.25, 61.3};
        job.settings = {{"material", "PETG"}, {"layer height", "0.2"}, {"parts", "3"}};
        return store->Add(job, true);
    }
    JobClaim Claim(std::uint8_t i_number, const std::string& i_name, std::uint8_t i_machine)
    {
        Add(i_number, i_name, i_machine);
        const auto name = store->FindMachine(MakeId(i_machine))->name;
        const auto job = store->ClaimNext(MakeId(i_machine), name, {}, {});
        return {job->id, job->fence};
    }
    void AddJobs()
    {
        const auto done = Claim(10, "drone arm, left", 1);
        store->Change(done, {JobEvent::Kept, "system", "The machine file is kept.", [&](Job& io_job) {
                                 io_job.machineFile = files->AddBytes("G1 X1\n", "drone arm.gcode");
                             }});
        const auto failed = Claim(11, "lamp shade", 1);
        store->Change(failed,
                      {JobEvent::BuildFailed, "system", "The part \"shade\" is higher than the printer builds."});
        const auto lost = Claim(12, "pulley", 3);
        store->Change(lost, {JobEvent::Built});
        store->Change(lost, {JobEvent::Sent});
        store->Change(lost,
                      {JobEvent::StartTimedOut, "system", "The printer did not say within a minute that it began."});
        _printing = Claim(13, "gear box, upper half, with a name that is rather long for a narrow screen", 1);
        store->Change(_printing, {JobEvent::Built});
        store->Change(_printing, {JobEvent::Sent});
        store->Change(_printing, {JobEvent::StartConfirmed});
        store->SetProgress(_printing, 45, "Layer 90 of 200");
        Add(14, "<img src=x onerror=alert(1)> & \"friends\"", 1);
        Add(15, "bracket", 2);
        desk->Act(Olga, Add(16, "hinge", 2).id, JobAction::Hold);
        desk->Act(Olga, Add(17, "cover", 2).id, JobAction::Cancel);
        Add(18, "handle", 4);
        auto nozzle = Add(19, "fine gears", 1);
        store->Edit(nozzle.id, "priority", "olga", "The priority is 70.", [](Job& io_job) {
            io_job.priority = 70;
            io_job.needs.nozzle = 0.25;
        });
    }

    const std::filesystem::path _picture;
    JobClaim _printing;
};

} // namespace

} // namespace MachineService::MachineManager::Testing

int main(int i_argc, char** ip_argv)
{
    const QCoreApplication application(i_argc, ip_argv);
    MachineService::MachineManager::Testing::Sample sample(ip_argv[1]);
    std::cout << sample.Do("address operate") << "\nready" << std::endl;
    for (std::string line; std::getline(std::cin, line);)
        std::cout << sample.Do(line) << std::endl;
}
