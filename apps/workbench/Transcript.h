#pragma once

#include <QString>
#include <QTemporaryFile>

#include <filesystem>
#include <memory>

namespace Workbench {

/// Prints each step as it happens and keeps the same lines for transcript.txt. Thread: UI thread.
class Transcript
{
public:
    /// \throws std::runtime_error when the folder cannot be made or written to.
    explicit Transcript(const std::filesystem::path& i_folder);
    ~Transcript();

    void Line(const QString& i_text);
    /// To standard error, and kept.
    void Error(const QString& i_text);
    /// Puts the lines into the folder as transcript.txt. Without it nothing is left behind.
    /// \throws std::runtime_error with the file and the reason.
    void Keep();

private:
    void _Write(const QString& i_text);

    std::filesystem::path _path;
    std::unique_ptr<QTemporaryFile> _file;
};

} // namespace Workbench
