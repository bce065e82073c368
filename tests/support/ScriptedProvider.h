#pragma once

#include "vexlorui/ReferenceApiProvider.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace TestSupport {

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
    void LoadProcessorFiles(VexlorCore::DataSet*, const Files& i_files, const std::int32_t& i_kind,
                            OnLoaded i_on_loaded, std::int32_t) override
    {
        _Load("load " + std::to_string(i_kind), i_files);
        if (i_on_loaded)
            i_on_loaded(nullptr);
    }
    void OpenProcessorFiles(VexlorCore::DataSet*, const Files& i_files) override { _Load("open", i_files); }
    void LoadPlatformFile(VexlorCore::DataSet*, std::int32_t, const Files&, const QString&,
                          VexlorCore::ApiProviderGetter, std::function<void(VexlorCore::DataSet*)>, OnLoaded, bool,
                          bool) override
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

} // namespace TestSupport
