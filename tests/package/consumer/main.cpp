// A host in its smallest form, built against the installed package.
#include "catalog/PrinterAttachment.h"
#include "client/CommunicationClient.h"
#include "vexlorcore/Application.h"
#include "vexlorcore/UiThread.h"
#include "vexlorui/ReferenceApiProvider.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

namespace {

class Folders final : public MachineService::AbstractPluginUtility
{
public:
    explicit Folders(const std::filesystem::path& i_dir)
        : _dir(i_dir)
    {}
    std::filesystem::path GetConfigurationDir() const override { return _dir; }
    std::filesystem::path GetDataDir() const override { return _dir / "data"; }
    std::optional<std::string> GetSetting(const std::string&) const override { return std::nullopt; }

private:
    std::filesystem::path _dir;
};

} // namespace

int main(int i_argc, char** ip_argv)
{
    using namespace MachineService;
    QGuiApplication qt(i_argc, ip_argv);
    QTemporaryDir dir;
    const std::filesystem::path folder = dir.path().toStdString();

    VexlorCore::UiThread uiThread;
    VexlorCore::Application application;
    application.CreateDatabase();
    Vexlor::ReferenceApiProvider provider(folder / "documents");
    CommunicationClient client(
        [&]() -> IVexlorApiProvider& { return provider; }, [&](ServiceId) { return std::make_unique<Folders>(folder); },
        [](const MachineData& i_data) { return i_data.serviceId == ServiceId::BuildProcessors; }, nullptr);

    QEventLoop loop;
    QObject::connect(&client, &CommunicationClient::MachineAdded, &loop, [&](const QUuid& i_id) {
        auto* scene = application.GetDatabase()->CreateDataSet();
        client.HandleMachineChanged(scene, i_id);
        if (client.TryGetPrinter(scene))
            loop.exit(42);
    });
    QTimer::singleShot(20'000, &loop, &QEventLoop::quit);
    client.Start(ServiceId::BuildProcessors);
    const bool attached = loop.exec() == 42;
    std::puts(attached ? "a printer of the installed library was attached" : "no printer came");
    return attached ? 0 : 1;
}
