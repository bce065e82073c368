#include "machinectl/Session.h"

#include "client/interface/CommunicationException.h"
#include "core/ManagerLauncher.h"
#include "hosting/InterruptWatcher.h"
#include "hosting/PluginUtility.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <QCoreApplication>

namespace MachineCtl {

namespace {

using Hosting::JobsError;

constexpr std::uint64_t LongestToken = 4096;

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(MachineCtl::Session)
};

void StartOwnManager(const std::stop_token& i_stop)
{
    const auto utility = Hosting::MakePluginUtility(MachineService::ServiceId::MachineManager,
                                                    TavSDK::GetUserFolder(TavSDK::UserFolder::Data) / "machineservice");
    try {
        MachineService::EnsureManager(*utility, i_stop);
    } catch (const MachineService::CommunicationException& failure) {
        if (i_stop.stop_requested())
            throw Hosting::Interruption();
        throw JobsError(JobsError::Kind::NotReached, QString::fromUtf8(failure.what()));
    }
}

std::string ReadToken(const std::filesystem::path& i_file)
{
    try {
        auto token = TavSDK::ReadFile(i_file, LongestToken);
        const auto end = token.find_last_not_of(" \t\r\n");
        token.resize(end == std::string::npos ? 0 : end + 1);
        // A line of its own in the request would be another header.
        const bool isToken = !token.empty() && token.find_first_of("\r\n\t ") == std::string::npos;
        if (isToken)
            return token;
    } catch (const TavSDK::FileError& failure) {
        throw JobsError(JobsError::Kind::BadInput,
                        Texts::tr("The token in %1 cannot be read: %2.")
                            .arg(QString::fromStdString(TavSDK::Quote(TavSDK::ShowPath(i_file))),
                                 QString::fromUtf8(failure.what())));
    }
    throw JobsError(JobsError::Kind::BadInput,
                    Texts::tr("The file %1 holds no token; it has to hold one alone.")
                        .arg(QString::fromStdString(TavSDK::Quote(TavSDK::ShowPath(i_file)))));
}

} // namespace

Session::Session(const CommandLine& i_line, Console& io_console, std::stop_token i_stop)
    : _line(i_line)
    , _console(io_console)
    , _stop(std::move(i_stop))
{}

const Hosting::JobsClient& Session::GetClient()
{
    if (_client)
        return *_client;
    if (const auto address = _line.Get("address"); !address.empty()) {
        const auto file = _line.Get("token-file");
        _client.emplace(address, file.empty() ? std::string() : ReadToken(file), _stop);
    } else {
        StartOwnManager(_stop);
        _client.emplace(Hosting::GetOwnManagerAddress(), std::string(), _stop);
    }
    return *_client;
}

} // namespace MachineCtl
