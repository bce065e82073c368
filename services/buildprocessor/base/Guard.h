#pragma once

namespace MachineService::BuildProcessor {

/// To be called in a catch clause: throws what is caught again as a CommunicationException with a sentence for the
/// user.
[[noreturn]] void RethrowForUser();

/// Runs i_work and gives its answer.
/// \throws CommunicationException for whatever the work throws.
template <class Work>
auto RunGuarded(const Work& i_work)
{
    try {
        return i_work();
    } catch (...) {
        RethrowForUser();
    }
}

} // namespace MachineService::BuildProcessor
