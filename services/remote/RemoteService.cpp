#include "remote/RemoteService.h"

#include "contract/Failure.h"
#include "remote/StatusTrouble.h"
#include "remote/trust/Fingerprint.h"
#include "tavsdk/Text.h"
#include "wire/Conversions.h"

#include <QLocale>

namespace MachineService::Remote {

namespace {

constexpr std::size_t MaxLanguages = 10;

std::string ReadPin(const ServiceEndpoint& i_endpoint)
{
    if (i_endpoint.pin.empty())
        return {};
    if (const auto pin = ReadFingerprint(i_endpoint.pin))
        return *pin;
    Fail(ErrorCode::InternalError, "The pin of the machine service at " + TavSDK::Quote(i_endpoint.address, 300) +
                                       " is no fingerprint: give the SHA-256 of its certificate, 64 hexadecimal "
                                       "digits.");
}

/// Of the program's texts. Asked for by whoever makes the catalog, because a program may change its language, on the
/// same thread.
std::vector<std::string> GetLanguages()
{
    std::vector<std::string> languages;
    const auto all = QLocale().uiLanguages();
    for (const QString& language : all) {
        // A locale may have no language at all, such as "C".
        auto text = language.toStdString();
        if (languages.size() < MaxLanguages && Wire::IsLanguageTag(text))
            languages.push_back(std::move(text));
    }
    return languages;
}

} // namespace

RemoteService::RemoteService(const ServiceEndpoint& i_endpoint, std::filesystem::path i_jobs_dir,
                             std::filesystem::path i_pin_file)
    : address(ParseServiceAddress(i_endpoint.address))
    , authorityFile(i_endpoint.authorityFile)
    , pin(ReadPin(i_endpoint))
    , jobsDir(std::move(i_jobs_dir))
    , languages(GetLanguages())
    , pins(std::move(i_pin_file))
{}

void RemoteService::Close()
{
    stop.request_stop();
    workers.Close();
    watchdog.Close();
}

void RemoteService::ThrowIfClosed() const
{
    if (IsClosed())
        throw TroubleException(Trouble::GoingDown, address);
}

std::shared_ptr<Connection> RemoteService::GetConnection() const
{
    ThrowIfClosed();
    if (auto connection = link.Get())
        return connection;
    const auto loss = link.GetLoss();
    if (loss && !loss->sentence.empty())
        Fail(ErrorCode::InternalError, loss->sentence);
    throw TroubleException(Trouble::NoAnswer, address);
}

void RemoteService::Check(const grpc::Status& i_status, const grpc::ClientContext& i_context,
                          const std::stop_token& i_caller, bool i_was_idle) const
{
    if (i_status.ok())
        return;
    ThrowIfClosed();
    if (i_caller.stop_requested())
        throw CommunicationException(ErrorCode::ProcessingAborted);
    if (i_was_idle)
        throw TroubleException(Trouble::NoAnswer, address);
    ThrowFailure(i_status, i_context, address);
}

} // namespace MachineService::Remote
