#include "remote/trust/CertificateLook.h"

#include "remote/trust/Fingerprint.h"

#include <netdb.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <csignal>
#include <memory>

namespace MachineService::Remote {

namespace {

template <auto Function>
struct Release
{
    template <class Object>
    void operator()(Object* ip_object) const
    {
        Function(ip_object);
    }
};
using Context = std::unique_ptr<SSL_CTX, Release<SSL_CTX_free>>;
using Session = std::unique_ptr<SSL, Release<SSL_free>>;
using Certificate = std::unique_ptr<X509, Release<X509_free>>;
using Bio = std::unique_ptr<BIO, Release<BIO_free>>;
using Addresses = std::unique_ptr<addrinfo, Release<freeaddrinfo>>;

class Socket
{
public:
    /// Neither connecting, sending nor receiving waits for longer.
    Socket(const addrinfo& i_address, std::chrono::milliseconds i_longest)
        : _socket(socket(i_address.ai_family, i_address.ai_socktype | SOCK_CLOEXEC, i_address.ai_protocol))
    {
        const timeval time{i_longest.count() / 1000, (i_longest.count() % 1000) * 1000};
        setsockopt(_socket, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time);
        setsockopt(_socket, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
    }
    ~Socket() { close(_socket); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    int Get() const { return _socket; }

private:
    const int _socket;
};

/// OpenSSL writes to sockets like to files: who writes to one that was closed would end the host.
class NoBrokenPipe
{
public:
    NoBrokenPipe()
    {
        sigemptyset(&_pipe);
        sigaddset(&_pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &_pipe, &_before);
    }
    ~NoBrokenPipe()
    {
        // It is this thread's own, unless it was blocked before.
        constexpr timespec now{0, 0};
        if (sigismember(&_before, SIGPIPE) == 0)
            sigtimedwait(&_pipe, nullptr, &now);
        pthread_sigmask(SIG_SETMASK, &_before, nullptr);
    }
    NoBrokenPipe(const NoBrokenPipe&) = delete;
    NoBrokenPipe& operator=(const NoBrokenPipe&) = delete;

private:
    sigset_t _pipe = {};
    sigset_t _before = {};
};

Context MakeContext(const std::string& i_authority)
{
    Context context(SSL_CTX_new(TLS_client_method()));
    if (!context)
        return context;
    if (i_authority.empty()) {
        SSL_CTX_set_default_verify_paths(context.get());
        return context;
    }
    const Bio bytes(BIO_new_mem_buf(i_authority.data(), static_cast<int>(i_authority.size())));
    while (const Certificate certificate{PEM_read_bio_X509(bytes.get(), nullptr, nullptr, nullptr)})
        X509_STORE_add_cert(SSL_CTX_get_cert_store(context.get()), certificate.get());
    return context;
}

Trouble Judge(const SSL& i_session, X509& io_certificate, const std::string& i_host)
{
    const auto result = SSL_get_verify_result(&i_session);
    if (result == X509_V_ERR_CERT_HAS_EXPIRED || result == X509_V_ERR_CERT_NOT_YET_VALID)
        return Trouble::CertificateExpired;
    if (result != X509_V_OK)
        return Trouble::CertificateUnknown;
    const bool isForHost = X509_check_host(&io_certificate, i_host.data(), i_host.size(), 0, nullptr) == 1 ||
                           X509_check_ip_asc(&io_certificate, i_host.c_str(), 0) == 1;
    return isForHost ? Trouble::CertificateUnknown : Trouble::CertificateOfAnotherHost;
}

} // namespace

CertificateLook LookAtCertificate(const ServiceAddress& i_address, const std::string& i_authority,
                                  std::chrono::milliseconds i_longest, const std::stop_token& i_stop)
{
    const std::string port = i_address.text.substr(i_address.text.rfind(':') + 1);
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(i_address.host.c_str(), port.c_str(), &hints, &found) != 0)
        return {};
    const Addresses addresses(found);
    const auto context = MakeContext(i_authority);
    const NoBrokenPipe noBrokenPipe;
    for (const addrinfo* address = found; context && address && !i_stop.stop_requested(); address = address->ai_next) {
        const Socket socket(*address, i_longest);
        const std::stop_callback stop(i_stop, [&socket] { shutdown(socket.Get(), SHUT_RDWR); });
        if (connect(socket.Get(), address->ai_addr, address->ai_addrlen) != 0)
            continue;
        const Session session(SSL_new(context.get()));
        if (!session)
            break;
        // Nothing is sent over it but the greeting.
        SSL_set_verify(session.get(), SSL_VERIFY_NONE, nullptr);
        SSL_set_tlsext_host_name(session.get(), i_address.host.c_str());
        SSL_set_fd(session.get(), socket.Get());
        if (SSL_connect(session.get()) != 1)
            continue;
        const Certificate certificate(SSL_get1_peer_certificate(session.get()));
        if (certificate)
            return {Judge(*session, *certificate, i_address.host), GetFingerprint(*certificate)};
    }
    return {};
}

} // namespace MachineService::Remote
