#include "server/TlsFiles.h"

#include "client/interface/CommunicationException.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"

#include <grpcpp/security/tls_certificate_provider.h>
#include <grpcpp/security/tls_credentials_options.h>

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

namespace MachineService::Server {

namespace {

constexpr std::uint64_t MaxFileBytes = 1 << 20;
constexpr unsigned LookAgainSeconds = 2;

[[noreturn]] void Fail(const std::string& i_file, const std::string& i_what)
{
    throw CommunicationException(ErrorCode::InternalError,
                                 ("The file '" + TavSDK::ShowPath(i_file) + "' " + i_what).c_str());
}

using Bio = std::unique_ptr<BIO, decltype(&BIO_free)>;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;
using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

std::string Read(const std::string& i_file)
{
    try {
        return TavSDK::ReadFile(i_file, MaxFileBytes);
    } catch (const TavSDK::FileError& error) {
        Fail(i_file, std::string("cannot be read: ") + error.what() + ".");
    }
}

Certificate ReadCertificate(const std::string& i_file)
{
    const auto text = Read(i_file);
    const Bio bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), BIO_free);
    Certificate certificate(PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr), X509_free);
    if (!certificate)
        Fail(i_file, "holds no certificate in PEM; name one that does.");
    return certificate;
}

} // namespace

std::shared_ptr<grpc::ServerCredentials> MakeTlsCredentials(const MachineServerOptions::Tls& i_tls)
{
    using namespace grpc::experimental;
    CheckTlsFiles(i_tls);
    const auto provider = std::make_shared<FileWatcherCertificateProvider>(i_tls.keyFile, i_tls.certificateFile,
                                                                           i_tls.clientCaFile, LookAgainSeconds);
    TlsServerCredentialsOptions options(provider);
    options.watch_identity_key_cert_pairs();
    if (!i_tls.clientCaFile.empty()) {
        options.watch_root_certs();
        options.set_cert_request_type(GRPC_SSL_REQUEST_AND_REQUIRE_CLIENT_CERTIFICATE_AND_VERIFY);
    } else {
        options.set_cert_request_type(GRPC_SSL_DONT_REQUEST_CLIENT_CERTIFICATE);
    }
    return TlsServerCredentials(options);
}

} // namespace MachineService::Server

namespace MachineService {

using namespace Server;

void CheckTlsFiles(const MachineServerOptions::Tls& i_tls)
{
    const auto certificate = ReadCertificate(i_tls.certificateFile);
    if (X509_cmp_current_time(X509_get0_notAfter(certificate.get())) < 0)
        Fail(i_tls.certificateFile, "holds a certificate that has expired; renew it.");
    const auto text = Read(i_tls.keyFile);
    const Bio bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), BIO_free);
    // A key that asks for a password would wait for a terminal.
    const auto noPassword = [](char*, int, int, void*) {
        return 0;
    };
    const Key key(PEM_read_bio_PrivateKey(bio.get(), nullptr, noPassword, nullptr), EVP_PKEY_free);
    if (!key)
        Fail(i_tls.keyFile, "holds no private key in PEM without a password; name one that does.");
    if (X509_check_private_key(certificate.get(), key.get()) != 1)
        Fail(i_tls.keyFile, "does not belong to the certificate; name the key that it was made with.");
    if (!i_tls.clientCaFile.empty())
        ReadCertificate(i_tls.clientCaFile);
}

} // namespace MachineService
