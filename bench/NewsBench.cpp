#include "Comparison.h"
#include "StubMachines.h"

#include "client/CommunicationClient.h"
#include "vexlorcore/Application.h"
#include "vexlorcore/UiThread.h"
#include "vexlorui/ReferenceApiProvider.h"

#include <QEventLoop>

#include <filesystem>
#include <thread>

namespace Bench {

namespace {

using namespace MachineService;

constexpr int ThreadCount = 4;
constexpr int NewsPerThread = 5'000;
constexpr int NewsCount = ThreadCount * NewsPerThread;

/// Runs the work on four threads while the event loop receives; comes back when all news have arrived.
void RunOnThreads(QEventLoop& io_loop, const std::function<void(int)>& i_work)
{
    std::vector<std::jthread> threads;
    for (int number = 0; number < ThreadCount; ++number)
        threads.emplace_back(i_work, number);
    io_loop.exec();
}

/// A host with a client whose catalog raises news.
struct Host
{
    Host()
        : provider(std::filesystem::temp_directory_path())
    {
        application.CreateDatabase();
        auto stubs = std::make_unique<StubCatalog>(ThreadCount);
        catalog = stubs.get();
        SetNextCatalog(std::move(stubs));
        client = std::make_unique<CommunicationClient>([this]() -> IVexlorApiProvider& { return provider; },
                                                       [](ServiceId) { return nullptr; },
                                                       [](const MachineData&) { return true; }, nullptr);
        client->InvalidateProxyMachineCatalog();
    }

    VexlorCore::UiThread uiThread;
    VexlorCore::Application application;
    Vexlor::ReferenceApiProvider provider;
    StubCatalog* catalog = nullptr;
    std::unique_ptr<CommunicationClient> client;
};

/// A bare object with the same signal, and a receiver on the UI thread.
class BareSender final : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void MachineModified(QUuid i_id, MachineService::MachineChanges i_changes);
};

} // namespace

void AddNewsBenchmarks()
{
    // The floor may be measured before the first client registers it.
    qRegisterMetaType<MachineChanges>("MachineService::MachineChanges");
    ComparePrepared(
        "20,000 news of four threads", 1.5,
        []() -> Body {
            const auto host = std::make_shared<Host>();
            return [host] {
                QEventLoop loop;
                int arrived = 0;
                QObject::connect(host->client.get(), &CommunicationClient::MachineModified, &loop,
                                 [&](const QUuid&, MachineChanges) {
                                     if (++arrived == NewsCount)
                                         loop.quit();
                                 });
                const auto ids = host->catalog->GetMachineIds();
                RunOnThreads(loop, [&](int i_number) {
                    for (int news = 0; news < NewsPerThread; ++news)
                        host->catalog->RaiseUpdated(ids[static_cast<std::size_t>(i_number)]);
                });
            };
        },
        []() -> Body {
            const auto sender = std::make_shared<BareSender>();
            return [sender] {
                QEventLoop loop;
                int arrived = 0;
                // Two receivers, as the client has: the host's and the client's own handling.
                const QUuid id = QUuid::createUuid();
                QObject::connect(sender.get(), &BareSender::MachineModified, &loop,
                                 [](const QUuid&, MachineChanges) {});
                QObject::connect(sender.get(), &BareSender::MachineModified, &loop, [&](const QUuid&, MachineChanges) {
                    if (++arrived == NewsCount)
                        loop.quit();
                });
                RunOnThreads(loop, [&](int) {
                    for (int news = 0; news < NewsPerThread; ++news)
                        Q_EMIT sender->MachineModified(id, MachineChanges::StateChanged);
                });
            };
        });
}

} // namespace Bench

#include "NewsBench.moc"
