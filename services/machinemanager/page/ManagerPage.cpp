#include "machinemanager/page/ManagerPage.h"

#include "machinemanager/page/Call.h"
#include "machinemanager/page/Routes.h"
#include "machinemanager/page/http/HttpServer.h"
#include "machinemanager/page/http/ListeningSocket.h"
#include "tavsdk/Mutex.h"
#include "tavsdk/Text.h"

#include <boost/uuid/uuid_io.hpp>

#include <algorithm>
#include <stdexcept>

namespace MachineService::MachineManager {

namespace {

/// What is between the scheme and the first slash of a public address.
/// \throws std::runtime_error with a sentence.
std::string FindAuthority(const std::string& i_address)
{
    constexpr std::string_view Scheme = "https://";
    const auto authority = i_address.starts_with(Scheme) ? i_address.substr(Scheme.size()) : std::string();
    const bool isGood = !authority.empty() && std::all_of(authority.begin(), authority.end(), [](char i_c) {
        return (i_c >= 'a' && i_c <= 'z') || (i_c >= '0' && i_c <= '9') ||
               std::string_view(".-:[]").find(i_c) != std::string_view::npos;
    });
    if (!isGood)
        throw std::runtime_error(
            "The public address of the page must be https://HOST or https://HOST:PORT in small letters, and is " +
            TavSDK::Quote(i_address, 200) + '.');
    return authority;
}

void Check(const ManagerPageOptions& i_options)
{
    if (i_options.certificate.empty() != i_options.key.empty())
        throw std::runtime_error(
            "The page has a certificate without a key, or a key without a certificate; it needs both.");
    if (i_options.port < 0 || IsLoopback(i_options.host))
        return;
    if (i_options.certificate.empty() || i_options.publicAddress.empty() || !i_options.admit)
        throw std::runtime_error("The page may be reached from other computers at " + i_options.host +
                                 " only with a certificate and its key, a public address, and tokens.");
}

} // namespace

struct ManagerPage::Impl
{
    Impl(JobDesk& io_desk, ManagerPageOptions i_options)
        : desk(io_desk)
        , options(std::move(i_options))
        , sessions(options.sessions)
    {}

    ServerOptions MakeServerOptions() const
    {
        ServerOptions made;
        made.connections = options.connections;
        made.log = options.log;
        return made;
    }
    std::unique_ptr<HttpServer> MakeServer(ServerOptions i_options)
    {
        return std::make_unique<HttpServer>(
            std::move(i_options), [this](const HttpRequest& i_request) { return Answer(*context, i_request); });
    }
    std::unique_ptr<PageContext> MakeContext(const HttpServer* ip_page);

    JobDesk& desk;
    const ManagerPageOptions options;
    Sessions sessions;
    EventStreams events;
    Figures figures;
    std::unique_ptr<const PageContext> context; ///< the same as long as there are servers

    mutable TavSDK::Mutex running; ///< held while it starts and stops; guards what follows
    std::string address TAVSDK_GUARDED_BY(running);
    std::shared_ptr<void> subscription TAVSDK_GUARDED_BY(running);
    std::unique_ptr<HttpServer> page TAVSDK_GUARDED_BY(running);
    std::unique_ptr<HttpServer> local TAVSDK_GUARDED_BY(running);
};

std::unique_ptr<PageContext> ManagerPage::Impl::MakeContext(const HttpServer* ip_page)
{
    auto made = std::make_unique<PageContext>(PageContext{desk, options, sessions, events, figures, {}, {}});
    if (!ip_page)
        return made;
    const auto port = ':' + std::to_string(ip_page->GetPort());
    const bool isSix = options.host.find(':') != std::string::npos;
    const auto host = isSix ? '[' + options.host + ']' : options.host;
    made->hosts = {host + port};
    if (IsLoopback(options.host))
        made->hosts.push_back("localhost" + port);
    made->address = (options.certificate.empty() ? "http://" : "https://") + host + port;
    if (!options.publicAddress.empty()) {
        made->address = options.publicAddress;
        made->hosts.push_back(FindAuthority(options.publicAddress));
    }
    return made;
}

ManagerPage::ManagerPage(JobDesk& io_desk, ManagerPageOptions i_options)
    : _impl(std::make_unique<Impl>(io_desk, std::move(i_options)))
{}

ManagerPage::~ManagerPage()
{
    Stop();
}

void ManagerPage::Start()
{
    auto& impl = *_impl;
    const TavSDK::MutexLock lock(impl.running);
    if (impl.page || impl.local)
        return;
    Check(impl.options);
    std::unique_ptr<HttpServer> page;
    std::unique_ptr<HttpServer> local;
    if (impl.options.port >= 0) {
        auto options = impl.MakeServerOptions();
        options.host = impl.options.host;
        options.port = impl.options.port;
        options.certificate = impl.options.certificate;
        options.key = impl.options.key;
        page = impl.MakeServer(std::move(options));
    }
    if (!impl.options.socket.empty()) {
        auto options = impl.MakeServerOptions();
        options.socket = impl.options.socket;
        local = impl.MakeServer(std::move(options));
    }
    impl.context = impl.MakeContext(page.get());
    impl.address = impl.context->address;
    impl.subscription =
        impl.desk.Subscribe([&events = impl.events](const boost::uuids::uuid& i_job) { events.Tell(i_job); });
    impl.page = std::move(page);
    impl.local = std::move(local);
    if (impl.page)
        impl.page->Start();
    if (impl.local)
        impl.local->Start();
}

void ManagerPage::Stop()
{
    auto& impl = *_impl;
    const TavSDK::MutexLock lock(impl.running);
    impl.local.reset();
    impl.page.reset();
    impl.subscription.reset();
    impl.address.clear();
}

std::string ManagerPage::GetAddress() const
{
    const TavSDK::MutexLock lock(_impl->running);
    return _impl->address;
}

int ManagerPage::GetPort() const
{
    const TavSDK::MutexLock lock(_impl->running);
    return _impl->page ? _impl->page->GetPort() : 0;
}

int ManagerPage::GetConnections() const
{
    const TavSDK::MutexLock lock(_impl->running);
    return (_impl->page ? _impl->page->GetConnections() : 0) + (_impl->local ? _impl->local->GetConnections() : 0);
}

JobListAddress ManagerPage::MakeJobAddress(const boost::uuids::uuid& i_job, const Actor& i_actor)
{
    const auto address = GetAddress();
    const auto end = address.find("://");
    if (end == std::string::npos)
        throw std::runtime_error(
            "This Machine Manager has no page. Its settings say that it listens at the socket only.");
    JobListAddress made;
    made.scheme = address.substr(0, end);
    made.host = address.substr(end + 3);
    made.path = i_job.is_nil() ? "/jobs" : "/jobs/" + to_string(i_job);
    made.query = "code=" + _impl->sessions.MakeCode(i_actor);
    return made;
}

} // namespace MachineService::MachineManager
