#include "machinemanager/StoreDesk.h"
#include "machinemanager/page/Interface.h"
#include "machinemanager/page/JobJson.h"
#include "machinemanager/page/JsonBody.h"

namespace MachineService::MachineManager::Interface {

namespace {

constexpr std::uint64_t LongestBody = 64 * 1024;
constexpr std::uint64_t LongestPiece = 16 << 20;

StoreDesk& GetDesk(const PageContext& i_context)
{
    return i_context.desk.GetStoreDesk();
}

QJsonArray ToJson(const std::vector<StoreFinding>& i_findings)
{
    QJsonArray findings;
    for (const auto& finding : i_findings)
        findings.append(QJsonObject{
            {QStringLiteral("kind"), QLatin1String(finding.kind)},
            {QStringLiteral("number"),
             finding.number == 0 ? QJsonValue() : QJsonValue(static_cast<qint64>(finding.number))},
            {QStringLiteral("job"), QString::fromStdString(finding.job)},
            {QStringLiteral("file"), QString::fromStdString(finding.file)},
            {QStringLiteral("sha256"), QString::fromStdString(finding.hash)},
            {QStringLiteral("detail"), QString::fromStdString(finding.detail)},
        });
    return findings;
}

} // namespace

HttpResponse BeginBackup(const PageContext& i_context, const Call& i_call)
{
    HttpResponse response;
    response.status = 201;
    response.type = "application/json";
    response.body = WriteContents(GetDesk(i_context).BeginBackup(i_call.actor));
    return response;
}

HttpResponse EndBackup(const PageContext& i_context, const Call& i_call)
{
    const auto id = ParseId(i_call.word);
    if (!id)
        throw HttpError(404, "There is no such backup.");
    GetDesk(i_context).EndBackup(i_call.actor, *id);
    HttpResponse response;
    response.status = 204;
    return response;
}

HttpResponse ListKeptFiles(const PageContext& i_context, const Call& i_call)
{
    QJsonArray files;
    for (const auto& file : GetDesk(i_context).ListFiles(i_call.actor))
        files.append(QJsonObject{{QStringLiteral("sha256"), QString::fromStdString(file.hash)},
                                 {QStringLiteral("size"), static_cast<qint64>(file.size)}});
    return MakeAnswer(QJsonObject{{QStringLiteral("files"), files}});
}

HttpResponse GetKeptFile(const PageContext& i_context, const Call& i_call)
{
    const auto [file, path] = GetDesk(i_context).GetFile(i_call.actor, i_call.word);
    return SendFile(i_call, file, path, "application/octet-stream");
}

HttpResponse ReceiveKeptFile(const PageContext& i_context, const Call& i_call)
{
    const auto& request = i_call.request;
    const auto offset = ParseCount(request.GetHeader("Upload-Offset"), "Upload-Offset");
    const KeptFile file{i_call.word, i_call.word, ParseCount(request.GetHeader("Upload-Length"), "Upload-Length")};
    const auto received = GetDesk(i_context).ReceiveFile(i_call.actor, file, offset, request.ReadBody(LongestPiece));
    HttpResponse response;
    response.status = 204;
    response.Set("Upload-Offset", std::to_string(received));
    return response;
}

HttpResponse Restore(const PageContext& i_context, const Call& i_call)
{
    JsonBody body(i_call.request.ReadBody(LongestBody));
    RestoreRequest request;
    request.store = body.RequiredText("store");
    request.mayReplace = body.Flag("replace");
    request.mayLackFiles = body.Flag("withoutFiles");
    body.Finish();
    const auto outcome = GetDesk(i_context).Restore(i_call.actor, request);
    return MakeAnswer({{QStringLiteral("jobs"), static_cast<qint64>(outcome.jobs)},
                       {QStringLiteral("held"), static_cast<qint64>(outcome.held)},
                       {QStringLiteral("aside"), QString::fromStdString(outcome.aside.native())}});
}

HttpResponse CheckStore(const PageContext& i_context, const Call& i_call)
{
    return MakeAnswer(QJsonObject{{QStringLiteral("findings"), ToJson(GetDesk(i_context).Check(i_call.actor))}});
}

HttpResponse CheckKeptFiles(const PageContext& i_context, const Call& i_call)
{
    const auto& request = i_call.request;
    const auto after = request.GetQuery("after");
    const auto content = request.GetQuery("content");
    if (!content.empty() && content != "true" && content != "false")
        throw HttpError(400, "'content' must be 'true' or 'false'.");
    const auto number = after.empty() ? 0 : std::min<std::uint64_t>(ParseCount(after, "'after'"), INT64_MAX);
    const auto checked =
        GetDesk(i_context).CheckFiles(i_call.actor, static_cast<std::int64_t>(number), content != "false");
    return MakeAnswer(
        {{QStringLiteral("findings"), ToJson(checked.findings)},
         {QStringLiteral("files"), static_cast<qint64>(checked.count)},
         {QStringLiteral("next"), checked.next ? QJsonValue(static_cast<qint64>(*checked.next)) : QJsonValue()}});
}

} // namespace MachineService::MachineManager::Interface
