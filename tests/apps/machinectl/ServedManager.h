#pragma once

#include "machinemanager/page/ManagerPage.h"
#include "services/machinemanager/ManagerFixture.h"

#include <random>

namespace TestSupport {

/// A manager over the machines "Machine 1" and "Machine 2", whose interface is on a socket.
class ServedManager
{
public:
    ServedManager()
    {
        world.AddMachine(1);
        world.AddMachine(2);
        world.Start();
        MachineService::MachineManager::ManagerPageOptions options;
        options.socket = GetSocket();
        page = std::make_unique<MachineService::MachineManager::ManagerPage>(world.Desk(), options);
        page->Start();
    }
    ~ServedManager()
    {
        page.reset();
        world.manager->Stop();
    }

    std::filesystem::path GetFolder() const { return world.folder.GetAbsoluteDir(); }
    std::filesystem::path GetSocket() const { return GetFolder() / "socket" / "manager.http"; }
    std::string GetAddress() const { return "unix:" + GetSocket().native(); }
    /// Nobody's queue moves: jobs stay as the test puts them.
    void Pause()
    {
        for (const std::uint8_t number : {1, 2})
            world.Desk().SetPaused(MachineService::MachineManager::Testing::Operator, MakeId(number), true, "test");
    }
    /// Of some megabytes, which no compression makes small.
    std::filesystem::path WriteLargePlatform() const
    {
        TavAM::Platform platform;
        std::wstring noise(3'000'000, L' ');
        std::minstd_rand random(7);
        for (auto& character : noise)
            character = static_cast<wchar_t>(L'0' + random() % 64);
        platform.GetAMXProperties().SetText(L"Test.Noise", noise);
        const auto file = GetFolder() / "Large.TavAMX";
        TavAM::AMXFileWriter().WriteFile(file, platform);
        return file;
    }

    MachineService::MachineManager::Testing::ManagedWorld world;
    std::unique_ptr<MachineService::MachineManager::ManagerPage> page;
};

} // namespace TestSupport
