#pragma once

#include "remote/RemoteCatalog.h"
#include "services/ServiceFiles.h"
#include "services/server/LoomServer.h"

namespace MachineService::Testing {

using Remote::RemoteCatalog;

inline constexpr auto RemoteId = ServiceId(FirstEndpointService);

/// Folders and reasons of a remote service.
class RemoteUtility final : public AbstractPluginUtility
{
public:
    RemoteUtility(std::filesystem::path i_folder, Journal<std::string>& io_journal,
                  Journal<std::function<void(bool)>>& io_answers)
        : _folder(std::move(i_folder))
        , _journal(io_journal)
        , _answers(io_answers)
    {}
    std::filesystem::path GetConfigurationDir() const override { return {}; }
    std::filesystem::path GetDataDir() const override { return _folder / "data"; }
    std::optional<std::string> GetSetting(const std::string&) const override { return {}; }
    std::filesystem::path GetCacheDir() const override { return _folder / "cache"; }
    void HandleStatus(ServiceStatus i_status, const std::string& i_reason) override
    {
        _journal.Add("status " + std::to_string(static_cast<int>(i_status)) + ' ' + i_reason);
    }
    std::filesystem::path GetPinFile() const override { return _folder / "user" / "pins"; }
    void ConfirmCertificate(const ServiceCertificate& i_certificate, std::function<void(bool)> i_answer) override
    {
        _answers.Add(std::move(i_answer));
        _journal.Add("asked " + i_certificate.address + ' ' + i_certificate.fingerprint);
    }

private:
    const std::filesystem::path _folder;
    Journal<std::string>& _journal;
    Journal<std::function<void(bool)>>& _answers;
};

/// A host's side of the looms' service.
class RemoteLooms : public LoomServer
{
protected:
    ~RemoteLooms() override { remote.reset(); }

    void Connect(const std::string& i_address = {})
    {
        Connect(ServiceEndpoint{i_address.empty() ? options.addresses.front() : i_address, {}});
    }
    void Connect(const ServiceEndpoint& i_endpoint)
    {
        remote = std::make_unique<RemoteCatalog>(
            RemoteId, i_endpoint, std::make_unique<RemoteUtility>(folder.GetAbsoluteDir(), journal, answers));
        remote->ConnectMachineAdded([this](const auto& i_id) { journal.Add("added " + Name(i_id)); });
        remote->ConnectMachineRemoved([this](const auto& i_id) { journal.Add("removed " + Name(i_id)); });
        remote->ConnectMachineUpdated([this](const auto& i_id, MachineChanges i_changes) {
            journal.Add("updated " + Name(i_id) + ' ' + std::to_string(static_cast<int>(i_changes)));
        });
        ASSERT_TRUE(remote->Start(RemoteId));
    }
    void ConnectAndRun(const std::string& i_address = {})
    {
        Connect(i_address);
        ASSERT_TRUE(Expect("status 2 "));
    }
    bool Expect(const std::string& i_beginning)
    {
        return journal.WaitFor(
            [&](const auto& i_all) {
                return std::any_of(i_all.begin(), i_all.end(),
                                   [&](const std::string& i_news) { return i_news.starts_with(i_beginning); });
            },
            Long);
    }
    /// A service that was killed comes up again.
    void Restart()
    {
        server.reset();
        Start();
    }

    Machine GetLoom() { return remote->GetMachine(MakeId(1)); }
    CommandParameters MakeParameters(const std::string& i_input)
    {
        CommandParameters parameters;
        parameters.commandId = MakeId(2);
        parameters.jobName = "../job";
        parameters.inputFile = folder.GetAbsoluteDir() / "in.txt";
        parameters.outputDir = folder.GetAbsoluteDir() / "out";
        TestSupport::WriteFile(parameters.inputFile, i_input);
        std::filesystem::create_directories(parameters.outputDir);
        parameters.onProgress = [this](int i_percent, const std::string& i_stage) {
            progress.Add(std::to_string(i_percent) + ' ' + i_stage);
        };
        return parameters;
    }
    std::string ReadResult() { return TestSupport::ReadFile(folder.GetAbsoluteDir() / "out" / "cloth.txt"); }
    std::vector<std::string> GetResults() { return TestSupport::GetFileNames(folder.GetAbsoluteDir() / "out"); }

    static std::string Name(const boost::uuids::uuid& i_id) { return std::to_string(i_id.data[15]); }

    Journal<std::string> journal;
    Journal<std::string> progress;
    Journal<std::function<void(bool)>> answers; ///< to what the user was asked about certificates
    std::unique_ptr<RemoteCatalog> remote;
};

} // namespace MachineService::Testing
