#pragma once

#include "vexlorcore_export.h"

#include <QString>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

class IVexlorApiProvider;
namespace TavAM {
class Platform;
}
namespace VexlorCore {
class DataSet;

/// How a host hands out what the library may ask of it; asked anew whenever it is needed.
using ApiProviderGetter = std::function<IVexlorApiProvider&()>;

/// How a running job reports to the progress display and learns that the user cancelled.
/// Thread: any.
class IJobProgress
{
public:
    virtual ~IJobProgress() = default;
    /// \param i_percent 0 to 100; shown at most ten times a second.
    /// \param i_stage UTF-8, what is being done; may be empty.
    virtual void SetProgress(int i_percent, const std::string& i_stage) = 0;
    virtual std::stop_token GetStopToken() const = 0;
};

/// A job; its result is the result of the operation that runs it.
using Job = std::function<bool(IJobProgress&)>;

/// The user cancelled what an operation without a result had begun; nothing was changed.
class VEXLORCORE_EXPORT JobCancelled : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace VexlorCore

/// What the library may ask of its host. The host implements it and hands out a getter.
///
/// Thread: RunJobWithTitle and RunJob on the UI thread; every other operation may be called from any thread. Whatever
/// touches scenes or windows is brought to the UI thread by the implementation, which waits for it there. Nothing else
/// in the library marshals. The destructor counts as the first operation; the order is part of the interface and new
/// operations go to its end.
class IVexlorApiProvider
{
public:
    virtual ~IVexlorApiProvider() = default;

    /// 2. Runs the job on a job thread under a progress display with this title, keeps the event loop turning and
    /// returns the job's result. One job at a time: while another runs, throws std::runtime_error "Another command is
    /// still running.". Call it on the UI thread. What the job throws is thrown here.
    virtual bool RunJobWithTitle(const QString& i_progress_title, const VexlorCore::Job& i_job) = 0;
    /// 3. The same under the host's default progress, which names the command.
    virtual bool RunJob(const QString& i_command_title, const VexlorCore::Job& i_job) = 0;
    /// 4. May a job of this name be submitted? The host may ask its user.
    virtual bool ConfirmSubmission(const QString& i_command_name, const QString& i_job_name) = 0;
    /// 5. Runs the job on the UI thread and waits; what it throws is thrown here.
    virtual void InvokeOnUiThread(const std::function<void()>& i_job) = 0;
    /// 6. Lets the host check its commands again soon (enabled or not). Returns at once, also while the host goes down;
    /// called from threads of caches.
    virtual void UpdateCommands() = 0;
    /// 7. Writes the scene for a machine: a .TavAMX for the formats 1 to 5, an XML scene description for 6 to 8.
    /// \throws TavAM::FileError; VexlorCore::SceneClosed.
    virtual void SaveProcessorInput(VexlorCore::DataSet* ip_data_set, std::int32_t i_format,
                                    const std::filesystem::path& i_path) = 0;
    /// 8. Lets the host bring pending edits of the scene to an end, so that the parts may be sent as they are. For
    /// whoever needs it before an operation on the scene; the commands of printers do not. False: the user declined.
    /// \throws VexlorCore::SceneClosed.
    virtual bool PrepareScene(VexlorCore::DataSet* ip_data_set) = 0;
    /// 9. Takes the files of a machine into the scene.
    /// \param i_import_kind 1 whole platform: parts are matched by revision id and replaced, unknown ones added, the
    ///        scene's others stay; 2 placements; 3 properties of platform and parts; 4 strategies; 5 additional parts,
    ///        also from mesh files. The scene's attachment to a machine stays as it is.
    /// \param i_on_platform_loaded called on the UI thread for each platform after it was taken in; may be empty.
    /// \param i_options 0; reserved.
    /// \throws TavAM::FileError; VexlorCore::SceneClosed; VexlorCore::JobCancelled when the user cancelled while mesh
    ///         files were read. The scene is then unchanged.
    virtual void LoadProcessorFiles(VexlorCore::DataSet* ip_data_set, const std::vector<std::wstring>& i_files,
                                    const std::int32_t& i_import_kind,
                                    std::function<void(std::shared_ptr<TavAM::Platform>)> i_on_platform_loaded,
                                    std::int32_t i_options) = 0;
    /// 10. Opens documents or machine files beside the scene. The files go when the call returns: the host copies them.
    virtual void OpenProcessorFiles(VexlorCore::DataSet* ip_data_set, const std::vector<std::wstring>& i_files) = 0;
    /// 11. Loads a platform file into a scene that takes over its platform as a whole.
    /// \param i_on_scene_loaded, i_on_platform_loaded called on the UI thread, in this order, with the scene and its
    /// platform as they are then; may be empty. When one of them throws, the scene is as it was.
    /// \param i_show_progress under a progress display with the title.
    /// \param i_keep_parts the scene's parts stay.
    /// \throws VexlorCore::JobCancelled when the user cancelled there; TavAM::FileError; VexlorCore::SceneClosed.
    virtual void LoadPlatformFile(VexlorCore::DataSet* ip_data_set, std::int32_t i_format,
                                  const std::vector<std::wstring>& i_files, const QString& i_progress_title,
                                  VexlorCore::ApiProviderGetter i_api_provider,
                                  std::function<void(VexlorCore::DataSet*)> i_on_scene_loaded,
                                  std::function<void(std::shared_ptr<TavAM::Platform>)> i_on_platform_loaded,
                                  bool i_show_progress, bool i_keep_parts) = 0;
    /// 12. Whether a job runs, of whichever command: no other one can begin then. A host that does not tell says no.
    /// Thread: any.
    virtual bool IsJobRunning() const { return false; }
};
