#include "tour/Transcript.h"

#include "tour/Output.h"

#include "hosting/HostingError.h"
#include "hosting/ResultFiles.h"
#include "tavsdk/FileError.h"

#include <QCoreApplication>

#include <cerrno>

#include <unistd.h>

namespace Tour {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Tour::Transcript)
};

} // namespace

Transcript::Transcript(const std::filesystem::path& i_file)
    : _file(Hosting::FromPath(i_file))
{
    if (!_file.open(QIODevice::WriteOnly))
        throw Hosting::HostingError(Texts::tr("The folder '%1' cannot be written to: %2.")
                                        .arg(Hosting::FromPath(i_file.parent_path()), _file.errorString()));
}

void Transcript::Line(const QString& i_text)
{
    const QByteArray text = i_text.toUtf8() + '\n';
    _file.write(text);
    if (!_outputFailure.isEmpty())
        return;
    _outputFailure = Print(stdout, text);
    if (!_outputFailure.isEmpty() && _onOutputFailure)
        _onOutputFailure();
}

void Transcript::Error(const QString& i_text)
{
    const QByteArray text = i_text.toUtf8() + '\n';
    Print(stderr, text);
    _file.write(text);
}

void Transcript::Finish()
{
    // Whether everything arrived shows only now: a full disk is not noticed by the writes before.
    const bool isFlushed = _file.flush() && _file.error() == QFile::NoError;
    if (isFlushed && fsync(_file.handle()) == 0)
        return;
    const QString reason = isFlushed ? QString::fromStdString(TavSDK::ErrnoText(errno)) : _file.errorString();
    throw Hosting::HostingError(Texts::tr("'%1' cannot be written: %2.").arg(_file.fileName(), reason));
}

} // namespace Tour
