#pragma once

#include "client/interface/CommunicationException.h"

#include <stop_token>

namespace MachineService::BuildProcessor {

/// \throws CommunicationException ProcessingAborted when the token asks.
inline void ThrowIfStopped(const std::stop_token& i_stop)
{
    if (i_stop.stop_requested())
        throw CommunicationException(ErrorCode::ProcessingAborted);
}

} // namespace MachineService::BuildProcessor
