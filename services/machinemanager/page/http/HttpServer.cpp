#include "machinemanager/page/http/HttpServer.h"

#include "machinemanager/page/http/HttpHead.h"
#include "machinemanager/page/http/ListeningSocket.h"
#include "machinemanager/page/http/Problem.h"
#include "tavsdk/StopExceptions.h"

#include <httplib.h>
#include <openssl/ssl.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <list>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace MachineService::MachineManager {

namespace {

constexpr std::size_t MostRequests = 1'000; // on one connection

using Context = std::unique_ptr<SSL_CTX, decltype(&::SSL_CTX_free)>;

Context MakeContext(const ServerOptions& i_options)
{
    Context context(nullptr, &::SSL_CTX_free);
    if (i_options.certificate.empty())
        return context;
    context.reset(::SSL_CTX_new(::TLS_server_method()));
    const bool isGood = context && ::SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) == 1 &&
                        ::SSL_CTX_use_certificate_chain_file(context.get(), i_options.certificate.c_str()) == 1 &&
                        ::SSL_CTX_use_PrivateKey_file(context.get(), i_options.key.c_str(), SSL_FILETYPE_PEM) == 1 &&
                        ::SSL_CTX_check_private_key(context.get()) == 1;
    if (!isGood)
        throw std::runtime_error("The certificate " + i_options.certificate.string() + " and the key " +
                                 i_options.key.string() +
                                 " of the page cannot be used: both must be PEM files that belong together.");
    ::SSL_CTX_set_mode(context.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    return context;
}

/// What the library reads a request from, and writes its answer to: the head was read and checked before.
class Exchange final : public httplib::Stream, public HttpStream
{
public:
    Exchange(ClientSocket& io_socket, const std::atomic<bool>& i_is_stopping)
        : _socket(io_socket)
        , _isStopping(i_is_stopping)
    {}

    std::string head;
    std::size_t headTaken = 0;
    bool hasUnreadBody = false;

    bool is_readable() const override { return true; }
    bool is_writable() const override { return !_isStopping; }
    ssize_t read(char* op_bytes, std::size_t i_count) override
    {
        if (headTaken < head.size()) {
            const auto count = std::min(i_count, head.size() - headTaken);
            std::memcpy(op_bytes, head.data() + headTaken, count);
            headTaken += count;
            return static_cast<ssize_t>(count);
        }
        return _socket.Read(op_bytes, i_count);
    }
    ssize_t write(const char* ip_bytes, std::size_t i_count) override
    {
        return _socket.Write({ip_bytes, i_count}) ? static_cast<ssize_t>(i_count) : -1;
    }
    void get_remote_ip_and_port(std::string&, int&) const override {}
    void get_local_ip_and_port(std::string&, int&) const override {}
    // The library compares it with the bound of select, which nobody here calls.
    socket_t socket() const override { return 0; }

    httplib::DataSink* sink = nullptr; ///< while a stream is written
    bool Write(std::string_view i_bytes) override { return sink->write(i_bytes.data(), i_bytes.size()); }
    bool Wait(int i_descriptor, std::chrono::milliseconds i_longest) override
    {
        return _socket.WaitFor(i_descriptor, i_longest) && !_isStopping;
    }

private:
    ClientSocket& _socket;
    const std::atomic<bool>& _isStopping;
};

/// The exchange that the thread is at; the library's handlers know requests only.
thread_local Exchange* mgp_exchange = nullptr;

/// Of the library only what reads and writes requests; it does not listen.
class Protocol final : public httplib::Server
{
public:
    Protocol(HttpHandler i_handler, const ServerOptions& i_options)
        : _handler(std::move(i_handler))
        , _options(i_options)
    {
        // Any number: the library takes it that it stops without one.
        svr_sock_ = 0;
        set_keep_alive_max_count(MostRequests);
        set_keep_alive_timeout(std::chrono::duration_cast<std::chrono::seconds>(i_options.patience.idle).count());
        set_pre_routing_handler([this](const httplib::Request& i_request, httplib::Response& o_response) {
            // Only these may carry a body; the library reads it for a handler of its own kind.
            const bool isWithBody =
                i_request.method == "POST" || i_request.method == "PUT" || i_request.method == "PATCH";
            if (isWithBody)
                return HandlerResponse::Unhandled;
            _Answer(i_request, o_response, nullptr);
            return HandlerResponse::Handled;
        });
        const auto answer = [this](const httplib::Request& i_request, httplib::Response& o_response,
                                   const httplib::ContentReader& i_reader) {
            _Answer(i_request, o_response, &i_reader);
        };
        // What the paths mean is decided elsewhere.
        Post(".*", answer);
        Put(".*", answer);
        Patch(".*", answer);
    }

    void Stop() { svr_sock_ = INVALID_SOCKET; }

    /// \return false when the connection is to be closed.
    bool Process(Exchange& io_exchange, bool i_is_last)
    {
        mgp_exchange = &io_exchange;
        bool isClosed = false;
        const bool isGood = process_request(io_exchange, i_is_last, isClosed, {});
        mgp_exchange = nullptr;
        return isGood && !isClosed && !io_exchange.hasUnreadBody;
    }

private:
    void _Answer(const httplib::Request& i_request, httplib::Response& o_response,
                 const httplib::ContentReader* ip_reader)
    {
        HttpRequest request;
        request.method = i_request.method;
        request.path = i_request.path;
        request.isLocal = !_options.socket.empty();
        request.isSecure = !_options.certificate.empty();
        for (const auto& [name, value] : i_request.headers)
            request.headers.emplace(name == "X-Range" ? "Range" : name, value);
        request.readBody = [&](std::uint64_t i_longest, const auto& i_take) {
            _ReadBody(ip_reader, i_longest, i_take);
        };

        HttpResponse response;
        try {
            const auto question = i_request.target.find('?');
            if (question != std::string::npos)
                request.query = ParseForm(std::string_view(i_request.target).substr(question + 1));
            response = _handler(request);
        } catch (const HttpError& refusal) {
            response = MakeProblem(refusal.GetStatus(), refusal.what());
        } catch (const std::exception& failure) {
            if (_options.log)
                _options.log(request.method + ' ' + request.path + ": " + failure.what());
            response = MakeProblem(500, "The Machine Manager has failed. Its log says why.");
        }
        _Put(std::move(response), o_response);
    }

    static void _ReadBody(const httplib::ContentReader* ip_reader, std::uint64_t i_longest,
                          const std::function<void(std::string_view)>& i_take)
    {
        if (!ip_reader || !mgp_exchange->hasUnreadBody)
            return;
        std::uint64_t count = 0;
        std::exception_ptr failure;
        // An exception would pass through frames of the library that may not expect one.
        const bool isWhole = (*ip_reader)([&](const char* ip_bytes, std::size_t i_count) {
            try {
                count += i_count;
                if (count > i_longest)
                    throw HttpError(413, "The request is longer than " + std::to_string(i_longest) + " bytes.");
                i_take({ip_bytes, i_count});
                return true;
            } catch (...) {
                failure = std::current_exception();
                return false;
            }
        });
        if (failure)
            std::rethrow_exception(failure);
        if (!isWhole)
            throw HttpError(400, "The request broke off before its end.");
        mgp_exchange->hasUnreadBody = false;
    }

    static void _Put(HttpResponse&& io_from, httplib::Response& o_to)
    {
        o_to.status = io_from.status;
        for (const auto& [name, value] : io_from.headers)
            o_to.set_header(name, value);
        if (mgp_exchange->hasUnreadBody)
            o_to.set_header("Connection", "close");
        if (io_from.stream) {
            o_to.set_chunked_content_provider(
                io_from.type, [stream = std::move(io_from.stream)](std::size_t, httplib::DataSink& io_sink) {
                    mgp_exchange->sink = &io_sink;
                    return stream(*mgp_exchange);
                });
        } else if (io_from.file && io_from.file->size > 0) {
            const auto file = std::make_shared<std::ifstream>(io_from.file->path, std::ios::binary);
            if (!file->seekg(static_cast<std::streamoff>(io_from.file->offset))) {
                o_to.headers.clear();
                return _Put(MakeProblem(500, "The file cannot be read."), o_to);
            }
            const auto piece = std::make_shared<std::string>(256 * 1024, '\0');
            o_to.set_content_provider(io_from.file->size, io_from.type,
                                      [file, piece](std::size_t, std::size_t i_left, httplib::DataSink& io_sink) {
                                          const auto count = std::min(piece->size(), i_left);
                                          file->read(piece->data(), static_cast<std::streamsize>(count));
                                          return file->gcount() == static_cast<std::streamsize>(count) &&
                                                 io_sink.write(piece->data(), count);
                                      });
        } else if (!io_from.type.empty()) {
            o_to.set_content(io_from.body, io_from.type);
        }
    }

    const HttpHandler _handler;
    const ServerOptions& _options;
};

} // namespace

struct HttpServer::Impl
{
    struct Client
    {
        explicit Client(int i_descriptor, SSL_CTX* ip_context, const ClientPatience& i_patience)
            : socket(i_descriptor, ip_context, i_patience)
        {}
        ClientSocket socket;
        std::thread thread;
        std::atomic<bool> hasEnded = false;
    };

    Impl(ServerOptions i_options, HttpHandler i_handler)
        : options(std::move(i_options))
        , context(MakeContext(options))
        , protocol(std::move(i_handler), options)
        , wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
        if (options.socket.empty())
            listening = std::make_unique<ListeningSocket>(options.host, options.port);
        else
            listening = std::make_unique<ListeningSocket>(options.socket);
        // A client that goes between poll and accept must not hold up the others.
        ::fcntl(listening->GetDescriptor(), F_SETFL, O_NONBLOCK);
    }
    ~Impl()
    {
        isStopping = true;
        protocol.Stop();
        ::eventfd_write(wake, 1);
        if (accepting.joinable())
            accepting.join();
        for (auto& client : clients)
            client.socket.Shutdown();
        for (auto& client : clients)
            client.thread.join();
        ::close(wake);
    }

    void Accept();
    void Take(int i_descriptor);
    void Serve(Client& io_client);

    const ServerOptions options;
    const Context context;
    Protocol protocol;
    const int wake;
    std::unique_ptr<ListeningSocket> listening;
    std::atomic<bool> isStopping = false;
    std::atomic<int> open = 0;
    std::list<Client> clients; ///< of the thread that accepts, and once that has ended of the one that stops
    std::thread accepting;
};

void HttpServer::Impl::Accept()
{
    while (!isStopping) {
        std::array<pollfd, 2> waiting = {pollfd{listening->GetDescriptor(), POLLIN, 0}, pollfd{wake, POLLIN, 0}};
        if (::poll(waiting.data(), waiting.size(), -1) < 0 || isStopping)
            continue;
        clients.remove_if([](Client& io_client) {
            if (!io_client.hasEnded)
                return false;
            io_client.thread.join();
            return true;
        });
        const int descriptor = ::accept4(listening->GetDescriptor(), nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor >= 0) {
            Take(descriptor);
        } else if (errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS) {
            // The connection stays in the backlog; asking again at once would only take the processor.
            pollfd stop = {wake, POLLIN, 0};
            ::poll(&stop, 1, 200);
        }
    }
}

void HttpServer::Impl::Take(int i_descriptor)
{
    if (open >= options.connections) {
        constexpr std::string_view Busy = "HTTP/1.1 503 Service Unavailable\r\nRetry-After: 2\r\nConnection: close\r\n"
                                          "Content-Length: 0\r\n\r\n";
        if (!context)
            ::send(i_descriptor, Busy.data(), Busy.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        ::close(i_descriptor);
        return;
    }
    auto& client = clients.emplace_back(i_descriptor, context.get(), options.patience);
    ++open;
    try {
        client.thread = std::thread([this, &client] {
            TavSDK::StopExceptions([&] { Serve(client); },
                                   [this](const char* ip_text) {
                                       if (options.log)
                                           options.log(ip_text);
                                   });
            // The client learns of the end now, and not when the next one comes.
            client.socket.Finish();
            --open;
            client.hasEnded = true;
        });
    } catch (const std::system_error&) {
        --open;
        clients.pop_back();
    }
}

void HttpServer::Impl::Serve(Client& io_client)
{
    // TLS writes without a flag against it.
    sigset_t broken;
    ::sigemptyset(&broken);
    ::sigaddset(&broken, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &broken, nullptr);
    auto& socket = io_client.socket;
    if (context && !socket.Handshake())
        return;
    for (std::size_t count = 1; !isStopping && socket.WaitForRequest(); ++count) {
        Exchange exchange(socket, isStopping);
        std::string head;
        const auto outcome = socket.ReadHead(head, LongestHead);
        if (outcome == ClientSocket::Head::Missing)
            return;
        auto check = outcome == ClientSocket::Head::TooLong ? HeadCheck{431, {}, false, true} : CheckHead(head);
        if (check.status != 0) {
            const auto status = std::to_string(check.status);
            socket.Write("HTTP/1.1 " + status + ' ' + GetStatusWords(check.status) +
                         "\r\nConnection: close\r\nContent-Length: 0\r\n\r\n");
            return;
        }
        exchange.head = std::move(check.head);
        exchange.hasUnreadBody = check.hasBody;
        if (!protocol.Process(exchange, count == MostRequests || check.isClosing) || check.isClosing)
            return;
    }
}

HttpServer::HttpServer(ServerOptions i_options, HttpHandler i_handler)
    : _impl(std::make_unique<Impl>(std::move(i_options), std::move(i_handler)))
{}

HttpServer::~HttpServer() = default;

void HttpServer::Start()
{
    _impl->accepting = std::thread([impl = _impl.get()] { impl->Accept(); });
}

int HttpServer::GetPort() const
{
    return _impl->listening->GetPort();
}

int HttpServer::GetConnections() const
{
    return _impl->open;
}

} // namespace MachineService::MachineManager
