#include "machinemanager/page/Interface.h"
#include "machinemanager/page/JobJson.h"

#include <algorithm>

namespace MachineService::MachineManager::Interface {

namespace {

// The desk brings each piece to the disk.
constexpr std::size_t PieceSize = 4 << 20;

HttpResponse GetFile(const PageContext& i_context, const Call& i_call, JobDesk::FileKind i_kind)
{
    const auto id = i_context.desk.Find(i_call.actor, i_call.word).id;
    const auto [file, path] = i_context.desk.GetFile(i_call.actor, id, i_kind);
    // What a browser makes of a file is never left to what is in it.
    return SendFile(i_call, file, path,
                    i_kind == JobDesk::FileKind::Picture ? "image/png" : "application/octet-stream");
}

/// Where a piece belongs, and how much it may be.
PieceRange FindPlace(const HttpRequest& i_request, const Job& i_job)
{
    const auto size = i_job.platform.size;
    if (i_request.HasHeader("Content-Range")) {
        const auto piece = ParsePieceRange(i_request.GetHeader("Content-Range"));
        if (piece.whole != size)
            throw HttpError(422, "The platform file was announced with " + std::to_string(size) +
                                     " bytes, and not with " + std::to_string(piece.whole) + '.');
        return piece;
    }
    std::uint64_t offset = 0;
    if (i_request.HasHeader("Upload-Offset"))
        offset = ParseCount(i_request.GetHeader("Upload-Offset"), "Upload-Offset");
    return {offset, offset > size ? 0 : size - offset, size};
}

} // namespace

HttpResponse SendFile(const Call& i_call, const KeptFile& i_file, const std::filesystem::path& i_path,
                      const char* ip_type)
{
    HttpResponse response;
    response.type = ip_type;
    response.Set("Content-Disposition", MakeDisposition(i_file.name));
    response.Set("ETag", '"' + i_file.hash + '"');
    response.Set("Accept-Ranges", "bytes");
    response.file = FileBody{i_path, 0, i_file.size};
    if (const auto range = ParseRange(i_call.request.GetHeader("Range"), i_file.size)) {
        response.status = 206;
        response.file = FileBody{i_path, range->offset, range->size};
        response.Set("Content-Range", "bytes " + std::to_string(range->offset) + '-' +
                                          std::to_string(range->offset + range->size - 1) + '/' +
                                          std::to_string(i_file.size));
    }
    return response;
}

HttpResponse GetPlatform(const PageContext& i_context, const Call& i_call)
{
    return GetFile(i_context, i_call, JobDesk::FileKind::Platform);
}

HttpResponse GetMachineFile(const PageContext& i_context, const Call& i_call)
{
    return GetFile(i_context, i_call, JobDesk::FileKind::MachineFile);
}

HttpResponse GetPicture(const PageContext& i_context, const Call& i_call)
{
    return GetFile(i_context, i_call, JobDesk::FileKind::Picture);
}

HttpResponse GetUpload(const PageContext& i_context, const Call& i_call)
{
    const auto job = i_context.desk.Find(i_call.actor, i_call.word);
    const auto size = static_cast<std::int64_t>(job.platform.size);
    const auto received = static_cast<std::int64_t>(i_context.desk.GetReceived(i_call.actor, job.id));
    auto response = MakeAnswer(QJsonObject{{QStringLiteral("received"), static_cast<qint64>(received)},
                                           {QStringLiteral("size"), static_cast<qint64>(size)}});
    response.Set("Upload-Offset", std::to_string(received));
    response.Set("Upload-Length", std::to_string(size));
    return response;
}

HttpResponse ReceivePiece(const PageContext& i_context, const Call& i_call)
{
    const auto job = i_context.desk.Find(i_call.actor, i_call.word);
    const auto type = i_call.request.GetHeader("Content-Type");
    if (!type.empty() && type != "application/octet-stream")
        throw HttpError(415, "A piece of a platform file is sent as application/octet-stream.");
    const auto place = FindPlace(i_call.request, job);
    auto offset = place.first;
    auto received = i_context.desk.GetReceived(i_call.actor, job.id);
    std::string pending;
    const auto receive = [&] {
        if (pending.empty())
            return;
        received = i_context.desk.Receive(i_call.actor, job.id, offset, pending);
        offset += pending.size();
        pending.clear();
    };
    try {
        i_call.request.readBody(place.size, [&](std::string_view i_bytes) {
            pending += i_bytes;
            if (pending.size() >= PieceSize)
                receive();
        });
    } catch (const HttpError& failure) {
        // What came before a connection broke need not come again.
        if (failure.GetStatus() == 400)
            receive();
        throw;
    }
    receive();
    HttpResponse response;
    response.status = 204;
    response.Set("Upload-Offset", std::to_string(received));
    return response;
}

HttpResponse FinishUpload(const PageContext& i_context, const Call& i_call)
{
    const auto job = i_context.desk.Find(i_call.actor, i_call.word);
    return MakeAnswer(i_context.desk.FinishUpload(i_call.actor, job.id));
}

} // namespace MachineService::MachineManager::Interface
