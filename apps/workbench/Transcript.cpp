#include "Transcript.h"

#include <cstdio>
#include <stdexcept>
#include <system_error>

namespace Workbench {

Transcript::Transcript(const std::filesystem::path& i_folder)
    : _path(i_folder / "transcript.txt")
{
    std::error_code error;
    std::filesystem::create_directories(i_folder, error);
    if (error)
        throw std::runtime_error("The folder '" + i_folder.string() + "' cannot be made: " + error.message() + ".");
    _file = std::make_unique<QTemporaryFile>(QString::fromStdString((i_folder / "transcript-XXXXXX.tmp").string()));
    if (!_file->open())
        throw std::runtime_error("The folder '" + i_folder.string() +
                                 "' cannot be written to: " + _file->errorString().toStdString() + ".");
}

Transcript::~Transcript() = default;

void Transcript::Line(const QString& i_text)
{
    const QByteArray text = i_text.toUtf8() + '\n';
    std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stdout);
    std::fflush(stdout);
    _Write(i_text);
}

void Transcript::Error(const QString& i_text)
{
    const QByteArray text = i_text.toUtf8() + '\n';
    std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stderr);
    _Write(i_text);
}

void Transcript::_Write(const QString& i_text)
{
    _file->write(i_text.toUtf8() + '\n');
}

void Transcript::Keep()
{
    // Whether everything arrived shows in flush only: a full disk is not noticed by the writes before.
    if (!_file->flush() || _file->error() != QFile::NoError)
        throw std::runtime_error("'" + _path.string() + "' cannot be written: " + _file->errorString().toStdString() +
                                 ".");
    std::error_code error;
    std::filesystem::rename(_file->fileName().toStdString(), _path, error);
    if (error)
        throw std::runtime_error("'" + _path.string() + "' cannot be written: " + error.message() + ".");
    _file->setAutoRemove(false);
}

} // namespace Workbench
