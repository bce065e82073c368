#pragma once

#include "machinemanager/printers/HttpSteps.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace MachineService::MachineManager {

/// How long is waited for a printer.
struct HttpTimes
{
    std::chrono::milliseconds connect = std::chrono::seconds(5);
    std::chrono::milliseconds silence = std::chrono::seconds(10); ///< nothing goes either way
    std::chrono::milliseconds whole = std::chrono::seconds(25);   ///< one request with its answer, without a file
    /// Printers on a bad line are slow with files; what is slower than this is no transfer.
    std::uint64_t bytesPerSecond = 65'536;
    /// What a printer may take to show a job that it was told to begin.
    std::chrono::milliseconds settle = std::chrono::seconds(10);
};

struct HttpRequest
{
    std::string method;
    std::string path; ///< encoded
    std::vector<std::pair<std::string, std::string>> headers;
    std::string type; ///< of the body
    std::string body;
    /// A file follows the body, and `after` follows it. Fewer bytes than asked for only at the end.
    std::function<std::size_t(char* op_bytes, std::size_t i_count)> readFile;
    std::uint64_t fileSize = 0;
    std::string after;
    std::function<void(std::uint64_t)> progress; ///< bytes of the file that went out
};

struct HttpAnswer
{
    int status = 0;
    std::string body;
    std::string fault; ///< what is wrong with the body, as a sentence; empty when it came whole
};

/// There is no answer.
class HttpFailure : public std::runtime_error
{
public:
    HttpFailure(const std::string& i_sentence, bool i_was_sent)
        : std::runtime_error(i_sentence)
        , wasSent(i_was_sent)
    {}

    const bool wasSent; ///< the printer may have got the request, or a part of it
};

/// One request on a connection of its own. An answer has at most a mebibyte; that it points elsewhere is an answer.
///
/// Thread: any; the request's functions are called on the caller's.
/// Errors: HttpFailure with a sentence that names the address, also soon after the token asks; what the request's
/// functions throw.
HttpAnswer Exchange(const HttpPlace& i_place, const HttpRequest& i_request, const HttpTimes& i_times,
                    const std::stop_token& i_stop);

} // namespace MachineService::MachineManager
