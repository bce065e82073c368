#include "hosting/HostProcess.h"
#include "hosting/Translations.h"
#include "machinectl/Program.h"

#include <QCoreApplication>

#include <cstdio>
#include <exception>

int main(int i_argc, char** ip_argv)
{
    try {
        Hosting::HostProcess::Prepare();
        QCoreApplication application(i_argc, ip_argv);
        QCoreApplication::setApplicationName(QStringLiteral("machinectl"));
        QCoreApplication::setApplicationVersion(QStringLiteral(MACHINECTL_VERSION));
        Hosting::InstallTranslations(QStringLiteral("machinectl"));
        return MachineCtl::RunProgram(QCoreApplication::arguments());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return MachineCtl::Failed;
    }
}
