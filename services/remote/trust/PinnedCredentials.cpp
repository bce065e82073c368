#include "remote/trust/PinnedCredentials.h"

#include "remote/trust/Fingerprint.h"

#include <grpcpp/security/tls_certificate_verifier.h>
#include <grpcpp/security/tls_credentials_options.h>

#include <utility>

namespace MachineService::Remote {

namespace {

namespace tls = grpc::experimental;

/// Thread: the transport's.
class PinVerifier final : public tls::ExternalCertificateVerifier
{
public:
    explicit PinVerifier(std::string i_pin)
        : _pin(std::move(i_pin))
    {}

    bool Verify(tls::TlsCustomVerificationCheckRequest* ip_request, std::function<void(grpc::Status)> /*i_callback*/,
                grpc::Status* op_status) override
    {
        const auto shown = ip_request->peer_cert();
        if (GetFingerprintOfPem({shown.data(), shown.size()}) != _pin)
            *op_status = grpc::Status(grpc::StatusCode::UNAUTHENTICATED, NotPinnedText);
        // It is done.
        return true;
    }
    void Cancel(tls::TlsCustomVerificationCheckRequest* /*ip_request*/) override {}

private:
    const std::string _pin;
};

} // namespace

std::shared_ptr<grpc::ChannelCredentials> MakePinnedCredentials(const std::string& i_pin)
{
    tls::TlsChannelCredentialsOptions options;
    options.set_verify_server_certs(false);
    options.set_check_call_host(false);
    options.set_certificate_verifier(tls::ExternalCertificateVerifier::Create<PinVerifier>(i_pin));
    return tls::TlsCredentials(options);
}

} // namespace MachineService::Remote
