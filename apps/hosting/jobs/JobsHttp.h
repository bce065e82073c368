#pragma once

#include "hosting/jobs/JobsError.h"

#include <chrono>
#include <functional>
#include <map>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Hosting {

/// One request to the interface of a Machine Manager.
struct JobsRequest
{
    std::string method = "GET";
    std::string path; ///< below the interface, encoded, with its query
    std::vector<std::pair<std::string, std::string>> headers = {};
    std::string type = {}; ///< of the body
    std::string body = {};
    std::chrono::milliseconds patience = std::chrono::seconds(30); ///< with a connection that is silent
    /// Takes the pieces of a body that comes with success, instead of JobsAnswer::body; false ends it.
    std::function<bool(std::string_view)> take = {};
    /// Told status and headers before the body comes, when it comes with success.
    std::function<void(const std::map<std::string, std::string>& i_headers)> begin = {};
};

/// An answer that tells of success.
struct JobsAnswer
{
    int status = 0;
    std::map<std::string, std::string> headers; ///< names in small letters
    std::string body;
    bool wasEnded = false; ///< by `take`
};

/// Speaks HTTP with a Machine Manager; the library that does it is seen by nobody else.
///
/// Thread: any, several at a time; each request has a connection of its own.
class JobsHttp
{
public:
    /// \param i_address unix:PATH or https://HOST:PORT.
    /// \param i_token for https; may be empty.
    /// \throws JobsError BadInput for another address.
    JobsHttp(const std::string& i_address, std::string i_token);

    /// \throws JobsError NotReached, or what a refusal says; Interruption soon after the token asks.
    JobsAnswer Send(const JobsRequest& i_request, const std::stop_token& i_stop) const;
    const std::string& GetAddress() const { return _address; }

private:
    const std::string _address;
    const std::string _token;
    std::string _socket; ///< path; empty: by TLS
    std::string _host;
    int _port = 0;
};

} // namespace Hosting
