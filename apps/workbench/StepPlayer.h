#pragma once

#include <QObject>
#include <QStringList>
#include <QTimer>

#include <chrono>
#include <functional>

namespace Workbench {

class MainWindow;

/// Plays steps on the window as a user would go them, one after another: each begins when the window is at rest.
///
/// Thread: UI thread.
/// Ownership: the window must outlive it.
class StepPlayer final : public QObject
{
    Q_OBJECT

public:
    /// \param i_steps as CommandLine's help tells; empty lines and those that begin with # are left out.
    StepPlayer(MainWindow& io_window, QStringList i_steps);
    void Start();

    /// Draws the window with the dialogs over it.
    /// \return why that failed, one sentence; empty when it is there.
    static QString WritePicture(MainWindow& i_window, const QString& i_file);
    /// What draws the plate; empty while no scene is open.
    static QString GetBackend(MainWindow& i_window);

Q_SIGNALS:
    void Finished();
    /// One sentence; nothing more is played.
    void Failed(const QString& i_sentence);

private:
    void _Turn();
    /// Files are read, jobs have ended, commands have their answers, the plate is drawn.
    bool _IsAtRest() const;
    /// \return what is wrong with the step.
    QString _Play(const QString& i_step);
    template <class Work>
    QString _Later(Work i_work);
    QString _Attach(const QString& i_name);
    QString _RunCommand(const QString& i_words);
    QString _ShowTab(const QString& i_number);
    QString _Select(const QString& i_number);
    QString _Search(const QString& i_words);
    QString _Resize(const QString& i_size);
    QString _AnswerDialog(bool i_accept);

    MainWindow& _window;
    QStringList _steps;
    QTimer _timer;
    std::chrono::steady_clock::time_point _since;
    int _quietTurns = 0;
    bool _waits = true; ///< for rest, before the next step
    bool _isPlaying = false;
};

} // namespace Workbench
