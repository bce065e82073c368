#include "hosting/InterruptWatcher.h"
#include "hosting/jobs/JobsClient_p.h"
#include "hosting/jobs/JobsJson.h"
#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <QCoreApplication>
#include <QCryptographicHash>

#include <algorithm>
#include <charconv>

#include <unistd.h>

namespace Hosting {

namespace {

using Kind = JobsError::Kind;

constexpr std::size_t PieceSize = 4 << 20; // what the manager brings to the disk at a time
// The manager reads the whole file before it answers.
constexpr std::chrono::minutes FinishTime(5);

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Hosting::JobsTransfers)
};

QString Show(const std::filesystem::path& i_path)
{
    return QString::fromStdString(TavSDK::Quote(TavSDK::ShowPath(i_path)));
}

HostingError CannotRead(const std::filesystem::path& i_path, const char* ip_reason)
{
    return HostingError(Texts::tr("The file %1 cannot be read: %2.").arg(Show(i_path), QString::fromUtf8(ip_reason)));
}

/// A platform file while it is handed in.
class Source
{
public:
    explicit Source(const std::filesystem::path& i_path)
        : _path(i_path)
        , _file(i_path)
    {}

    Jobs::File Describe(const std::stop_token& i_stop)
    {
        QCryptographicHash hash(QCryptographicHash::Sha256);
        std::string bytes(PieceSize, '\0');
        std::uint64_t size = 0;
        while (const auto count = _file.Read(bytes.data(), bytes.size())) {
            if (i_stop.stop_requested())
                throw Interruption();
            hash.addData(bytes.data(), static_cast<int>(count));
            size += count;
        }
        return {TavSDK::ShowPath(_path.filename()), size, hash.result().toHex().toStdString()};
    }
    std::string Read(std::uint64_t i_offset, std::uint64_t i_count) const
    {
        std::string bytes(std::min<std::uint64_t>(i_count, PieceSize), '\0');
        std::size_t done = 0;
        while (done < bytes.size()) {
            const auto count = ::pread(_file.GetDescriptor(), bytes.data() + done, bytes.size() - done,
                                       static_cast<off_t>(i_offset + done));
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                throw TavSDK::FileError(count < 0 ? TavSDK::ErrnoText(errno)
                                                  : "it has become shorter since it was first read");
            done += static_cast<std::size_t>(count);
        }
        return bytes;
    }

private:
    const std::filesystem::path _path;
    TavSDK::InputFile _file;
};

std::uint64_t ReadNumber(const std::map<std::string, std::string>& i_headers, const char* ip_name)
{
    std::uint64_t number = 0;
    if (const auto found = i_headers.find(ip_name); found != i_headers.end())
        std::from_chars(found->second.data(), found->second.data() + found->second.size(), number);
    return number;
}

const char* GetName(Jobs::FileKind i_kind)
{
    switch (i_kind) {
    case Jobs::FileKind::Platform:
        return "platform";
    case Jobs::FileKind::MachineFile:
        return "machine-file";
    case Jobs::FileKind::Picture:
        return "picture";
    }
    return "";
}

/// What comes of a file, maybe over several connections.
struct Arrival
{
    std::uint64_t done = 0;
    std::uint64_t all = 0;
    std::uint64_t skip = 0; ///< that comes once more, because the manager sends the whole file
    std::string tag;        ///< SHA-256 in quotation marks
    QCryptographicHash hash{QCryptographicHash::Sha256};

    void Begin(const std::map<std::string, std::string>& i_headers)
    {
        const auto found = i_headers.find("etag");
        const auto newTag = found == i_headers.end() ? std::string() : found->second;
        if (done > 0 && newTag != tag)
            throw JobsError(Kind::Conflict,
                            Texts::tr("The file of the job has changed while it came; get it once more."));
        tag = newTag;
        const bool isPart = i_headers.count("content-range") > 0;
        skip = isPart ? 0 : done;
        all = ReadNumber(i_headers, "content-length") + (isPart ? done : 0);
    }
    bool IsWhole() const { return done == all && tag == '"' + hash.result().toHex().toStdString() + '"'; }
};

/// Sends what is missing of a platform file.
void Upload(const JobsClient::Progress& i_progress, const Source& i_source, std::uint64_t i_size,
            std::uint64_t i_received, const std::function<std::uint64_t()>& i_get_received,
            const std::function<std::uint64_t(std::uint64_t i_offset, std::string i_bytes)>& i_send,
            const std::function<void(const JobsError&, int&)>& i_wait)
{
    int failures = 0;
    int conflicts = 0;
    bool isKnown = true;
    for (auto offset = i_received;;) {
        try {
            if (!isKnown)
                offset = i_get_received();
            isKnown = true;
            if (i_progress)
                i_progress(offset, i_size);
            if (offset >= i_size)
                return;
            const auto before = offset;
            offset = i_send(offset, i_source.Read(offset, i_size - offset));
            if (offset > before)
                failures = 0;
        } catch (const JobsError& failure) {
            // Somebody else may send the same job, or have cancelled it: what is there now is asked for once.
            if (failure.GetKind() != Kind::Conflict || conflicts++ > 0)
                i_wait(failure, failures);
            isKnown = false;
        }
    }
}

} // namespace

std::uint64_t JobsClient::Impl::GetReceived(const std::string& i_id) const
{
    return Jobs::ParseCount(Get(MakePath({"jobs", i_id, "platform"})), "received");
}

Jobs::Job JobsClient::Submit(const Jobs::NewJob& i_job, const std::filesystem::path& i_platform,
                             const Progress& i_progress) const
try {
    const auto& impl = *_impl;
    Source source(i_platform);
    const auto file = source.Describe(impl.stop);
    auto job = Jobs::ParseJob(impl.Send("POST", "/jobs", Jobs::MakeNewJob(i_job, file)));
    if (job.platform.sha256 != file.sha256)
        throw JobsError(
            Kind::Conflict,
            Texts::tr("The id %1 is that of another job already, of the file %2; take a new one.")
                .arg(QString::fromStdString(job.id), QString::fromStdString(TavSDK::Quote(job.platform.name))));
    const auto send = [&](std::uint64_t i_offset, std::string i_bytes) {
        JobsRequest request{.method = "PATCH", .path = MakePath({"jobs", job.id, "platform"})};
        request.headers.emplace_back("Upload-Offset", std::to_string(i_offset));
        request.type = "application/octet-stream";
        request.body = std::move(i_bytes);
        return ReadNumber(impl.http.Send(request, impl.stop).headers, "upload-offset");
    };
    const auto wait = [&](const JobsError& i_failure, int& io_failures) {
        impl.WaitAfter(i_failure, io_failures);
    };
    const auto finish = [&] {
        Upload(
            i_progress, source, file.size, impl.GetReceived(job.id), [&] { return impl.GetReceived(job.id); }, send,
            wait);
        JobsRequest request{.method = "POST", .path = MakePath({"jobs", job.id, "finish"})};
        request.patience = FinishTime;
        return Jobs::ParseJob(Jobs::ParseObject(impl.http.Send(request, impl.stop).body));
    };
    bool isSecond = false;
    for (int failures = 0;;) {
        try {
            return finish();
        } catch (const JobsError& failure) {
            // What an earlier program left may be damaged; the manager has dropped it then.
            if (failure.GetKind() == Kind::BadInput && !isSecond && impl.GetReceived(job.id) < file.size)
                isSecond = true;
            else
                impl.WaitAfter(failure, failures);
        }
    }
} catch (const TavSDK::FileError& failure) {
    throw CannotRead(i_platform, failure.what());
}

void JobsClient::Download(const std::string& i_word, Jobs::FileKind i_kind, const std::filesystem::path& i_target,
                          const Progress& i_progress) const
try {
    TavSDK::AtomicFile file(i_target);
    Arrival arrival;
    JobsRequest request{.path = MakePath({"jobs", i_word, "files", GetName(i_kind)})};
    request.begin = [&](const auto& i_headers) {
        arrival.Begin(i_headers);
    };
    request.take = [&](std::string_view i_bytes) {
        const auto skipped = std::min<std::uint64_t>(arrival.skip, i_bytes.size());
        arrival.skip -= skipped;
        i_bytes.remove_prefix(skipped);
        file.Write(i_bytes);
        arrival.hash.addData(i_bytes.data(), static_cast<int>(i_bytes.size()));
        arrival.done += i_bytes.size();
        if (i_progress)
            i_progress(arrival.done, arrival.all);
        return true;
    };
    for (int failures = 0;;) {
        const auto before = arrival.done;
        try {
            _impl->http.Send(request, _impl->stop);
            break;
        } catch (const JobsError& failure) {
            if (arrival.done > before)
                failures = 0;
            if (before == 0 && arrival.done == 0)
                throw;
            _impl->WaitAfter(failure, failures);
            request.headers = {{"Range", "bytes=" + std::to_string(arrival.done) + '-'}};
        }
    }
    if (!arrival.IsWhole())
        throw JobsError(Kind::Server, Texts::tr("The file of the job %1 came damaged; get it once more.")
                                          .arg(QString::fromStdString(TavSDK::Quote(i_word))));
    file.Commit();
} catch (const TavSDK::FileError& failure) {
    throw HostingError(
        Texts::tr("The file %1 cannot be written: %2.").arg(Show(i_target), QString::fromUtf8(failure.what())));
}

} // namespace Hosting
