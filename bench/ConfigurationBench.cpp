#include "Comparison.h"

#include "machineconfig/CarriedMachineConfiguration.h"
#include "machineconfig/MachineConfiguration.h"
#include "machineconfig/MachineConfigurationFile.h"
#include "tavam/MachineParameters.h"
#include "tavam/PropertyNames.h"
#include "vexlorcore/Database.h"
#include "vexlorcore/SceneMachineData.h"

#include <QSaveFile>
#include <QTemporaryDir>

#include <cstdlib>
#include <memory>
#include <string>

namespace Bench {

namespace {

namespace Data = MachineLayer::Data;
using MachineService::PlatformMachineConfiguration;

constexpr double EnoughBytesPerSecond = 100e6;

/// A machine with all that a support profile can have, in values as users enter them.
PlatformMachineConfiguration MakeConfiguration(int i_profiles)
{
    PlatformMachineConfiguration configuration;
    configuration.machineName = L"Large printer";
    Data::SupportProfiles& profiles = configuration.supportProfiles.emplace().surfaceTypes;
    for (int number = 0; number < i_profiles; ++number) {
        Data::SupportProfile& profile = profiles[L"Surface type " + std::to_wstring(number)];
        profile = {Data::SupportType::Block,
                   1.5 + number * 0.001,
                   45.0,
                   Data::SupportTeeth{0.5, 0.1, 0.4, 0.25},
                   Data::SupportPerforation{Data::PerforationShape::Diamond, 2.0, 1.25, 0.5},
                   Data::SupportContact{0.4, 0.05, 0.1}};
    }
    return configuration;
}

void WriteBytes(const QString& i_path, const std::string& i_bytes)
{
    QSaveFile file(i_path);
    const auto size = static_cast<qint64>(i_bytes.size());
    if (!file.open(QIODevice::WriteOnly) || file.write(i_bytes.data(), size) != size || !file.commit())
        std::abort();
}

} // namespace

void AddConfigurationBenchmarks()
{
    const auto folder = std::make_shared<QTemporaryDir>();
    const auto configuration = std::make_shared<PlatformMachineConfiguration>(MakeConfiguration(10'000));
    const auto bytes = std::make_shared<std::string>(MachineService::WriteMachineConfiguration(*configuration));
    Compare(
        "configuration, 10,000 profiles", 2,
        [folder, configuration] {
            MachineService::SaveMachineConfiguration(folder->filePath(QStringLiteral("ours.xml")).toStdString(),
                                                     *configuration);
        },
        [folder, bytes] { WriteBytes(folder->filePath(QStringLiteral("floor.xml")), *bytes); },
        static_cast<double>(bytes->size()) / EnoughBytesPerSecond);

    // Before each command: the scene carries its configuration already, and to find that out two comparisons would do.
    struct Scene
    {
        VexlorCore::Database database;
        VexlorCore::DataSet* scene = database.CreateDataSet();
        Data::Machine machine;
        std::wstring document;
    };
    const auto carrying = std::make_shared<Scene>();
    carrying->scene->GetPlatform().SetMachine(TavAM::MachineParameters());
    Data::Machine& machine = MachineLayer::Utilities::GetMachineDataMutable(carrying->scene)->Edit();
    machine.surfaceTypeProfiles = MakeConfiguration(1000).supportProfiles->surfaceTypes;
    MachineService::Utilities::UpdateMachineConfiguration(carrying->scene);
    const auto& properties = carrying->scene->GetPlatform().GetAMXProperties().GetAll();
    const auto& carried = properties.at(TavAM::PropertyNames::Print3D::MachineConfiguration);
    carrying->machine = machine;
    carrying->document = carried.value();
    Compare(
        "configuration carried already", 1.5,
        [carrying] { MachineService::Utilities::UpdateMachineConfiguration(carrying->scene); },
        [carrying, &machine, &carried] {
            if (machine != carrying->machine || carried != carrying->document)
                std::abort();
        });
}

} // namespace Bench
