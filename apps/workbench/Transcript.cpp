#include "Transcript.h"

#include <QCoreApplication>

#include <cstdio>
#include <stdexcept>
#include <system_error>

namespace Workbench {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Workbench::Transcript)
};

} // namespace

Transcript::Transcript(const std::filesystem::path& i_folder)
    : _path(i_folder / "transcript.txt")
{
    std::error_code error;
    std::filesystem::create_directories(i_folder, error);
    if (error)
        throw std::runtime_error(
            Texts::tr("The folder '%1' cannot be made: %2.")
                .arg(QString::fromStdString(i_folder.string()), QString::fromStdString(error.message()))
                .toStdString());
    _file = std::make_unique<QTemporaryFile>(QString::fromStdString((i_folder / "transcript-XXXXXX.tmp").string()));
    if (!_file->open())
        throw std::runtime_error(Texts::tr("The folder '%1' cannot be written to: %2.")
                                     .arg(QString::fromStdString(i_folder.string()), _file->errorString())
                                     .toStdString());
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
        throw std::runtime_error(Texts::tr("'%1' cannot be written: %2.")
                                     .arg(QString::fromStdString(_path.string()), _file->errorString())
                                     .toStdString());
    std::error_code error;
    std::filesystem::rename(_file->fileName().toStdString(), _path, error);
    if (error)
        throw std::runtime_error(
            Texts::tr("'%1' cannot be written: %2.")
                .arg(QString::fromStdString(_path.string()), QString::fromStdString(error.message()))
                .toStdString());
    _file->setAutoRemove(false);
}

} // namespace Workbench
