#pragma once

#include <QFile>
#include <QString>

#include <filesystem>
#include <functional>

namespace Tour {

/// Prints each step as it happens and writes the same lines to a file.
///
/// Thread: UI thread.
/// Errors: lines never throw. That standard output takes no more is told once to a handler; that the file does not
/// shows in Finish().
class Transcript
{
public:
    /// \throws HostingError when the file cannot be made.
    explicit Transcript(const std::filesystem::path& i_file);

    void SetOutputFailureHandler(std::function<void()> i_handler) { _onOutputFailure = std::move(i_handler); }

    void Line(const QString& i_text);
    /// To standard error, and to the file.
    void Error(const QString& i_text);
    /// The lines are in the file, also after a power cut.
    /// \throws HostingError with the reason.
    void Finish();

    /// One sentence; empty while standard output takes what is printed.
    const QString& GetOutputFailure() const { return _outputFailure; }

private:
    QFile _file;
    QString _outputFailure;
    std::function<void()> _onOutputFailure;
};

} // namespace Tour
