#include "remote/StatusTrouble.h"

#include "remote/trust/PinnedCredentials.h"
#include "wire/Failures.h"

#include <array>
#include <string_view>

namespace MachineService::Remote {

namespace {

struct Sign
{
    std::string_view text;
    Trouble trouble;
};

// The transport tells its reasons as text only. The first that fits counts.
constexpr std::array Signs{
    Sign{"DNS resolution failed", Trouble::NameNotFound},
    Sign{"Domain name not found", Trouble::NameNotFound},
    Sign{NotPinnedText, Trouble::CertificateChanged},
    Sign{"Peer name", Trouble::CertificateOfAnotherHost},
    Sign{"ostname verification", Trouble::CertificateOfAnotherHost},
    Sign{"certificate has expired", Trouble::CertificateExpired},
    Sign{"CERTIFICATE_VERIFY_FAILED", Trouble::CertificateUnknown},
    Sign{"certificate verify failed", Trouble::CertificateUnknown},
    Sign{"WRONG_VERSION_NUMBER", Trouble::NoMachineService},
    Sign{"wrong version number", Trouble::NoMachineService},
    Sign{"http1", Trouble::NoMachineService},
    Sign{"http2 header with status", Trouble::NoMachineService},
    Sign{"parse", Trouble::NoMachineService},
    Sign{"No such file or directory", Trouble::Refused},
    Sign{"Connection refused", Trouble::Refused},
    Sign{"Permission denied", Trouble::Refused},
    Sign{"timed out", Trouble::NoAnswer},
    Sign{"timeout", Trouble::NoAnswer},
    Sign{"unreachable", Trouble::NoAnswer},
    Sign{"No route to host", Trouble::NoAnswer},
};

bool IsAboutTrouble(const std::string& i_reason, Trouble& o_trouble)
{
    if (i_reason == "credentials-needed")
        o_trouble = Trouble::CredentialsNeeded;
    else if (i_reason == "unknown-run")
        o_trouble = Trouble::RunUnknown;
    else if (i_reason == "damaged")
        o_trouble = Trouble::Damaged;
    else if (i_reason == "going-down")
        o_trouble = Trouble::Lost;
    else
        return false;
    return true;
}

} // namespace

Trouble FindTrouble(const grpc::Status& i_status)
{
    const std::string& text = i_status.error_message();
    switch (i_status.error_code()) {
    case grpc::StatusCode::DEADLINE_EXCEEDED:
        return Trouble::NoAnswer;
    case grpc::StatusCode::UNAUTHENTICATED:
        return Trouble::CredentialsNeeded;
    case grpc::StatusCode::PERMISSION_DENIED:
        return Trouble::CredentialsRefused;
    case grpc::StatusCode::UNIMPLEMENTED:
        return Trouble::NoMachineService;
    case grpc::StatusCode::DATA_LOSS:
        return Trouble::Damaged;
    case grpc::StatusCode::RESOURCE_EXHAUSTED:
        return text.find("larger than max") == std::string::npos ? Trouble::Busy : Trouble::TooLarge;
    default:
        break;
    }
    for (const Sign& sign : Signs) {
        if (text.find(sign.text) != std::string::npos)
            return sign.trouble;
    }
    return Trouble::Lost;
}

void ThrowFailure(const grpc::Status& i_status, const grpc::ClientContext& i_context, const ServiceAddress& i_address)
{
    if (const auto failure = Wire::GetFailure(i_status, i_context)) {
        Trouble trouble = Trouble::Lost;
        if (IsAboutTrouble(failure->reason(), trouble))
            throw TroubleException(trouble, i_address);
        // One that says nothing at all is no better than the status.
        if (!failure->sentence().text().empty() || failure->code() > static_cast<int>(ErrorCode::InternalError))
            throw Wire::FromFailure(*failure);
    }
    throw TroubleException(FindTrouble(i_status), i_address);
}

} // namespace MachineService::Remote
