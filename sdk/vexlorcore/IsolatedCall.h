#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace VexlorCore {

/// Runs a function in a child process and gives its result back, so that what it does to its process, such as an abort,
/// a crash or an endless loop in code that is not ours, ends there.
///
/// The child is a copy of this process with one thread: the function may use memory and files, but no locks that other
/// threads may hold, and no Qt. It is killed at the deadline.
///
/// Thread: any; one call at a time, others wait.
/// \throws std::runtime_error with the text of the exception that the function throws, or with why there is no result.
std::string CallIsolated(const std::function<std::string()>& i_function, std::chrono::seconds i_deadline);

} // namespace VexlorCore
