#pragma once

#include "hosting/jobs/JobsClient.h"
#include "hosting/jobs/JobsHttp.h"

#include <QJsonObject>

namespace Hosting {

struct JobsClient::Impl
{
    QJsonObject Get(const std::string& i_path) const;
    QJsonObject Send(const char* ip_method, const std::string& i_path, const QJsonObject& i_body) const;
    /// Bytes of a platform file that are there.
    std::uint64_t GetReceived(const std::string& i_id) const;
    /// \throws Interruption
    void Wait(std::chrono::milliseconds i_time) const;
    /// The wait before a broken connection is tried once more.
    /// \throws what broke it, after too many.
    void WaitAfter(const JobsError& i_failure, int& io_failures) const;

    JobsHttp http;
    std::stop_token stop;
};

/// Path of a job, a machine or what belongs to it: {"jobs", word, "history"}.
std::string MakePath(std::initializer_list<std::string_view> i_words);

} // namespace Hosting
