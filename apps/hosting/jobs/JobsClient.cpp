#include "hosting/jobs/JobsClient_p.h"

#include "hosting/InterruptWatcher.h"
#include "hosting/jobs/JobsJson.h"
#include "tavsdk/FileError.h"
#include "tavsdk/PercentEncoding.h"
#include "tavsdk/RuntimeFolder.h"

#include <QJsonDocument>
#include <QUuid>

#include <condition_variable>
#include <mutex>

namespace Hosting {

namespace {

using Jobs::Job;
using Jobs::Machine;

std::string Join(const std::vector<std::string>& i_texts)
{
    std::string all;
    for (const auto& text : i_texts)
        all += (all.empty() ? "" : ",") + text;
    return all;
}

} // namespace

const char* GetKeyword(Jobs::Action i_action)
{
    switch (i_action) {
    case Jobs::Action::Hold:
        return "hold";
    case Jobs::Action::Release:
        return "release";
    case Jobs::Action::Cancel:
        return "cancel";
    case Jobs::Action::StartAgain:
        return "start-again";
    case Jobs::Action::ConfirmDone:
        return "confirm-done";
    case Jobs::Action::Acknowledge:
        return "acknowledge";
    }
    return "";
}

std::string GetOwnManagerAddress()
{
    try {
        return "unix:" + (TavSDK::GetRuntimeFolder() / "machineservice" / "manager.http").native();
    } catch (const TavSDK::FileError& failure) {
        throw HostingError(QString::fromUtf8(failure.what()));
    }
}

std::string MakeJobId()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString();
}

std::string MakePath(std::initializer_list<std::string_view> i_words)
{
    std::string path;
    for (const auto word : i_words)
        path += '/' + TavSDK::EncodePercent(word);
    return path;
}

QJsonObject JobsClient::Impl::Get(const std::string& i_path) const
{
    return Jobs::ParseObject(http.Send({.path = i_path}, stop).body);
}

QJsonObject JobsClient::Impl::Send(const char* ip_method, const std::string& i_path, const QJsonObject& i_body) const
{
    JobsRequest request{.method = ip_method, .path = i_path};
    if (!i_body.isEmpty()) {
        request.type = "application/json";
        request.body = QJsonDocument(i_body).toJson(QJsonDocument::Compact).toStdString();
    }
    return Jobs::ParseObject(http.Send(request, stop).body);
}

void JobsClient::Impl::Wait(std::chrono::milliseconds i_time) const
{
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable_any().wait_for(lock, stop, i_time, [] { return false; });
    if (stop.stop_requested())
        throw Interruption();
}

void JobsClient::Impl::WaitAfter(const JobsError& i_failure, int& io_failures) const
{
    constexpr int most = 6; // 0.1 s, 0.2 s, …: six seconds in all, in which a manager has started anew
    if (i_failure.GetKind() != JobsError::Kind::NotReached || io_failures >= most)
        throw i_failure;
    Wait(std::chrono::milliseconds(100 << io_failures++));
}

JobsClient::JobsClient(const std::string& i_address, const std::string& i_token, std::stop_token i_stop)
    : _impl(new Impl{JobsHttp(i_address, i_token), std::move(i_stop)})
{}

JobsClient::~JobsClient() = default;

Jobs::JobPage JobsClient::List(const Jobs::Filter& i_filter) const
{
    std::string path = "/jobs?count=" + std::to_string(i_filter.count);
    const auto add = [&path](const char* ip_name, const std::string& i_value) {
        if (!i_value.empty())
            path += std::string("&") + ip_name + '=' + TavSDK::EncodePercent(i_value);
    };
    add("state", Join(i_filter.states));
    add("owner", i_filter.owner);
    add("machine", i_filter.machine);
    add("text", i_filter.text);
    add("order", i_filter.isOldestFirst ? "oldest" : "");
    add("after", i_filter.after > 0 ? std::to_string(i_filter.after) : "");
    return Jobs::ParseJobPage(_impl->Get(path));
}

Job JobsClient::GetJob(const std::string& i_word) const
{
    return Jobs::ParseJob(_impl->Get(MakePath({"jobs", i_word})));
}

std::vector<Jobs::HistoryEntry> JobsClient::GetHistory(const std::string& i_word) const
{
    return Jobs::ParseHistory(_impl->Get(MakePath({"jobs", i_word, "history"})));
}

std::vector<Jobs::Candidate> JobsClient::GetCandidates(const std::string& i_word) const
{
    return Jobs::ParseCandidates(_impl->Get(MakePath({"jobs", i_word, "candidates"})));
}

std::string JobsClient::MakePageAddress(const std::string& i_word) const
{
    return Jobs::ParseText(_impl->Send("POST", MakePath({"jobs", i_word, "address"}), {}), "address");
}

Job JobsClient::Act(const std::string& i_word, Jobs::Action i_action) const
{
    return Jobs::ParseJob(_impl->Send("POST", MakePath({"jobs", i_word, "actions", GetKeyword(i_action)}), {}));
}

Job JobsClient::Move(const std::string& i_word, const Jobs::Target& i_target) const
{
    return Jobs::ParseJob(_impl->Send("POST", MakePath({"jobs", i_word, "actions", "move"}),
                                      {{QStringLiteral("target"), Jobs::MakeTarget(i_target)}}));
}

Job JobsClient::SetPriority(const std::string& i_word, int i_priority) const
{
    return Jobs::ParseJob(_impl->Send("POST", MakePath({"jobs", i_word, "actions", "priority"}),
                                      {{QStringLiteral("priority"), i_priority}}));
}

Job JobsClient::Copy(const std::string& i_word, const std::string& i_new_id) const
{
    return Jobs::ParseJob(_impl->Send("POST", MakePath({"jobs", i_word, "actions", "copy"}),
                                      {{QStringLiteral("id"), QString::fromStdString(i_new_id)}}));
}

std::vector<Machine> JobsClient::GetMachines() const
{
    return Jobs::ParseMachines(_impl->Get("/machines"));
}

Machine JobsClient::GetMachine(const std::string& i_word) const
{
    return Jobs::ParseMachine(_impl->Get(MakePath({"machines", i_word})));
}

Machine JobsClient::Pause(const std::string& i_word, const std::string& i_reason) const
{
    QJsonObject body;
    if (!i_reason.empty())
        body.insert(QStringLiteral("reason"), QString::fromStdString(i_reason));
    return Jobs::ParseMachine(_impl->Send("POST", MakePath({"machines", i_word, "actions", "pause"}), body));
}

Machine JobsClient::Resume(const std::string& i_word) const
{
    return Jobs::ParseMachine(_impl->Send("POST", MakePath({"machines", i_word, "actions", "resume"}), {}));
}

Machine JobsClient::SetLoaded(const std::string& i_word, const Jobs::Loaded& i_loaded) const
{
    return Jobs::ParseMachine(_impl->Send("PUT", MakePath({"machines", i_word, "loaded"}), Jobs::MakeLoaded(i_loaded)));
}

Machine JobsClient::SetPrinter(const std::string& i_word, const std::string& i_printer) const
{
    QJsonValue printer;
    if (!i_printer.empty())
        printer = Jobs::ParseObject(i_printer);
    return Jobs::ParseMachine(
        _impl->Send("PUT", MakePath({"machines", i_word, "printer"}), {{QStringLiteral("printer"), printer}}));
}

Jobs::Information JobsClient::GetInformation() const
{
    return Jobs::ParseInformation(_impl->Get("/information"));
}

} // namespace Hosting
