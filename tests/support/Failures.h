#pragma once

#include "client/interface/CommunicationException.h"

#include <string>

namespace TestSupport {

/// Code and text of what an action threw; no text when it threw nothing.
struct Failure
{
    MachineService::ErrorCode code = MachineService::ErrorCode::None;
    std::string text;
    bool operator==(const Failure&) const = default;
};

/// What is no Expected passes through, so that a test of one kind of failure fails with any other.
template <class Expected = MachineService::CommunicationException, class Action>
Failure GetFailure(const Action& i_action)
{
    try {
        i_action();
    } catch (const Expected& failure) {
        if constexpr (requires { failure.code(); })
            return {failure.code(), failure.what()};
        else
            return {MachineService::ErrorCode::None, failure.what()};
    }
    return {};
}

} // namespace TestSupport
