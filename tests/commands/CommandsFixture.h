#pragma once

#include "client/interface/CommunicationException.h"
#include "client/interface/Machine.h"

#include "support/HostFixture.h"
#include "vexlorcore/Statistic.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace MachineService {

template <class T>
std::future<T> Ready(T i_value)
{
    std::promise<T> promise;
    promise.set_value(std::move(i_value));
    return promise.get_future();
}

/// A machine that does what a test wrote for it.
struct Script
{
    MachineData data;
    std::vector<CommandDescription> commands;
    std::function<std::future<std::vector<CommandDescription>>()> getCommands = [this] {
        return Ready(commands);
    };
    std::function<std::future<bool>()> canRun = [] {
        return Ready(true);
    };
    std::function<std::future<CommandResult>(const CommandParameters&)> run = [](const CommandParameters&) {
        return Ready(CommandResult());
    };
    std::function<std::future<CommandResult>(const CommandParameters&)> fillReport = run;

    Script() { data.id.data[0] = 1; }
};

class ScriptedStrategy final : public MachineStrategy
{
public:
    explicit ScriptedStrategy(std::shared_ptr<Script> ip_script)
        : MachineStrategy(ip_script->data)
        , _script(std::move(ip_script))
    {}
    std::future<std::vector<CommandDescription>> GetCommands() const override
    {
        return _script->getCommands ? _script->getCommands() : Ready(_script->commands);
    }
    std::future<bool> CanRunCommand(const boost::uuids::uuid&) const override { return _script->canRun(); }
    std::future<CommandResult> RunCommand(const CommandParameters& i_parameters) const override
    {
        return _script->run(i_parameters);
    }
    std::future<CommandResult> FillReportProperties(const CommandParameters& i_parameters) const override
    {
        return _script->fillReport(i_parameters);
    }
    ProgressWatcherFuture<PlatformInfo> GetPlatformInformation() const override { return {}; }
    std::future<std::pair<CommandResult, Platform>> GetEmptyPlatform(const std::string&) const override { return {}; }
    ProgressWatcherFuture<void> ModifyPlatform(const Platform&) const override { return {}; }
    std::future<CommandResult> Preprocessing(const CommandParameters&) const override { return {}; }
    std::future<ProfileAssignments> GetProfileAssignments() const override { return {}; }

private:
    std::shared_ptr<Script> _script;
};

/// The reference host's side of a run, with a place for a fault at every step and a record of what was asked.
class ScriptedProvider final : public IVexlorApiProvider
{
public:
    using Files = std::vector<std::wstring>;
    using OnLoaded = std::function<void(std::shared_ptr<TavAM::Platform>)>;

    explicit ScriptedProvider(Vexlor::ReferenceApiProvider& io_real)
        : _real(io_real)
    {}

    std::function<void()> onStart, onJob, onSave, onLoad, onConfirm; // each may throw
    bool confirms = true;
    std::vector<std::string> log;
    std::vector<std::pair<int, std::string>> progress;

    bool RunJobWithTitle(const QString& i_title, const VexlorCore::Job& i_job) override
    {
        return _Start([&](const auto& i_wrapped) { return _real.RunJobWithTitle(i_title, i_wrapped); }, i_title, i_job);
    }
    bool RunJob(const QString& i_title, const VexlorCore::Job& i_job) override
    {
        return _Start([&](const auto& i_wrapped) { return _real.RunJob(i_title, i_wrapped); }, i_title, i_job);
    }
    bool ConfirmSubmission(const QString& i_command, const QString& i_job) override
    {
        log.push_back("confirm " + i_command.toStdString() + " " + i_job.toStdString());
        if (onConfirm)
            onConfirm();
        return confirms;
    }
    void InvokeOnUiThread(const std::function<void()>& i_job) override { _real.InvokeOnUiThread(i_job); }
    void UpdateCommands() override { log.push_back("update"); }
    void SaveProcessorInput(VexlorCore::DataSet*, std::int32_t i_format, const std::filesystem::path& i_path) override
    {
        log.push_back("save " + std::to_string(i_format) + " " + i_path.extension().string());
        if (onSave)
            onSave();
        std::ofstream(i_path) << "scene";
    }
    bool PrepareScene(VexlorCore::DataSet*) override { return true; }
    void LoadProcessorFiles(VexlorCore::DataSet*, const Files& i_files, const std::int32_t& i_kind, OnLoaded,
                            std::int32_t) override
    {
        _Load("load " + std::to_string(i_kind), i_files);
    }
    void OpenProcessorFiles(VexlorCore::DataSet*, const Files& i_files) override { _Load("open", i_files); }
    void LoadPlatformFile(VexlorCore::DataSet*, std::int32_t, const Files&, const QString&,
                          std::function<IVexlorApiProvider&()>, std::function<void(VexlorCore::DataSet*)>, OnLoaded,
                          bool, bool) override
    {}

private:
    struct Progress final : VexlorCore::IJobProgress
    {
        ScriptedProvider& owner;
        IJobProgress& real;
        Progress(ScriptedProvider& io_owner, IJobProgress& io_real)
            : owner(io_owner)
            , real(io_real)
        {}
        void SetProgress(int i_percent, const std::string& i_stage) override
        {
            owner.progress.emplace_back(i_percent, i_stage);
            real.SetProgress(i_percent, i_stage);
        }
        std::stop_token GetStopToken() const override { return real.GetStopToken(); }
    };

    template <class Start>
    bool _Start(const Start& i_start, const QString& i_title, const VexlorCore::Job& i_job)
    {
        if (onStart)
            onStart();
        return i_start([this, i_title, i_job](VexlorCore::IJobProgress& io_progress) {
            log.push_back("job " + i_title.toStdString());
            if (onJob)
                onJob();
            Progress recorded(*this, io_progress);
            return i_job(recorded);
        });
    }

    void _Load(std::string i_what, const Files& i_files)
    {
        for (const std::wstring& file : i_files)
            i_what += " " + std::filesystem::path(file).filename().string();
        log.push_back(i_what);
        if (onLoad)
            onLoad();
    }

    Vexlor::ReferenceApiProvider& _real;
};

/// A host with one active scene, a machine, and recorded messages; temporary folders lie in a folder of its own.
class CommandsFixture : public ::testing::Test
{
protected:
    CommandsFixture()
    {
        qputenv("TMPDIR", _temp.path().toUtf8());
        VexlorCore::Statistic::Clear();
        Vexlor::MessageDialogs::SetHandler([this](const Vexlor::Message& i_message) {
            EXPECT_TRUE(VexlorCore::UiThread::IsCurrent());
            EXPECT_TRUE(_TempIsEmpty()) << "folders must not wait for the user";
            _messages.push_back(i_message);
            return _answer < 0 ? static_cast<int>(i_message.buttons.size()) - 1 : _answer;
        });
    }
    ~CommandsFixture() override { qunsetenv("TMPDIR"); }

    bool _TempIsEmpty() const { return std::filesystem::is_empty(_temp.path().toStdString()); }

    Machine _MakeMachine() const { return Machine(std::make_unique<ScriptedStrategy>(_script)); }

    /// Exactly one critical message with one button, and nothing left behind.
    void _ExpectOneFailure(const std::string& i_text)
    {
        ASSERT_EQ(1u, _messages.size());
        EXPECT_EQ(Vexlor::Message::Kind::Critical, _messages[0].kind);
        EXPECT_EQ(1, _messages[0].buttons.size());
        EXPECT_EQ(i_text, _messages[0].text.toStdString());
        EXPECT_TRUE(_TempIsEmpty());
    }

    TestSupport::Host _host;
    QTemporaryDir _temp;
    VexlorCore::DataSet* _scene = _host.scene;
    std::vector<Vexlor::Message> _messages;
    int _answer = -1; // index of the button, -1 for the last
    std::shared_ptr<Script> _script = std::make_shared<Script>();
    ScriptedProvider _provider{_host.provider};
    std::function<IVexlorApiProvider&()> _getProvider = [this]() -> IVexlorApiProvider& {
        return _provider;
    };
    std::function<VexlorCore::DataSet*()> _getScene = [this] {
        return _scene;
    };
};

} // namespace MachineService
