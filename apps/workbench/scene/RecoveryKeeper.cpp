#include "workbench/scene/RecoveryKeeper.h"

#include "workbench/scene/SceneBook.h"

#include "tavam/AMXFileWriter.h"
#include "tavsdk/Path.h"

#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QSettings>
#include <QUuid>

namespace Workbench {

namespace {

Q_LOGGING_CATEGORY(log, "machineservice.workbench.recovery")

const QString LockName = QStringLiteral("lock");
const QString Ending = QStringLiteral(".TavAMX");

std::unique_ptr<QLockFile> TryLock(const QString& i_folder)
{
    auto lock = std::make_unique<QLockFile>(i_folder + QLatin1Char('/') + LockName);
    // Stale is only what no living process holds, however long that one takes.
    lock->setStaleLockTime(0);
    return lock->tryLock() ? std::move(lock) : nullptr;
}

QString GetNotesFile(const QString& i_copy)
{
    return i_copy.chopped(Ending.size()) + QStringLiteral(".ini");
}

} // namespace

RecoveryKeeper::RecoveryKeeper(SceneBook& io_book, const QString& i_folder, std::chrono::milliseconds i_pause)
    : _book(io_book)
    , _parent(i_folder)
    , _folder(i_folder + QLatin1Char('/') + QUuid::createUuid().toString(QUuid::WithoutBraces))
{
    _pause.setSingleShot(true);
    _pause.setInterval(i_pause);
    connect(&_pause, &QTimer::timeout, this, &RecoveryKeeper::_Write);
    connect(&_book, &SceneBook::Changed, this, &RecoveryKeeper::_Follow);
    connect(&_book, &SceneBook::Closing, this, &RecoveryKeeper::_Forget);
}

RecoveryKeeper::~RecoveryKeeper()
{
    disconnect(&_book, nullptr, this, nullptr);
    Remove(_atEnd);
    // What is being written would come after its folder went.
    _background.reset();
    if (!_lock)
        return;
    _lock.reset();
    QDir(_folder).removeRecursively();
}

std::vector<LeftScene> RecoveryKeeper::TakeLeft()
{
    std::vector<LeftScene> left;
    for (const QString& run : QDir(_parent).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString folder = _parent + QLatin1Char('/') + run;
        auto lock = folder == _folder ? nullptr : TryLock(folder);
        if (!lock)
            continue;
        const QStringList copies = QDir(folder).entryList({QLatin1Char('*') + Ending}, QDir::Files);
        for (const QString& name : copies) {
            const QString copy = folder + QLatin1Char('/') + name;
            const QSettings notes(GetNotesFile(copy), QSettings::IniFormat);
            left.push_back({copy, notes.value(QStringLiteral("name")).toString(),
                            notes.value(QStringLiteral("file")).toString(), folder});
        }
        if (copies.isEmpty()) {
            lock.reset();
            QDir(folder).removeRecursively();
        } else {
            _taken.push_back(std::move(lock));
        }
    }
    return left;
}

void RecoveryKeeper::Remove(const std::vector<LeftScene>& i_left)
{
    for (const LeftScene& scene : i_left)
        QDir(scene.folder).removeRecursively();
}

void RecoveryKeeper::KeepNow()
{
    _pause.stop();
    _Write();
}

void RecoveryKeeper::_Follow(VexlorCore::DataSet* ip_scene)
{
    if (_book.IsSaved(*ip_scene))
        return _Forget(ip_scene);
    _changed.insert(ip_scene);
    if (!_pause.isActive())
        _pause.start();
}

void RecoveryKeeper::_Forget(const VexlorCore::DataSet* ip_scene)
{
    _changed.erase(ip_scene);
    const auto copy = _copies.find(ip_scene);
    if (copy == _copies.end())
        return;
    QFile::remove(copy->second);
    QFile::remove(GetNotesFile(copy->second));
    _copies.erase(copy);
}

bool RecoveryKeeper::_TryMakeFolder()
{
    if (_lock)
        return true;
    if (QDir().mkpath(_folder)) {
        QFile::setPermissions(_folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        _lock = TryLock(_folder);
    }
    if (!_lock && !std::exchange(_hasWarned, true))
        qCWarning(log, "Scenes are not kept for recovery: '%s' cannot be written.", qUtf8Printable(_parent));
    return _lock != nullptr;
}

void RecoveryKeeper::_Write()
{
    if (_changed.empty() || !_TryMakeFolder())
        return;
    for (const VexlorCore::DataSet* const scene : std::exchange(_changed, {})) {
        QString& copy = _copies[scene];
        if (copy.isEmpty())
            copy = _folder + QLatin1Char('/') + QUuid::createUuid().toString(QUuid::WithoutBraces) + Ending;
        const auto write = [copy, platform = scene->GetPlatform(), name = _book.GetName(*scene),
                            file = SceneBook::GetFile(*scene)](const std::stop_token&) {
            {
                // First, so that no copy is without.
                QSettings notes(GetNotesFile(copy), QSettings::IniFormat);
                notes.setValue(QStringLiteral("name"), name);
                notes.setValue(QStringLiteral("file"), file);
            }
            TavAM::AMXFileWriter().WriteFile(TavSDK::PathFromUtf8(copy.toUtf8().toStdString()), platform);
            return copy;
        };
        _background->Run(
            write,
            [this](const QString& i_copy) {
                // Saved or closed while it was written.
                for (const auto& [known, kept] : _copies) {
                    if (kept == i_copy)
                        return;
                }
                QFile::remove(i_copy);
                QFile::remove(GetNotesFile(i_copy));
            },
            [](const QString& i_why) {
                qCWarning(log, "A scene could not be kept for recovery: %s", qUtf8Printable(i_why));
            });
    }
}

} // namespace Workbench
