#include "machinemanager/page/http/Problem.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <map>

namespace MachineService::MachineManager {

const char* GetStatusWords(int i_status)
{
    static const std::map<int, const char*> words = {
        {400, "Bad Request"},
        {401, "Unauthorized"},
        {403, "Forbidden"},
        {404, "Not Found"},
        {405, "Method Not Allowed"},
        {409, "Conflict"},
        {412, "Precondition Failed"},
        {413, "Content Too Large"},
        {414, "URI Too Long"},
        {415, "Unsupported Media Type"},
        {416, "Range Not Satisfiable"},
        {417, "Expectation Failed"},
        {421, "Misdirected Request"},
        {422, "Unprocessable Content"},
        {431, "Request Header Fields Too Large"},
        {500, "Internal Server Error"},
        {501, "Not Implemented"},
        {503, "Service Unavailable"},
        {505, "HTTP Version Not Supported"},
    };
    const auto found = words.find(i_status);
    return found == words.end() ? "Failure" : found->second;
}

int GetStatus(ManagerError::Kind i_kind)
{
    switch (i_kind) {
    case ManagerError::Kind::NotFound:
        return 404;
    case ManagerError::Kind::Conflict:
    case ManagerError::Kind::LostClaim:
        return 409;
    case ManagerError::Kind::BadInput:
        return 422;
    case ManagerError::Kind::Forbidden:
        return 403;
    case ManagerError::Kind::Storage:
        return 503;
    }
    return 500;
}

HttpResponse MakeProblem(int i_status, const std::string& i_sentence)
{
    QJsonObject problem;
    problem.insert(QStringLiteral("type"), QStringLiteral("about:blank"));
    problem.insert(QStringLiteral("title"), QString::fromLatin1(GetStatusWords(i_status)));
    problem.insert(QStringLiteral("status"), i_status);
    problem.insert(QStringLiteral("detail"), QString::fromStdString(i_sentence));
    HttpResponse response;
    response.status = i_status;
    response.type = "application/problem+json";
    response.body = QJsonDocument(problem).toJson(QJsonDocument::Compact).toStdString();
    if (i_status == 401)
        response.Set("WWW-Authenticate", "Bearer");
    if (i_status == 503)
        response.Set("Retry-After", "5");
    return response;
}

} // namespace MachineService::MachineManager
