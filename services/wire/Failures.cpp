#include "wire/Failures.h"

#include "tavsdk/Utf8.h"
#include "wire/Conversions.h"

#include <algorithm>
#include <array>

namespace MachineService::Wire {

namespace {

struct Correspondence
{
    ErrorCode code;
    grpc::StatusCode status;
    const char* reason;
};

// For peers that look at the status alone; between ours the failure itself travels.
constexpr std::array Correspondences{
    Correspondence{ErrorCode::ServicesUnavailable, grpc::StatusCode::UNAVAILABLE, "going-down"},
    Correspondence{ErrorCode::MachineNotFound, grpc::StatusCode::NOT_FOUND, "unknown-machine"},
    Correspondence{ErrorCode::CommandNotFound, grpc::StatusCode::NOT_FOUND, ""},
    Correspondence{ErrorCode::ReportNotSupported, grpc::StatusCode::FAILED_PRECONDITION, ""},
    Correspondence{ErrorCode::ProcessingAborted, grpc::StatusCode::CANCELLED, ""},
    Correspondence{ErrorCode::InternalError, grpc::StatusCode::UNKNOWN, ""},
};

const Correspondence& Find(ErrorCode i_code)
{
    for (const auto& row : Correspondences) {
        if (row.code == i_code)
            return row;
    }
    return Correspondences.back();
}

constexpr const char* English = "en";

// Headers are at most 8 KiB in all; a run's failure travels in a message and is never cut.
constexpr std::size_t MaxSentenceBytes = 2000;
constexpr std::size_t MaxStatusBytes = 500;

grpc::StatusCode ToStatusCode(WireFailure::Kind i_kind)
{
    switch (i_kind) {
    case WireFailure::Kind::NotFound:
        return grpc::StatusCode::NOT_FOUND;
    case WireFailure::Kind::Busy:
        return grpc::StatusCode::RESOURCE_EXHAUSTED;
    case WireFailure::Kind::Damaged:
        return grpc::StatusCode::DATA_LOSS;
    case WireFailure::Kind::CredentialsNeeded:
        return grpc::StatusCode::UNAUTHENTICATED;
    case WireFailure::Kind::BadRequest:
        break;
    }
    return grpc::StatusCode::INVALID_ARGUMENT;
}

// Statuses that only a service gives, never gRPC itself about a connection.
bool IsOfService(grpc::StatusCode i_status)
{
    switch (i_status) {
    case grpc::StatusCode::INVALID_ARGUMENT:
    case grpc::StatusCode::NOT_FOUND:
    case grpc::StatusCode::ALREADY_EXISTS:
    case grpc::StatusCode::FAILED_PRECONDITION:
    case grpc::StatusCode::ABORTED:
    case grpc::StatusCode::OUT_OF_RANGE:
    case grpc::StatusCode::DATA_LOSS:
    case grpc::StatusCode::UNKNOWN:
        return true;
    default:
        return false;
    }
}

} // namespace

pb::Failure ToFailure(const std::exception_ptr& ip_exception, const std::string& i_language)
{
    pb::Failure failure;
    failure.set_code(pb::ERROR_CODE_INTERNAL_ERROR);
    try {
        std::rethrow_exception(ip_exception);
    } catch (const WireFailure& exception) {
        failure.set_code(static_cast<pb::ErrorCode>(exception.code()));
        SetText(*failure.mutable_sentence(), exception.what());
        failure.mutable_sentence()->set_language(English);
        failure.set_reason(exception.reason);
    } catch (const CommunicationException& exception) {
        failure.set_code(static_cast<pb::ErrorCode>(exception.code()));
        SetText(*failure.mutable_sentence(), exception.what());
        if (i_language == English)
            failure.mutable_sentence()->set_language(English);
        failure.set_reason(Find(exception.code()).reason);
    } catch (const std::exception& exception) {
        SetText(*failure.mutable_sentence(), exception.what());
    } catch (...) {
        SetText(*failure.mutable_sentence(), "The service failed for a reason that it does not tell.");
        failure.mutable_sentence()->set_language(English);
    }
    return failure;
}

CommunicationException FromFailure(const pb::Failure& i_failure)
{
    std::string sentence = GetText(i_failure.sentence(), "sentence");
    // It goes into logs and terminals as well, in which a peer has nothing to write but this.
    std::replace_if(
        sentence.begin(), sentence.end(),
        [](char i_char) { return static_cast<unsigned char>(i_char) < 0x20 || i_char == 0x7f; }, ' ');
    return {static_cast<ErrorCode>(i_failure.code()), sentence.c_str()};
}

grpc::Status ToStatus(const std::exception_ptr& ip_exception, grpc::ServerContextBase& io_context,
                      const std::string& i_language)
{
    pb::Failure failure = ToFailure(ip_exception, i_language);
    failure.mutable_sentence()->set_text(std::string(TavSDK::CutUtf8(failure.sentence().text(), MaxSentenceBytes)));
    io_context.AddTrailingMetadata(FailureMetadata, failure.SerializeAsString());
    auto status = Find(static_cast<ErrorCode>(failure.code())).status;
    try {
        std::rethrow_exception(ip_exception);
    } catch (const WireFailure& exception) {
        status = ToStatusCode(exception.kind);
    } catch (...) {
    }
    return {status, std::string(TavSDK::CutUtf8(failure.sentence().text(), MaxStatusBytes))};
}

std::unique_ptr<pb::Failure> GetFailure(const grpc::Status& i_status, const grpc::ClientContext& i_context)
{
    const auto& metadata = i_context.GetServerTrailingMetadata();
    const auto found = metadata.find(FailureMetadata);
    auto failure = std::make_unique<pb::Failure>();
    if (found != metadata.end() && found->second.size() <= 2 * MaxTextBytes &&
        failure->ParseFromArray(found->second.data(), static_cast<int>(found->second.size())))
        return failure;
    if (!IsOfService(i_status.error_code()))
        return nullptr;
    failure->Clear();
    // Without our code the user is to read what the service says.
    failure->set_code(pb::ERROR_CODE_INTERNAL_ERROR);
    SetText(*failure->mutable_sentence(), i_status.error_message().substr(0, MaxTextBytes));
    return failure;
}

} // namespace MachineService::Wire
