#pragma once

namespace MachineService {

/// To be called in a catch clause: throws what is caught again as a CommunicationException with a sentence for the
/// user.
/// \param ip_beginning before the text of what says nothing of itself.
[[noreturn]] void RethrowForUser(const char* ip_beginning);

/// Runs i_work and gives its answer.
/// \throws CommunicationException for whatever the work throws.
template <class Work>
auto RunGuarded(const Work& i_work, const char* ip_beginning = "")
{
    try {
        return i_work();
    } catch (...) {
        RethrowForUser(ip_beginning);
    }
}

} // namespace MachineService
