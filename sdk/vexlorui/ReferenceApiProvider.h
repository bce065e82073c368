#pragma once

#include "vexlorcore/IVexlorApiProvider.h"
#include "vexlorui_export.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace Vexlor {

/// Shows that a job runs; a host installs its own. Order: Begin, progress any number of times, End, once each per job.
///
/// A button "Cancel" calls ReferenceApiProvider::CancelCurrentJob.
/// Thread: all calls on the UI thread.
class IProgressDisplay
{
public:
    virtual ~IProgressDisplay() = default;
    virtual void Begin(const QString& i_title) = 0;
    /// \param i_percent 0 to 100, as the job reported it: it may fall when a new stage begins.
    virtual void SetProgress(int i_percent, const QString& i_stage) = 0;
    virtual void End() = 0;
};

/// What the library may ask of its host, done for VexlorCore::Application and VexlorCore::UiThread.
///
/// Everything that a host may want to do its own way is a handler with a sensible default, so that tests, a host
/// without a window and a host with one use the same provider.
///
/// Thread: operations of IVexlorApiProvider as they say; handlers are set and called on the UI thread.
/// Order: made after the UiThread and the Application, destroyed on the UI thread before them.
class VEXLORUI_EXPORT ReferenceApiProvider final : public IVexlorApiProvider
{
public:
    /// \param i_documents_dir where OpenProcessorFiles copies documents; made on first use.
    explicit ReferenceApiProvider(const std::filesystem::path& i_documents_dir);
    /// Asks a running job to stop; RunJob still waits for it and returns as if the provider were there.
    ~ReferenceApiProvider() override;
    ReferenceApiProvider(const ReferenceApiProvider&) = delete;
    ReferenceApiProvider& operator=(const ReferenceApiProvider&) = delete;

    // Handlers. An empty one is the default.

    /// Null, the default, shows nothing. A running job keeps the display that it began with.
    void SetProgressDisplay(std::shared_ptr<IProgressDisplay> ip_display);
    using ConfirmHandler = std::function<bool(const QString& i_command_name, const QString& i_job_name)>;
    /// The default lets every job be submitted.
    void SetConfirmHandler(ConfirmHandler i_handler);
    /// Checks the host's commands. The default does nothing.
    void SetUpdateCommandsHandler(std::function<void()> i_handler);
    using PrepareSceneHandler = std::function<bool(VexlorCore::DataSet&)>;
    /// Ends pending edits; false: the user declined. The default has none to end.
    void SetPrepareSceneHandler(PrepareSceneHandler i_handler);
    using OpenDocumentHandler = std::function<void(VexlorCore::DataSet&, const std::filesystem::path&)>;
    /// Shows a copied document. The default leaves it in the documents folder and logs its path.
    void SetOpenDocumentHandler(OpenDocumentHandler i_handler);

    /// Requests the running job to stop; harmless without one.
    /// Thread: any, but not a signal handler.
    void CancelCurrentJob();

    bool RunJobWithTitle(const QString& i_progress_title, const VexlorCore::Job& i_job) override;
    bool RunJob(const QString& i_command_title, const VexlorCore::Job& i_job) override;
    bool ConfirmSubmission(const QString& i_command_name, const QString& i_job_name) override;
    void InvokeOnUiThread(const std::function<void()>& i_job) override;
    void UpdateCommands() override;
    void SaveProcessorInput(VexlorCore::DataSet* ip_data_set, std::int32_t i_format,
                            const std::filesystem::path& i_path) override;
    bool PrepareScene(VexlorCore::DataSet* ip_data_set) override;
    void LoadProcessorFiles(VexlorCore::DataSet* ip_data_set, const std::vector<std::wstring>& i_files,
                            const std::int32_t& i_import_kind,
                            std::function<void(std::shared_ptr<TavAM::Platform>)> i_on_platform_loaded,
                            std::int32_t i_options) override;
    void OpenProcessorFiles(VexlorCore::DataSet* ip_data_set, const std::vector<std::wstring>& i_files) override;
    void LoadPlatformFile(VexlorCore::DataSet* ip_data_set, std::int32_t i_format,
                          const std::vector<std::wstring>& i_files, const QString& i_progress_title,
                          VexlorCore::ApiProviderGetter i_api_provider,
                          std::function<void(VexlorCore::DataSet*)> i_on_scene_loaded,
                          std::function<void(std::shared_ptr<TavAM::Platform>)> i_on_platform_loaded,
                          bool i_show_progress, bool i_keep_parts) override;
    bool IsJobRunning() const override;

private:
    struct Impl;
    std::shared_ptr<Impl> _impl;
};

} // namespace Vexlor
