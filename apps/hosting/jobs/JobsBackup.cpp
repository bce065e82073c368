#include "hosting/jobs/JobsClient_p.h"
#include "hosting/jobs/JobsJson.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QJsonDocument>

#include <algorithm>

namespace Hosting {

namespace {

using Kind = JobsError::Kind;

// The manager copies or reads a whole store before it answers.
constexpr std::chrono::minutes StoreTime(15);

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Hosting::JobsBackup)
};

/// A request that the manager takes long for.
QJsonObject SendSlow(const JobsHttp& i_http, const std::stop_token& i_stop, const char* ip_method,
                     const std::string& i_path, const QJsonObject& i_body = {})
{
    JobsRequest request{.method = ip_method, .path = i_path};
    request.patience = StoreTime;
    if (!i_body.isEmpty()) {
        request.type = "application/json";
        request.body = QJsonDocument(i_body).toJson(QJsonDocument::Compact).toStdString();
    }
    return Jobs::ParseObject(i_http.Send(request, i_stop).body);
}

} // namespace

Jobs::BackupContents JobsClient::BeginBackup() const
{
    return Jobs::ParseBackupContents(SendSlow(_impl->http, _impl->stop, "POST", "/backups"));
}

void JobsClient::EndBackup(const std::string& i_id) const
{
    _impl->http.Send({.method = "POST", .path = MakePath({"backups", i_id, "end"})}, _impl->stop);
}

std::vector<Jobs::StoredFile> JobsClient::ListFiles() const
{
    return Jobs::ParseStoredFiles(SendSlow(_impl->http, _impl->stop, "GET", "/files"));
}

bool JobsClient::FetchFile(const Jobs::StoredFile& i_file, const std::function<void(std::string_view)>& i_take) const
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    std::uint64_t done = 0;
    std::uint64_t skip = 0;
    JobsRequest request{.path = MakePath({"files", i_file.sha256})};
    request.begin = [&](const auto& i_headers) {
        skip = i_headers.count("content-range") > 0 ? 0 : done;
    };
    request.take = [&](std::string_view i_bytes) {
        const auto skipped = std::min<std::uint64_t>(skip, i_bytes.size());
        skip -= skipped;
        i_bytes.remove_prefix(skipped);
        if (i_bytes.size() > i_file.size - done)
            throw JobsError(Kind::Conflict, Texts::tr("The kept file %1 has grown while it came; see whether somebody "
                                                      "writes into the manager's folder.")
                                                .arg(QString::fromStdString(i_file.sha256)));
        hash.addData(i_bytes.data(), static_cast<int>(i_bytes.size()));
        done += i_bytes.size();
        i_take(i_bytes);
        return true;
    };
    for (int failures = 0;;) {
        const auto before = done;
        try {
            _impl->http.Send(request, _impl->stop);
            break;
        } catch (const JobsError& failure) {
            if (done > before)
                failures = 0;
            _impl->WaitAfter(failure, failures);
            request.headers.clear();
            if (done > 0)
                request.headers.emplace_back("Range", "bytes=" + std::to_string(done) + '-');
        }
    }
    if (done != i_file.size)
        throw JobsError(Kind::Conflict,
                        Texts::tr("The kept file %1 has shrunk while it came; see whether somebody writes into the "
                                  "manager's folder.")
                            .arg(QString::fromStdString(i_file.sha256)));
    return hash.result().toHex().toStdString() == i_file.sha256;
}

void JobsClient::SendFile(const Jobs::StoredFile& i_file, const std::function<std::string()>& i_read) const
{
    std::uint64_t offset = 0;
    do {
        JobsRequest request{.method = "PATCH", .path = MakePath({"files", i_file.sha256})};
        request.headers = {{"Upload-Offset", std::to_string(offset)}, {"Upload-Length", std::to_string(i_file.size)}};
        request.type = "application/octet-stream";
        request.patience = StoreTime;
        request.body = i_read();
        if (request.body.empty() && offset < i_file.size)
            throw JobsError(Kind::BadInput, Texts::tr("The file %1 of the backup has become shorter; try again.")
                                                .arg(QString::fromStdString(i_file.sha256)));
        for (int failures = 0;;) {
            try {
                _impl->http.Send(request, _impl->stop);
                break;
            } catch (const JobsError& failure) {
                // The same piece once more does no harm.
                _impl->WaitAfter(failure, failures);
            }
        }
        offset += request.body.size();
    } while (offset < i_file.size);
}

Jobs::Restored JobsClient::Restore(const std::string& i_store, bool i_may_replace, bool i_may_lack_files) const
{
    return Jobs::ParseRestored(SendSlow(_impl->http, _impl->stop, "POST", "/restore",
                                        {{QStringLiteral("store"), QString::fromStdString(i_store)},
                                         {QStringLiteral("replace"), i_may_replace},
                                         {QStringLiteral("withoutFiles"), i_may_lack_files}}));
}

std::vector<Jobs::Finding> JobsClient::CheckStore() const
{
    return Jobs::ParseFindings(SendSlow(_impl->http, _impl->stop, "GET", "/check"));
}

Jobs::CheckedFiles JobsClient::CheckFiles(std::int64_t i_after, bool i_is_whole) const
{
    return Jobs::ParseCheckedFiles(
        SendSlow(_impl->http, _impl->stop, "GET",
                 "/check/files?after=" + std::to_string(i_after) + (i_is_whole ? "" : "&content=false")));
}

} // namespace Hosting
