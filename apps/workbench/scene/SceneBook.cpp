#include "workbench/scene/SceneBook.h"

#include "workbench/scene/FreePlaces.h"

#include "hosting/Host.h"

#include "machineconfig/CarriedMachineConfiguration.h"
#include "tavam/AMXFileReader.h"
#include "tavam/AMXFileWriter.h"
#include "tavsdk/Path.h"
#include "vexlorcore/Application.h"
#include "vexlorcore/Database.h"
#include "vexlorcore/meshimport/MeshImporter.h"

#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>

#include <algorithm>
#include <iterator>

namespace Workbench {

namespace {

Q_LOGGING_CATEGORY(log, "machineservice.workbench.scenes")

using VexlorCore::DataSet;

/// Where there is no printer yet.
constexpr MachineService::BuildVolume DefaultVolume{0, 0, 200, 200, 200, false};

std::filesystem::path ToPath(const QString& i_file)
{
    return TavSDK::PathFromUtf8(i_file.toUtf8().toStdString());
}

/// Unlike canonicalFilePath also of a file that is not there.
QString ToFullName(const QString& i_file)
{
    return QDir::cleanPath(QFileInfo(i_file).absoluteFilePath());
}

} // namespace

SceneBook::SceneBook(Hosting::Host& io_host, Preferences& io_preferences, QObject* ip_parent)
    : QObject(ip_parent)
    , _host(io_host)
    , _preferences(io_preferences)
    , _history(*VexlorCore::Application::GetInstance())
{
    io_host.GetDatabase().AddListener(this);
    StartListening();
    connect(&_history, &SceneHistory::Changed, this, &SceneBook::Changed);
    connect(&_background, &Background::PendingChanged, this,
            [this](int i_pending) { Q_EMIT BusyChanged(i_pending > 0); });
}

std::vector<DataSet*> SceneBook::GetScenes() const
{
    return _host.GetDatabase().GetDataSets();
}

DataSet* SceneBook::GetActive() const
{
    return _host.GetDatabase().GetActiveDataSet();
}

void SceneBook::SetActive(DataSet* ip_scene)
{
    if (!ip_scene || _host.GetDatabase().Contains(ip_scene))
        _host.GetDatabase().SetActiveDataSet(ip_scene);
}

QString SceneBook::GetFile(const DataSet& i_scene)
{
    return QString::fromStdWString(i_scene.GetFileName());
}

QString SceneBook::GetName(const DataSet& i_scene) const
{
    if (const QString file = GetFile(i_scene); !file.isEmpty())
        return QFileInfo(file).completeBaseName();
    const auto number = _numbers.find(&i_scene);
    return number == _numbers.end() ? tr("Scene") : tr("Scene %1").arg(number->second);
}

MachineService::BuildVolume SceneBook::GetVolume(DataSet& io_scene) const
{
    const auto machine = _host.GetClient().TryGetPrinter(&io_scene);
    const auto volume = machine ? machine->GetMachineData().buildVolume : std::nullopt;
    return volume.value_or(DefaultVolume);
}

void SceneBook::_Add(DataSet& io_scene, TavAM::Platform i_platform, const QString& i_file)
{
    io_scene.SetPlatform(std::move(i_platform));
    io_scene.SetFileName(i_file.toStdWString());
    if (i_file.isEmpty())
        _numbers[&io_scene] = ++_lastNumber;
    Q_EMIT Added(&io_scene);
    SetActive(&io_scene);
    // What getting active writes into a scene, such as its machine's time, is no change of the user's.
    if (_host.GetDatabase().Contains(&io_scene))
        _history.SetSaved(io_scene, GetFingerprint(io_scene.GetPlatform()));
}

DataSet& SceneBook::New()
{
    DataSet& scene = *_host.GetDatabase().CreateDataSet();
    _Add(scene, TavAM::Platform(), QString());
    return scene;
}

void SceneBook::Copy(DataSet& io_scene)
{
    DataSet* const copy = _host.GetDatabase().CopyDataSet(&io_scene);
    if (!copy)
        return;
    _Add(*copy, TavAM::Platform(copy->GetPlatform()), QString());
    // Nobody has saved it yet.
    _history.SetSaved(*copy, 0);
}

void SceneBook::Close(DataSet& io_scene)
{
    auto scenes = GetScenes();
    const auto place = std::find(scenes.begin(), scenes.end(), &io_scene);
    // The neighbour before it goes, so that there is one change of what is active.
    if (GetActive() == &io_scene && scenes.size() > 1)
        SetActive(place + 1 == scenes.end() ? *(place - 1) : *(place + 1));
    _host.GetDatabase().CloseDataSet(&io_scene);
}

void SceneBook::Open(const QString& i_file)
{
    const QString file = ToFullName(i_file);
    for (DataSet* const scene : GetScenes()) {
        if (GetFile(*scene) == file)
            return SetActive(scene);
    }
    // Asked for again while it is read.
    if (_reading.contains(file))
        return;
    _reading.insert(file);
    _Read(file, [this, file](TavAM::Platform i_platform) {
        _Add(*_host.GetDatabase().CreateDataSet(), std::move(i_platform), file);
        _preferences.AddRecentFile(file);
    });
}

void SceneBook::Recover(const QString& i_copy, const QString& i_file)
{
    _Read(i_copy, [this, i_file](TavAM::Platform i_platform) {
        DataSet& scene = *_host.GetDatabase().CreateDataSet();
        _Add(scene, std::move(i_platform), i_file);
        _history.SetSaved(scene, 0);
    });
}

void SceneBook::_Read(const QString& i_file, std::function<void(TavAM::Platform)> i_done)
{
    _background.Run(
        [i_file](const std::stop_token& i_stop) {
            TavAM::Database database;
            TavAM::AMXFileReader::Read(ToPath(i_file), database, i_stop);
            if (database.GetNumPlatforms() != 1)
                throw std::runtime_error(tr("'%1' holds %2 platforms; a scene takes one.")
                                             .arg(i_file)
                                             .arg(database.GetNumPlatforms())
                                             .toStdString());
            return std::move(*database.GetPlatform(0));
        },
        [this, i_file, done = std::move(i_done)](TavAM::Platform i_platform) {
            _reading.remove(i_file);
            done(std::move(i_platform));
        },
        [this, i_file](const QString& i_sentence) {
            _reading.remove(i_file);
            Q_EMIT Failed(i_sentence);
        });
}

void SceneBook::Save(DataSet& io_scene, const QString& i_file, std::function<void()> i_done)
{
    const QString file = ToFullName(i_file);
    try {
        MachineService::Utilities::UpdateMachineConfiguration(&io_scene);
    } catch (const std::exception& failure) {
        // The scene is worth more than what its machine is prepared with.
        qCWarning(log, "The scene is saved without its machine's configuration: %s", failure.what());
    }
    const auto platform = io_scene.GetPlatform();
    const std::uint64_t fingerprint = GetFingerprint(platform);
    _background.Run(
        [file, platform](const std::stop_token&) {
            TavAM::AMXFileWriter().WriteFile(ToPath(file), platform);
            return true;
        },
        [this, weak = io_scene.weak_from_this(), file, fingerprint, done = std::move(i_done)](bool) {
            _preferences.AddRecentFile(file);
            if (const auto scene = weak.lock(); scene && _host.GetDatabase().Contains(scene.get())) {
                scene->SetFileName(file.toStdWString());
                // What was changed meanwhile is not in the file.
                _history.SetSaved(*scene, fingerprint);
            }
            if (done)
                done();
        },
        [this](const QString& i_sentence) { Q_EMIT Failed(i_sentence); });
}

void SceneBook::Import(DataSet& io_scene, const QStringList& i_files)
{
    _background.Run(
        [i_files](const std::stop_token& i_stop) {
            std::vector<ImportedFile> files;
            for (const QString& file : i_files)
                files.push_back({file, VexlorCore::ImportMeshFile(ToPath(ToFullName(file)), i_stop)});
            // Measured here, the boxes are known where the parts are placed and shown.
            for (const ImportedFile& file : files)
                GetSize(file.parts);
            return files;
        },
        [this, weak = io_scene.weak_from_this()](std::vector<ImportedFile> i_read) {
            if (const auto scene = weak.lock(); scene && _host.GetDatabase().Contains(scene.get()))
                _TakeIn(*scene, std::move(i_read));
        },
        [this](const QString& i_sentence) { Q_EMIT Failed(i_sentence); });
}

void SceneBook::_TakeIn(DataSet& io_scene, std::vector<ImportedFile> i_files)
{
    const std::weak_ptr<DataSet> weak = io_scene.weak_from_this();
    std::vector<TavAM::Part> parts;
    for (ImportedFile& file : i_files) {
        const auto choices = GetUnitChoices(file);
        const auto factor = choices.empty() ? 1.0 : _askUnit ? _askUnit(file, choices) : choices.front();
        if (!factor)
            continue;
        if (*factor != 1)
            Scale(file.parts, *factor);
        std::move(file.parts.begin(), file.parts.end(), std::back_inserter(parts));
    }
    const double scale = weak.expired() ? 1 : GetFittingScale(parts, GetVolume(io_scene));
    if (scale < 1 && _askScale && _askScale(parts, scale))
        Scale(parts, scale);
    // Questions turn the event loop.
    const auto scene = weak.lock();
    if (!scene || !_host.GetDatabase().Contains(scene.get()) || parts.empty())
        return;
    std::vector<TavAM::BoundingBox> taken;
    for (const TavAM::Part& part : scene->GetParts())
        taken.push_back(part.GetBoundingBox());
    PlaceBeside(taken, parts, GetVolume(*scene));

    std::vector<boost::uuids::uuid> ids;
    for (const TavAM::Part& part : parts)
        ids.push_back(part.GetRevisionId());
    VexlorCore::Application::GetInstance()->GetOperationManager()->Execute(
        tr("Import parts").toStdWString(), static_cast<std::uint32_t>(VexlorCore::DatabaseAction::PartsAdded),
        [&] {
            auto& all = scene->GetParts();
            all.insert(all.end(), parts.begin(), parts.end());
        },
        [weak, ids] {
            const auto open = weak.lock();
            if (!open)
                return;
            auto platform = open->GetPlatform();
            std::erase_if(platform.GetParts(), [&](const TavAM::Part& i_part) {
                return std::find(ids.begin(), ids.end(), i_part.GetRevisionId()) != ids.end();
            });
            open->SetPlatform(std::move(platform));
        });
    scene->SetSelection(ids);
    VexlorCore::Application::GetInstance()->Invalidate3d();
    Q_EMIT Imported(scene.get(), static_cast<int>(ids.size()));
}

void SceneBook::Take(const QStringList& i_files)
{
    QStringList meshes;
    for (const QString& file : i_files) {
        if (IsPlatformFile(file))
            Open(file);
        else if (IsMeshFile(file))
            meshes << file;
        else
            Q_EMIT Failed(tr("'%1' is no file that can be opened here: platforms (.TavAMX) and meshes (%2) are.")
                              .arg(file, QString::fromStdString(VexlorCore::ListMeshFormats())));
    }
    if (!meshes.isEmpty())
        Import(GetActive() ? *GetActive() : New(), meshes);
}

bool SceneBook::IsPlatformFile(const QString& i_file)
{
    return i_file.endsWith(QLatin1String(".TavAMX"), Qt::CaseInsensitive);
}

bool SceneBook::IsMeshFile(const QString& i_file)
{
    const auto& endings = VexlorCore::GetMeshFileEndings();
    const auto ending = '.' + QFileInfo(i_file).suffix().toLower().toStdString();
    return std::find(endings.begin(), endings.end(), ending) != endings.end();
}

void SceneBook::ExecuteSelf(const VexlorCore::INotification& i_notification)
{
    if (const auto* const closing = dynamic_cast<const VexlorCore::DataSetClosing*>(&i_notification)) {
        _numbers.erase(closing->GetDataSet());
        Q_EMIT Closing(closing->GetDataSet());
    } else if (dynamic_cast<const VexlorCore::DataSetActivated*>(&i_notification)) {
        Q_EMIT ActiveChanged(GetActive());
    } else if (const auto* const about = dynamic_cast<const VexlorCore::BPQueueChanged*>(&i_notification)) {
        _history.Look(*about->GetDataSet());
        Q_EMIT Changed(about->GetDataSet());
    }
}

} // namespace Workbench
