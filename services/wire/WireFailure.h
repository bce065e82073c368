#pragma once

#include "client/interface/CommunicationException.h"

#include <string>

namespace MachineService::Wire {

/// A failure with what programs on the other side look at: its kind, and the protocol's keyword for the reason.
class WireFailure : public CommunicationException
{
public:
    enum class Kind
    {
        BadRequest,
        NotFound,
        Busy, ///< a bound of the service was reached
        Damaged,
        CredentialsNeeded,
    };

    WireFailure(Kind i_kind, ErrorCode i_code, const std::string& i_sentence, std::string i_reason)
        : CommunicationException(i_code, i_sentence.c_str())
        , kind(i_kind)
        , reason(std::move(i_reason))
    {}

    const Kind kind;
    const std::string reason;
};

} // namespace MachineService::Wire
