#pragma once

#include <exception>

namespace TavSDK {

/// Runs something whose exceptions have to end here: at the end of a thread, in a slot, in a call by those who expect
/// no exception of ours.
///
/// \param i_tell called with what() of the exception, or a text for one without; what it throws is lost.
/// \return false when there was one.
template <class Function, class Tell>
bool StopExceptions(const Function& i_function, const Tell& i_tell) noexcept
{
    const auto tell = [&i_tell](const char* ip_text) {
        try {
            i_tell(ip_text);
        } catch (...) {
            // Nobody is left to be told.
        }
    };
    try {
        i_function();
        return true;
    } catch (const std::exception& failure) {
        tell(failure.what());
    } catch (...) {
        tell("an exception of an unknown kind");
    }
    return false;
}

} // namespace TavSDK
