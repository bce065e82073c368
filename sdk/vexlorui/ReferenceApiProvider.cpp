#include "vexlorui/ReferenceApiProvider.h"

#include "tavam/AMXFileWriter.h"
#include "tavam/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/StopExceptions.h"
#include "vexlorcore/Application.h"
#include "vexlorcore/HeldScene.h"
#include "vexlorcore/UiThread.h"
#include "vexlorui/DocumentCopies.h"
#include "vexlorui/JobRunner.h"
#include "vexlorui/PlatformImport.h"
#include "vexlorui/SceneDescription.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <atomic>
#include <stdexcept>
#include <utility>

namespace Vexlor {

namespace {

Q_LOGGING_CATEGORY(log, "machineservice.host.provider")

using VexlorCore::DataSet;
using VexlorCore::UiThread;

constexpr std::int32_t LastPlatformFormat = 5;
constexpr std::int32_t LastFormat = 8;

VexlorCore::Application& GetApplication()
{
    auto* application = VexlorCore::Application::GetInstance();
    if (!application || !application->GetDatabase())
        throw VexlorCore::SceneClosed();
    return *application;
}

/// UI thread. The pointer may come from before the event loop ran.
DataSet& GetOpenScene(DataSet* ip_data_set)
{
    if (!GetApplication().GetDatabase()->Contains(ip_data_set))
        throw VexlorCore::SceneClosed();
    return *ip_data_set;
}

[[noreturn]] void ThrowUnsupportedFormat()
{
    throw std::runtime_error(
        QCoreApplication::translate("Vexlor::ReferenceApiProvider", "Unsupported input file format.").toStdString());
}

/// The scene of a call from any thread; held and let go on the UI thread.
class SceneOfCall
{
public:
    /// \throws SceneClosed.
    explicit SceneOfCall(DataSet* ip_data_set)
    {
        UiThread::Invoke([&] { _scene = std::make_unique<VexlorCore::HeldScene>(GetOpenScene(ip_data_set)); });
    }
    ~SceneOfCall()
    {
        TavSDK::StopExceptions([this] { UiThread::Invoke([this] { _scene.reset(); }); },
                               [](const char* ip_why) { qCWarning(log, "A scene goes with its call: %s", ip_why); });
    }
    SceneOfCall(const SceneOfCall&) = delete;
    SceneOfCall& operator=(const SceneOfCall&) = delete;

    /// UI thread.
    /// \throws SceneClosed.
    DataSet& Get() const { return _scene->Get(); }

private:
    std::unique_ptr<VexlorCore::HeldScene> _scene;
};

/// UI thread. Replaces the scene's platform as an operation that can be undone. What follows belongs to it: when that
/// fails, the scene is as it was.
void ReplacePlatform(DataSet& io_scene, TavAM::Platform i_platform, const QString& i_name, std::uint32_t i_actions,
                     const std::function<void()>& i_what_follows)
{
    const VexlorCore::HeldScene held(io_scene);
    const std::weak_ptr<DataSet> scene = io_scene.weak_from_this();
    const auto former = std::make_shared<const TavAM::Platform>(io_scene.GetPlatform());
    const auto selection = io_scene.GetSelection();
    auto& application = GetApplication();
    application.GetOperationManager()->Execute(
        i_name.toStdWString(), i_actions,
        [&] {
            io_scene.SetPlatform(std::move(i_platform));
            try {
                i_what_follows();
            } catch (...) {
                io_scene.SetPlatform(*former);
                io_scene.SetSelection(selection);
                throw;
            }
        },
        [scene, former, i_actions] {
            const auto open = scene.lock();
            if (!open)
                return;
            auto platform = *former;
            // Another platform comes with its machine; the same one stays with the machine that it has by now.
            if ((i_actions & static_cast<std::uint32_t>(VexlorCore::DatabaseAction::PlatformChanged)) == 0)
                KeepAttachment(open->GetPlatform(), platform);
            open->SetPlatform(std::move(platform));
        });
    application.Invalidate3d();
}

void CallForEach(const Platforms& i_platforms, const std::function<void(std::shared_ptr<TavAM::Platform>)>& i_callback)
{
    if (!i_callback)
        return;
    for (const auto& platform : i_platforms)
        i_callback(platform);
}

} // namespace

struct ReferenceApiProvider::Impl
{
    std::filesystem::path documentsDir;
    std::shared_ptr<JobRunner> jobs = std::make_shared<JobRunner>();
    std::shared_ptr<IProgressDisplay> display;
    ConfirmHandler confirm;
    std::function<void()> updateCommands;
    PrepareSceneHandler prepareScene;
    OpenDocumentHandler openDocument;
    std::atomic<bool> isUpdatePosted = false;
};

ReferenceApiProvider::ReferenceApiProvider(const std::filesystem::path& i_documents_dir)
    : _impl(std::make_shared<Impl>())
{
    _impl->documentsDir = i_documents_dir;
}

ReferenceApiProvider::~ReferenceApiProvider()
{
    _impl->jobs->Cancel();
}

void ReferenceApiProvider::SetProgressDisplay(std::shared_ptr<IProgressDisplay> ip_display)
{
    _impl->display = std::move(ip_display);
}

void ReferenceApiProvider::SetConfirmHandler(ConfirmHandler i_handler)
{
    _impl->confirm = std::move(i_handler);
}

void ReferenceApiProvider::SetUpdateCommandsHandler(std::function<void()> i_handler)
{
    _impl->updateCommands = std::move(i_handler);
}

void ReferenceApiProvider::SetPrepareSceneHandler(PrepareSceneHandler i_handler)
{
    _impl->prepareScene = std::move(i_handler);
}

void ReferenceApiProvider::SetOpenDocumentHandler(OpenDocumentHandler i_handler)
{
    _impl->openDocument = std::move(i_handler);
}

void ReferenceApiProvider::CancelCurrentJob()
{
    _impl->jobs->Cancel();
}

bool ReferenceApiProvider::IsJobRunning() const
{
    return _impl->jobs->IsRunning();
}

bool ReferenceApiProvider::RunJobWithTitle(const QString& i_progress_title, const VexlorCore::Job& i_job)
{
    const auto jobs = _impl->jobs;
    return jobs->Run(i_progress_title, i_job, _impl->display);
}

bool ReferenceApiProvider::RunJob(const QString& i_command_title, const VexlorCore::Job& i_job)
{
    return RunJobWithTitle(i_command_title, i_job);
}

bool ReferenceApiProvider::ConfirmSubmission(const QString& i_command_name, const QString& i_job_name)
{
    bool isConfirmed = true;
    UiThread::Invoke([&] {
        // Through copies here and below: a handler may turn the event loop, and be replaced meanwhile.
        if (const auto handler = _impl->confirm)
            isConfirmed = handler(i_command_name, i_job_name);
    });
    return isConfirmed;
}

void ReferenceApiProvider::InvokeOnUiThread(const std::function<void()>& i_job)
{
    UiThread::Invoke(i_job);
}

void ReferenceApiProvider::UpdateCommands()
{
    if (_impl->isUpdatePosted.exchange(true))
        return;
    UiThread::Post([weak = std::weak_ptr(_impl)] {
        const auto impl = weak.lock();
        if (!impl)
            return;
        // Before the handler: what changes while it looks asks for another look.
        impl->isUpdatePosted = false;
        if (const auto handler = impl->updateCommands)
            handler();
    });
}

void ReferenceApiProvider::SaveProcessorInput(DataSet* ip_data_set, std::int32_t i_format,
                                              const std::filesystem::path& i_path)
{
    if (i_format < 1 || i_format > LastFormat)
        ThrowUnsupportedFormat();
    TavAM::Platform platform;
    UiThread::Invoke([&] { platform = GetOpenScene(ip_data_set).GetPlatform(); });
    if (i_format <= LastPlatformFormat)
        TavAM::AMXFileWriter().WriteFile(i_path, platform);
    else
        WriteFileAtomically(i_path, DescribeScene(platform));
}

bool ReferenceApiProvider::PrepareScene(DataSet* ip_data_set)
{
    bool isReady = true;
    UiThread::Invoke([&] {
        auto& scene = GetOpenScene(ip_data_set);
        if (const auto handler = _impl->prepareScene)
            isReady = handler(scene);
    });
    return isReady;
}

void ReferenceApiProvider::LoadProcessorFiles(
    DataSet* ip_data_set, const std::vector<std::wstring>& i_files, const std::int32_t& i_import_kind,
    std::function<void(std::shared_ptr<TavAM::Platform>)> i_on_platform_loaded, std::int32_t)
{
    const auto kind = ToImportKind(i_import_kind);
    const SceneOfCall held(ip_data_set);
    // Mesh files may take minutes. A platform file is the result of what was done; a cancellation comes too late for
    // it.
    const auto loaded = kind == ImportKind::AdditionalParts
                            ? ReadPlatformsAndMeshes(i_files, JobRunner::GetStopOfThisThread())
                            : ReadPlatforms(i_files, {});
    UiThread::Invoke([&] {
        auto& scene = held.Get();
        if (loaded.empty())
            return;
        auto platform = scene.GetPlatform();
        for (const auto& one : loaded)
            MergePlatform(platform, *one, kind);
        KeepAttachment(scene.GetPlatform(), platform);
        ReplacePlatform(scene, std::move(platform),
                        QCoreApplication::translate("Vexlor::ReferenceApiProvider", "Load machine output"),
                        GetActions(kind), [&] { CallForEach(loaded, i_on_platform_loaded); });
    });
}

void ReferenceApiProvider::OpenProcessorFiles(DataSet* ip_data_set, const std::vector<std::wstring>& i_files)
{
    const SceneOfCall held(ip_data_set);
    // A handler may destroy the provider.
    const auto impl = _impl;
    std::vector<std::filesystem::path> files;
    for (const auto& file : i_files)
        files.push_back(TavSDK::PathFromWide(file));
    const auto copies = CopyDocuments(files, impl->documentsDir);
    UiThread::Invoke([&] {
        for (const auto& copy : copies) {
            // Asked again for each: opening one may have closed the scene.
            auto& scene = held.Get();
            if (const auto handler = impl->openDocument)
                handler(scene, copy);
            else
                qCInfo(log, "A document of the machine lies at %s", copy.c_str());
        }
    });
}

void ReferenceApiProvider::LoadPlatformFile(DataSet* ip_data_set, std::int32_t i_format,
                                            const std::vector<std::wstring>& i_files, const QString& i_progress_title,
                                            VexlorCore::ApiProviderGetter i_api_provider,
                                            std::function<void(DataSet*)> i_on_scene_loaded,
                                            std::function<void(std::shared_ptr<TavAM::Platform>)> i_on_platform_loaded,
                                            bool i_show_progress, bool i_keep_parts)
{
    if (i_format < 1 || i_format > LastPlatformFormat)
        ThrowUnsupportedFormat();
    const SceneOfCall held(ip_data_set);
    Platforms loaded;
    const auto read = [&](VexlorCore::IJobProgress& io_progress) {
        loaded = ReadPlatforms(i_files, io_progress.GetStopToken());
        return true;
    };
    // A job's thread is under a progress display already.
    if (i_show_progress && UiThread::IsCurrent()) {
        auto& provider = i_api_provider ? i_api_provider() : *this;
        provider.RunJobWithTitle(i_progress_title, read);
    } else {
        loaded = ReadPlatforms(i_files, JobRunner::GetStopOfThisThread());
    }
    if (loaded.size() != 1)
        throw TavAM::FileError(
            QCoreApplication::translate("Vexlor::ReferenceApiProvider",
                                        "The machine's files hold %1 platforms; a scene takes exactly one.")
                .arg(loaded.size())
                .toStdString());
    UiThread::Invoke([&] {
        auto& scene = held.Get();
        auto platform = i_keep_parts ? WithPartsOf(scene.GetPlatform(), *loaded.front()) : *loaded.front();
        ReplacePlatform(scene, std::move(platform),
                        QCoreApplication::translate("Vexlor::ReferenceApiProvider", "Load platform"),
                        GetActions(ImportKind::WholePlatform) |
                            static_cast<std::uint32_t>(VexlorCore::DatabaseAction::PlatformChanged),
                        [&] {
                            if (i_on_scene_loaded)
                                i_on_scene_loaded(&scene);
                            // The scene's own: what is written into it stays with the scene.
                            if (i_on_platform_loaded)
                                i_on_platform_loaded(held.Get().SharePlatform());
                        });
    });
}

} // namespace Vexlor
