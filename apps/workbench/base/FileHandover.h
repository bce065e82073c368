#pragma once

#include <QLocalServer>
#include <QObject>
#include <QString>
#include <QStringList>

namespace Workbench {

/// A later start hands its files to the window that runs already, of the same user.
///
/// Thread: UI thread.
class FileHandover final : public QObject
{
    Q_OBJECT

public:
    explicit FileHandover(QObject* ip_parent = nullptr);

    /// Before there is a window: waits a moment for the one that runs.
    /// \param i_files full paths; none only brings that window to the front.
    /// \return false when none runs, or it does not take them.
    static bool Send(const QString& i_name, const QStringList& i_files);
    /// From now on this window takes them. \return false when that is not possible; the window works on without.
    bool Listen(const QString& i_name);

Q_SIGNALS:
    void Arrived(const QStringList& i_files);

private:
    void _Take();

    QLocalServer _server;
};

} // namespace Workbench
