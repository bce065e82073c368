#pragma once

#include <QAbstractTableModel>
#include <QDateTime>
#include <QElapsedTimer>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <vector>

namespace Workbench {

/// The running job and those that ran since the start, the newest first.
///
/// Thread: UI thread. Order: Begin, SetProgress any number of times, End; one job at a time.
class JobList final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum class State
    {
        Running,
        Cancelling,
        Done,
        Cancelled,
        Failed,
    };
    enum Column
    {
        TitleColumn,
        MachineColumn,
        StateColumn,
        TimeColumn,
        ColumnCount,
    };
    struct Entry
    {
        QString title;
        QString machine;
        QString scene;
        State state = State::Running;
        QDateTime begun;
        qint64 milliseconds = 0;
        int percent = 0; ///< never falls
        QString stage;
        QStringList failures; ///< what the boxes said
        QStringList files;    ///< documents and machine files that it left
    };

    explicit JobList(QObject* ip_parent = nullptr);

    void Begin(const QString& i_title, const QString& i_machine, const QString& i_scene);
    void SetProgress(int i_percent, const QString& i_stage);
    /// The user asked the running job to stop; it says so at once.
    void SetCancelling();
    void AddFailure(const QString& i_text);
    void AddFile(const QString& i_file);
    /// A job that failed after it was asked to stop counts as cancelled.
    void End(bool i_is_done);

    bool IsRunning() const { return !_entries.empty() && _IsOpen(_entries.front()); }
    bool IsCancelling() const { return !_entries.empty() && _entries.front().state == State::Cancelling; }
    /// The newest; null before the first one.
    const Entry* GetNewest() const { return _entries.empty() ? nullptr : &_entries.front(); }
    const Entry* GetEntry(int i_row) const;
    /// Everything about one job as text, for the clipboard.
    QString Describe(int i_row) const;
    static QString GetStateName(const Entry& i_entry);
    static QString GetDuration(const Entry& i_entry);

    int rowCount(const QModelIndex& i_parent = {}) const override;
    int columnCount(const QModelIndex& i_parent = {}) const override;
    QVariant data(const QModelIndex& i_index, int i_role) const override;
    QVariant headerData(int i_section, Qt::Orientation i_orientation, int i_role) const override;

Q_SIGNALS:
    /// The running job, or that none runs any more.
    void NewestChanged();
    void Begun();
    void Ended();

private:
    static bool _IsOpen(const Entry& i_entry)
    {
        return i_entry.state == State::Running || i_entry.state == State::Cancelling;
    }
    void _Tell();

    std::vector<Entry> _entries; ///< the newest first
    QElapsedTimer _clock;
    QTimer _tick;
};

} // namespace Workbench
