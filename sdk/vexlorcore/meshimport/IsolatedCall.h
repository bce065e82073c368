#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>

namespace VexlorCore {

/// What a child process may use.
struct CallLimits
{
    std::chrono::seconds deadline{300};      ///< from its beginning to its end
    std::chrono::seconds processorTime{300}; ///< of its only thread
    std::size_t memory = 0;                  ///< bytes beyond those that it shares with its parent at the beginning
    std::size_t result = 0;                  ///< bytes that it may give back
};

/// Runs a function in a child process and gives its result back, so that what it does to its process, such as an abort,
/// a crash, an endless loop or a want of memory, ends there.
///
/// The child is a copy of this process with one thread and none of its files: the function may use memory and open a
/// file at a time to read it, but no locks that other threads may hold, and no Qt.
///
/// Thread: any, several at once.
/// \param i_stop kills the child as soon as it is asked for. \return empty when it was.
/// \throws std::runtime_error with the text of the exception that the function throws, or with why there is no result,
///         as what follows "cannot be read: ".
std::optional<std::string> CallIsolated(const std::function<std::string()>& i_function, const CallLimits& i_limits,
                                        const std::stop_token& i_stop = {});

} // namespace VexlorCore
