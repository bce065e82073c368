#pragma once

#include "machinemanager/jobs/Job.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace MachineService::MachineManager {

/// A request that is refused.
class HttpError : public std::runtime_error
{
public:
    HttpError(int i_status, const std::string& i_sentence)
        : std::runtime_error(i_sentence)
        , _status(i_status)
    {}

    int GetStatus() const { return _status; }

private:
    int _status;
};

/// Names of headers, without regard to case.
struct HeaderLess
{
    using is_transparent = void;
    bool operator()(std::string_view i_left, std::string_view i_right) const;
};

/// Fields of a query or a form, decoded.
using HttpFields = std::multimap<std::string, std::string, std::less<>>;

/// A request whose head has been read, and its body not yet.
struct HttpRequest
{
    std::string method;
    std::string path; ///< decoded; begins with a slash
    HttpFields query;
    std::multimap<std::string, std::string, HeaderLess> headers;
    bool isLocal = false;  ///< came by the unix socket
    bool isSecure = false; ///< came by TLS
    /// Hands out the body, piece by piece.
    /// \throws HttpError 413 as soon as there is more of it than i_longest bytes, 400 when it breaks off.
    std::function<void(std::uint64_t i_longest, const std::function<void(std::string_view)>& i_take)> readBody;

    /// Empty when there is none.
    std::string GetHeader(std::string_view i_name) const;
    bool HasHeader(std::string_view i_name) const { return headers.find(i_name) != headers.end(); }
    /// Empty when there is none.
    std::string GetQuery(std::string_view i_name) const;
    std::string ReadBody(std::uint64_t i_longest) const;
};

/// What a stream without an end is written to.
class HttpStream
{
public:
    virtual ~HttpStream() = default;
    /// \return false when the reader is gone or too slow.
    virtual bool Write(std::string_view i_bytes) = 0;
    /// Waits until there is something to read from a descriptor, or the time is over.
    /// \return false when the reader is gone or the server stops.
    virtual bool Wait(int i_descriptor, std::chrono::milliseconds i_longest) = 0;
};

/// A part of a file as an answer's body.
struct FileBody
{
    std::filesystem::path path;
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

struct HttpResponse
{
    int status = 200;
    std::string type; ///< of the content; empty: there is none
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
    std::optional<FileBody> file; ///< instead of the body
    /// Instead of the body: called until it returns false.
    std::function<bool(HttpStream&)> stream;

    HttpResponse& Set(std::string i_name, std::string i_value);
};

/// Called on a thread of the connection; several at a time. What it throws is answered with 500.
using HttpHandler = std::function<HttpResponse(const HttpRequest&)>;

/// Bytes of a range of a file, as `Range` asks for it.
struct ByteRange
{
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

/// Of a `Range` with a single range; empty: the whole file is to be sent.
/// \throws HttpError 416 when nothing of it is in a file of so many bytes.
std::optional<ByteRange> ParseRange(std::string_view i_header, std::uint64_t i_size);

/// What `Content-Range` of a piece says: bytes FIRST-LAST/SIZE.
struct PieceRange
{
    std::uint64_t first = 0;
    std::uint64_t size = 0;
    std::uint64_t whole = 0;
};

/// \throws HttpError 400.
PieceRange ParsePieceRange(std::string_view i_header);

/// \throws HttpError 400 when it is not a decimal number without a sign.
std::uint64_t ParseCount(std::string_view i_text, const char* ip_name);

/// The texts between `&`; at most 100 of them.
/// \throws HttpError 400 when they are damaged, not UTF-8 or too many.
HttpFields ParseForm(std::string_view i_text);

/// Value of a cookie; empty when there is none.
std::string FindCookie(std::string_view i_header, std::string_view i_name);

/// Value of `Content-Disposition` for a download (RFC 6266): a name in ASCII, and the name.
std::string MakeDisposition(std::string_view i_name);

/// ISO 8601 in UTC with milliseconds.
std::string FormatTime(Time i_time);

} // namespace MachineService::MachineManager
