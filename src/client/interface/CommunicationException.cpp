#include "client/interface/CommunicationException.h"

namespace MachineService {

CommunicationException::CommunicationException(ErrorCode i_code)
    : CommunicationException(i_code, nullptr)
{}

CommunicationException::CommunicationException(ErrorCode i_code, const char* ip_message)
    : _code(i_code)
    , _message(ip_message ? ip_message : "")
{}

CommunicationException::CommunicationException(const CommunicationException&) noexcept = default;
CommunicationException& CommunicationException::operator=(const CommunicationException&) noexcept = default;
CommunicationException::~CommunicationException() = default;

ErrorCode CommunicationException::code() const noexcept
{
    return _code;
}

const char* CommunicationException::what() const noexcept
{
    return _message.what();
}

} // namespace MachineService
