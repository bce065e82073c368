#include "hosting/jobs/JobsClient_p.h"
#include "hosting/jobs/JobsJson.h"

#include <exception>

namespace Hosting {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// The manager writes a comment every fifteen seconds.
constexpr milliseconds LongestSilence = std::chrono::seconds(45);
// How often is asked where too many listen.
constexpr milliseconds AskingInterval = std::chrono::seconds(3);
constexpr std::size_t LongestLine = 64 << 10;

/// Reads server-sent events.
class EventReader
{
public:
    /// \return false as soon as i_take does.
    bool Add(std::string_view i_bytes, const std::function<bool(const Jobs::Change&)>& i_take)
    {
        for (const char character : i_bytes) {
            if (character == '\r')
                continue;
            if (character != '\n') {
                // Nothing that long means anything to us.
                if (_line.size() < LongestLine)
                    _line += character;
                continue;
            }
            const bool isEnd = _line.empty();
            _ReadLine();
            if (isEnd && !_Tell(i_take))
                return false;
        }
        return true;
    }

private:
    void _ReadLine()
    {
        const auto value = [this](std::string_view i_name) -> std::optional<std::string> {
            if (!_line.starts_with(i_name))
                return std::nullopt;
            auto text = _line.substr(i_name.size());
            return text.starts_with(' ') ? text.substr(1) : text;
        };
        if (auto event = value("event:"))
            _event = std::move(*event);
        else if (auto data = value("data:"))
            _data += *data;
        _line.clear();
    }
    bool _Tell(const std::function<bool(const Jobs::Change&)>& i_take)
    {
        Jobs::Change change;
        const auto event = std::exchange(_event, {});
        const auto data = std::exchange(_data, {});
        if (event == "job")
            change = {Jobs::Change::Kind::Job, Jobs::ParseText(Jobs::ParseObject(data), "id")};
        else if (event == "machine")
            change.kind = Jobs::Change::Kind::Machine;
        else if (event != "all")
            return true;
        return i_take(change);
    }

    std::string _line;
    std::string _event;
    std::string _data;
};

bool IsSame(const Jobs::Job& i_left, const Jobs::Job& i_right)
{
    return i_left.version == i_right.version && i_left.percent == i_right.percent && i_left.stage == i_right.stage &&
           i_left.detail == i_right.detail;
}

} // namespace

bool JobsClient::Listen(const std::function<bool(const Jobs::Change&)>& i_take, milliseconds i_longest) const
{
    const auto end = Clock::now() + i_longest;
    bool isWanted = true;
    std::exception_ptr failure; // of i_take, which is no failure of the connection
    const auto take = [&](const Jobs::Change& i_change) {
        try {
            isWanted = i_take(i_change);
        } catch (...) {
            failure = std::current_exception();
            isWanted = false;
        }
        return isWanted;
    };
    bool wasHeard = false;
    for (int failures = 0; isWanted;) {
        const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
        if (left <= milliseconds(0))
            return false;
        EventReader reader;
        JobsRequest request{.path = "/events"};
        request.patience = std::min(left, LongestSilence);
        request.take = [&](std::string_view i_bytes) {
            wasHeard = true;
            failures = 0;
            return reader.Add(i_bytes, take) && Clock::now() < end;
        };
        try {
            _impl->http.Send(request, _impl->stop);
        } catch (const JobsError& error) {
            // What ended was the patience, and not the connection: a busy manager may not have said a word yet.
            constexpr milliseconds imprecision(50);
            if (Clock::now() + imprecision >= end)
                return false;
            if (error.GetKind() == JobsError::Kind::Server) {
                if (take({}))
                    _impl->Wait(std::min(left, AskingInterval));
            } else if (wasHeard) {
                _impl->WaitAfter(error, failures);
            } else {
                throw;
            }
        }
    }
    if (failure)
        std::rethrow_exception(failure);
    return true;
}

Jobs::Job JobsClient::WaitForChange(const Jobs::Job& i_job, milliseconds i_longest) const
{
    auto latest = i_job;
    Listen(
        [&](const Jobs::Change& i_change) {
            const bool isMeant = i_change.kind == Jobs::Change::Kind::All || i_change.job == i_job.id;
            if (isMeant)
                latest = GetJob(i_job.id);
            return IsSame(latest, i_job);
        },
        i_longest);
    return latest;
}

} // namespace Hosting
