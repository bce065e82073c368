#pragma once

#include "client/CommunicationClient.h"
#include "vexlorcore/Application.h"
#include "vexlorcore/UiThread.h"
#include "vexlorui/ReferenceApiProvider.h"

#include <QObject>

#include <filesystem>
#include <memory>

namespace Hosting {

/// The reference host: an application with one database, an API provider and the communication client.
///
/// It shows all that embedding the library takes.
///
/// Thread: UI thread, on which an event loop must run.
class Host final : public QObject
{
    Q_OBJECT

public:
    /// \param i_documents_dir copies of documents that machines return.
    /// \param i_data_dir what the services make.
    Host(const std::filesystem::path& i_documents_dir, const std::filesystem::path& i_data_dir);
    ~Host() override;

    VexlorCore::Database& GetDatabase() { return *_application.GetDatabase(); }
    Vexlor::ReferenceApiProvider& GetApiProvider() { return _provider; }
    MachineService::CommunicationClient& GetClient() { return *_client; }
    /// What the services make.
    const std::filesystem::path& GetDataDir() const { return _dataDir; }
    /// Which machines exist for this host, from now on; all of them without a rule. It is called on any thread.
    void SetMachineRule(std::function<bool(const MachineService::MachineData&)> i_rule);
    /// For the operations of the library that take one.
    VexlorCore::ApiProviderGetter GetApiProviderGetter();

    /// Starts the Build Processors and waits, with the event loop turning, until they run.
    /// \return false when i_is_cancelled says so meanwhile.
    /// \throws HostingError when they do not within i_deadline.
    bool StartServices(std::chrono::milliseconds i_deadline, const std::function<bool()>& i_is_cancelled);

private:
    struct MachineRule;

    const std::filesystem::path _dataDir;
    const std::shared_ptr<MachineRule> _rule; ///< the services may still ask while the client goes
    // Destroyed in reverse order: the client first, while application and provider are still there for its last calls.
    VexlorCore::UiThread _uiThread;
    VexlorCore::Application _application;
    Vexlor::ReferenceApiProvider _provider;
    std::unique_ptr<MachineService::CommunicationClient> _client;
};

} // namespace Hosting
