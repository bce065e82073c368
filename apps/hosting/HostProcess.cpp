#include "hosting/HostProcess.h"

#include "hosting/HostingError.h"
#include "hosting/InterruptWatcher.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QTextCodec>

#include <csignal>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace Hosting {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Hosting::HostProcess)
};

extern "C" void IgnoreSignal(int) {}

} // namespace

void HostProcess::Prepare()
{
    // The wrong way round, so that their use fails as that of a closed stream does.
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0)
            open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
    // A handler and not SIG_IGN, which programs that are started would inherit.
    struct sigaction ignore = {};
    ignore.sa_handler = IgnoreSignal;
    ignore.sa_flags = SA_RESTART;
    sigaction(SIGPIPE, &ignore, nullptr);
    sigaction(SIGXFSZ, &ignore, nullptr);
    InterruptWatcher::CatchSignals();

    // A path's bytes are UTF-8 in every locale, for arguments, variables and file names of Qt as well.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
}

HostProcess::HostProcess()
{
    Prepare();
    std::error_code error;
    auto parent = std::filesystem::temp_directory_path(error);
    if (!error)
        parent = std::filesystem::absolute(parent, error);
    if (error)
        throw HostingError(Texts::tr("The folder for temporary files cannot be used: %1.")
                               .arg(QString::fromStdString(error.message())));
    _temporary.emplace(parent, "machineservice-run-");
    qputenv("TMPDIR", QByteArray::fromStdString(_temporary->GetPath().string()));
    // Without one, Qt warns and leaves a folder of its own among the temporary files.
    if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR"))
        qputenv("XDG_RUNTIME_DIR", qgetenv("TMPDIR"));
}

} // namespace Hosting
