#include "services/machinemanager/page/PageFixture.h"

#include <QProcess>

namespace MachineService::MachineManager::Testing {

namespace {

class InterfaceTest : public PageFixture
{
protected:
    /// Keeps what was asked and answered, and gives it back.
    httplib::Response Keep(const std::string& i_method, const std::string& i_path, const httplib::Result& i_result)
    {
        EXPECT_TRUE(i_result) << i_method << ' ' << i_path << ": " << to_string(i_result.error());
        if (!i_result)
            return {};
        exchanges.append(
            QJsonObject{{QStringLiteral("method"), QString::fromStdString(i_method)},
                        {QStringLiteral("path"), QString::fromStdString(i_path)},
                        {QStringLiteral("status"), i_result->status},
                        {QStringLiteral("type"), QString::fromStdString(i_result->get_header_value("Content-Type"))},
                        {QStringLiteral("headers"), GetHeaders(*i_result)},
                        {QStringLiteral("body"), QString::fromStdString(i_result->body)}});
        return *i_result;
    }
    httplib::Response Get(const std::string& i_path, const httplib::Headers& i_headers = {})
    {
        return Keep("GET", i_path, ConnectLocally().Get(i_path, i_headers));
    }
    httplib::Response Post(const std::string& i_path, const std::string& i_body = {},
                           const httplib::Headers& i_headers = {})
    {
        return Keep("POST", i_path, ConnectLocally().Post(i_path, i_headers, i_body, "application/json"));
    }
    httplib::Response Put(const std::string& i_path, const std::string& i_body)
    {
        return Keep("PUT", i_path, ConnectLocally().Put(i_path, i_body, "application/json"));
    }
    httplib::Response Patch(const std::string& i_path, const std::string& i_bytes, const httplib::Headers& i_headers)
    {
        return Keep("PATCH", i_path, ConnectLocally().Patch(i_path, i_headers, i_bytes, "application/octet-stream"));
    }

    /// All exchanges that were kept are as docs/manager-api.yaml says.
    void CheckAgainstDocument() const
    {
        const auto file = folder.GetAbsoluteDir() / "exchanges.json";
        TestSupport::WriteFile(file, QJsonDocument(exchanges).toJson().toStdString());
        QProcess check;
        check.setProcessChannelMode(QProcess::MergedChannels);
        check.start(QStringLiteral("/usr/bin/python3"), {QStringLiteral(OPENAPI_CHECK), QStringLiteral(MANAGER_API),
                                                         QString::fromStdString(file.string())});
        ASSERT_TRUE(check.waitForFinished(60'000));
        EXPECT_EQ(0, check.exitCode()) << check.readAll().toStdString();
    }

    QJsonArray exchanges;

private:
    static QJsonObject GetHeaders(const httplib::Response& i_response)
    {
        QJsonObject headers;
        for (const auto& [name, value] : i_response.headers)
            headers.insert(QString::fromStdString(name).toLower(), QString::fromStdString(value));
        return headers;
    }
};

constexpr const char* Jobs = "/api/v1/jobs";
const std::string JobPath = std::string(Jobs) + '/' + to_string(MakeId(9));

} // namespace

TEST_F(InterfaceTest, AJobIsAnnouncedUploadedInPiecesAndHandedInOnce)
{
    Start();
    const auto bytes = MakePlatformBytes();
    const auto half = bytes.size() / 2;
    const auto announcement = Write(MakeAnnouncement(9, bytes));

    const auto created = Post(Jobs, announcement);
    EXPECT_EQ(201, created.status);
    EXPECT_EQ(JobPath, created.get_header_value("Location"));
    EXPECT_EQ("pending-held", GetText(ParseJson(created.body), "state"));
    EXPECT_EQ(200, Post(Jobs, announcement).status) << "the same id is the same job";

    EXPECT_EQ(204, Patch(JobPath + "/platform", bytes.substr(0, half), {{"Upload-Offset", "0"}}).status);
    EXPECT_EQ(409, Patch(JobPath + "/platform", "x", {{"Upload-Offset", std::to_string(half + 1)}}).status)
        << "nothing may be left out";
    EXPECT_EQ(413, Patch(JobPath + "/platform", bytes + 'x', {}).status) << "more than was announced";
    const auto known = Keep("HEAD", JobPath + "/platform", ConnectLocally().Head(JobPath + "/platform"));
    EXPECT_EQ(std::to_string(half), known.get_header_value("Upload-Offset"));
    EXPECT_EQ(422, Post(JobPath + "/finish").status) << "half a file";
    EXPECT_EQ("0", Get(JobPath + "/platform").get_header_value("Upload-Offset")) << "it comes from its beginning again";

    EXPECT_EQ(204, Patch(JobPath + "/platform", bytes.substr(0, half), {}).status);
    const auto range =
        "bytes " + std::to_string(half) + '-' + std::to_string(bytes.size() - 1) + '/' + std::to_string(bytes.size());
    EXPECT_EQ(
        std::to_string(bytes.size()),
        Patch(JobPath + "/platform", bytes.substr(half), {{"Content-Range", range}}).get_header_value("Upload-Offset"));
    const auto finished = Post(JobPath + "/finish");
    EXPECT_EQ("pending", GetText(ParseJson(finished.body), "state")) << finished.body;
    EXPECT_EQ(200, Post(JobPath + "/finish").status) << "whoever did not hear the answer asks again";
    EXPECT_EQ(bytes, Get(JobPath + "/files/platform").body);
    EXPECT_EQ(bytes.substr(2, 3), Get(JobPath + "/files/platform", {{"Range", "bytes=2-4"}}).body);
    CheckAgainstDocument();
}

TEST_F(InterfaceTest, EveryAnswerIsAsTheDocumentSays)
{
    Start();
    Submit(9, "bracket");
    Submit(10, "hinge");
    const auto job = ParseJson(Get(JobPath).body);
    EXPECT_EQ("pending", GetText(job, "state"));
    EXPECT_EQ("job-queued", job.value(QLatin1String("reasons")).toArray().at(0).toString().toStdString());
    EXPECT_EQ(200, Get("/api/v1/jobs/1").status) << "by its number";

    EXPECT_EQ("pending-held", GetText(ParseJson(Post(JobPath + "/actions/hold").body), "state"));
    EXPECT_EQ("pending", GetText(ParseJson(Post(JobPath + "/actions/release").body), "state"));
    EXPECT_EQ(409, Post(JobPath + "/actions/start-again").status);
    EXPECT_EQ(409, Post(JobPath + "/actions/confirm-done").status);
    EXPECT_EQ(200, Post(JobPath + "/actions/acknowledge").status);
    EXPECT_EQ(200, Post(JobPath + "/actions/priority", R"({"priority":70})").status);
    EXPECT_EQ(200, Post(JobPath + "/actions/move", R"({"target":{"machine":")" + to_string(MakeId(2)) + "\"}}").status);
    EXPECT_EQ(200, Post(JobPath + "/actions/place", R"({"before":null})").status);
    EXPECT_EQ(201, Post(JobPath + "/actions/copy", R"({"id":")" + to_string(MakeId(11)) + "\"}").status);
    EXPECT_EQ("canceled", GetText(ParseJson(Post(JobPath + "/actions/cancel").body), "state"));
    Get(JobPath + "/history");
    Get("/api/v1/jobs/2/candidates");
    Get(JobPath + "/files/picture");
    const auto address = GetText(ParseJson(Post(JobPath + "/address").body), "address");
    EXPECT_THAT(address, StartsWith(page->GetAddress() + "/jobs/"));

    Get("/api/v1/machines");
    const auto machine = "/api/v1/machines/" + to_string(MakeId(1));
    EXPECT_TRUE(ParseJson(Post(machine + "/actions/pause", R"({"reason":"new nozzle"})").body)
                    .value(QLatin1String("paused"))
                    .toBool());
    Post(machine + "/actions/resume");
    EXPECT_EQ("PETG", GetText(ParseJson(Put(machine + "/loaded", R"({"material":"PETG","nozzle":0.4})").body)
                                  .value(QLatin1String("loaded"))
                                  .toObject(),
                              "material"));
    EXPECT_EQ(200, Put(machine + "/printer", R"({"printer":null})").status);
    EXPECT_EQ(200, Get("/api/v1/machines/Kestrel").status) << "by the beginning of its name";
    const auto information = ParseJson(Get("/api/v1/information").body);
    EXPECT_EQ(page->GetAddress(), GetText(information, "pageAddress"));
    EXPECT_EQ(1, information.value(QLatin1String("jobs")).toObject().value(QLatin1String("canceled")).toInt());
    EXPECT_EQ("ok", GetText(ParseJson(Get("/health").body), "status"));
    EXPECT_THAT(Get("/metrics").body, AllOf(HasSubstr("machinemanager_jobs{state=\"canceled\"} 1\n"),
                                            HasSubstr("machinemanager_requests_total{code=\"409\"} 2\n")));
    CheckAgainstDocument();
}

TEST_F(InterfaceTest, StoreAndFilesAreFetchedAndPutBackAsAWhole)
{
    Start();
    Submit(9, "bracket");
    const auto begun = ParseJson(Post("/api/v1/backups").body);
    EXPECT_EQ(1, begun.value(QLatin1String("jobs")).toInt());
    const auto hash = GetText(begun.value(QLatin1String("store")).toObject(), "sha256");
    const auto path = "/api/v1/files/" + hash;
    const auto bytes = Get(path).body;
    EXPECT_EQ(
        hash,
        QCryptographicHash::hash(QByteArray::fromStdString(bytes), QCryptographicHash::Sha256).toHex().toStdString());
    EXPECT_EQ(bytes.substr(6, 3), Get(path, {{"Range", "bytes=6-8"}}).body);
    const auto platform = GetText(begun.value(QLatin1String("files")).toArray().at(0).toObject(), "sha256");
    EXPECT_THAT(Get("/api/v1/files").body, AllOf(HasSubstr(hash), HasSubstr(platform)));
    // As long as somebody gets them, no file goes, whether or not a job needs it.
    EXPECT_EQ(0u, files->Sweep([] { return std::set<std::string>(); }, store->Now() + std::chrono::hours(2)));
    EXPECT_EQ(204, Post("/api/v1/backups/" + GetText(begun, "id") + "/end").status);
    EXPECT_LT(0u, files->Sweep([] { return std::set<std::string>(); }, store->Now() + std::chrono::hours(2)));
    EXPECT_EQ(404, Get(path).status);
    EXPECT_THAT(Get("/api/v1/check/files?content=false").body, HasSubstr("\"missing\""));

    const auto send = [&](std::uint64_t i_offset, const std::string& i_bytes, const std::string& i_path) {
        return Patch(i_path, i_bytes,
                     {{"Upload-Offset", std::to_string(i_offset)}, {"Upload-Length", std::to_string(bytes.size())}})
            .status;
    };
    const auto order = R"({"store":")" + hash + "\"";
    EXPECT_EQ(404, Post("/api/v1/restore", order + "}").status);
    EXPECT_EQ(409, send(1, bytes.substr(1), path)) << "nothing may be left out";
    EXPECT_EQ(422, send(0, std::string(bytes.size(), 'x'), path)) << "another content than its name says";
    EXPECT_EQ(422, send(0, "x", "/api/v1/files/nonsense"));
    EXPECT_EQ(204, send(0, bytes.substr(0, 1'000), path));
    EXPECT_EQ(204, send(1'000, bytes.substr(1'000), path));
    EXPECT_EQ(204, send(1'000, bytes.substr(1'000), path)) << "whoever did not hear the answer sends it again";
    EXPECT_EQ(409, Post("/api/v1/restore", order + "}").status) << "a file is missing";
    EXPECT_EQ(409, Post("/api/v1/restore", order + R"(,"withoutFiles":true})").status) << "there is a job";
    const auto restored = ParseJson(Post("/api/v1/restore", order + R"(,"withoutFiles":true,"replace":true})").body);
    EXPECT_EQ(1, restored.value(QLatin1String("held")).toInt());
    EXPECT_TRUE(std::filesystem::exists(GetText(restored, "aside") + "/contents.json"));
    EXPECT_EQ("pending-held", GetText(ParseJson(Get(JobPath).body), "state"));
    EXPECT_EQ(404, Post("/api/v1/restore", R"({"store":")" + platform + "\"}").status) << "it was swept";
    EXPECT_EQ(200, Get("/api/v1/check").status);
    EXPECT_EQ(400, Get("/api/v1/check/files?content=maybe").status);
    CheckAgainstDocument();
}

TEST_F(InterfaceTest, ListsArePagedAndFiltered)
{
    Start();
    for (std::uint8_t number = 10; number < 17; ++number)
        Submit(number, number % 2 == 0 ? "hinge" : "bracket");
    const auto getNumbers = [&](const std::string& i_query) {
        std::vector<int> numbers;
        auto path = Jobs + ('?' + i_query);
        while (true) {
            const auto answer = ParseJson(Get(path).body);
            for (const auto job : answer.value(QLatin1String("jobs")).toArray())
                numbers.push_back(job.toObject().value(QLatin1String("number")).toInt());
            const auto next = answer.value(QLatin1String("next"));
            if (next.isNull())
                return numbers;
            path = Jobs + ('?' + i_query) + "&after=" + std::to_string(next.toInt());
        }
    };
    EXPECT_THAT(getNumbers("count=3"), ElementsAre(7, 6, 5, 4, 3, 2, 1));
    EXPECT_THAT(getNumbers("count=2&order=oldest&text=hinge"), ElementsAre(1, 3, 5, 7));
    EXPECT_THAT(getNumbers("state=canceled,aborted"), IsEmpty());
    EXPECT_THAT(getNumbers("machine=" + to_string(MakeId(2))), IsEmpty());
    for (const char* wrong :
         {"state=done", "count=0", "count=501", "after=-1", "order=up", "text=%ff", "text=%zz", "count=1e3"})
        EXPECT_EQ(400, Get(Jobs + ('?' + std::string(wrong))).status) << wrong;
    CheckAgainstDocument();
}

TEST_F(InterfaceTest, WhatChangedSinceItWasReadIsNotChanged)
{
    Start();
    Submit(9, "bracket");
    const auto tag = Get(JobPath).get_header_value("ETag");
    EXPECT_EQ(304, Get(JobPath, {{"If-None-Match", tag}}).status);
    EXPECT_EQ(200, Post(JobPath + "/actions/hold", {}, {{"If-Match", tag}}).status);
    EXPECT_EQ(200, Get(JobPath, {{"If-None-Match", tag}}).status);
    EXPECT_EQ(412, Post(JobPath + "/actions/release", {}, {{"If-Match", tag}}).status);
    EXPECT_EQ(409, Post(JobPath + "/actions/hold", {}, {{"If-Match", "*"}}).status);
    EXPECT_EQ("held", GetText(ParseJson(Get(JobPath).body), "phase"));
    CheckAgainstDocument();
}

TEST_F(InterfaceTest, DamagedRequestsAreRefusedWithTheNameOfTheField)
{
    Start();
    const auto good = MakeAnnouncement(9, "x");
    const auto with = [&](const char* ip_name, const QJsonValue& i_value) {
        auto changed = good;
        changed.insert(QLatin1String(ip_name), i_value);
        return Write(changed);
    };
    auto folderName = good.value(QLatin1String("platform")).toObject();
    folderName.insert(QStringLiteral("name"), QStringLiteral("../../etc/passwd"));
    const std::vector<std::tuple<std::string, int, std::string>> rows = {
        {"", 422, "'id'"},
        {"[]", 400, "JSON object"},
        {"{\"id\":", 400, "JSON object"},
        {std::string(3'000, '['), 400, "32 levels"},
        {R"({"id":[{}],"id":[{}]})", 400, "names a field twice"},
        {R"({"id":1,"\u0069d":1})", 400, "names a field twice"},
        {"{\"name\":\"\xff\"}", 400, "JSON object"},
        {with("id", QStringLiteral("7")), 422, "UUID"},
        {with("id", QStringLiteral("00000000-0000-0000-0000-000000000000")), 422, "UUID"},
        {with("name", QStringLiteral("a\nb")), 422, "'name'"},
        {with("name", QString(201, QLatin1Char('x'))), 422, "'name'"},
        {with("name", 7), 422, "text"},
        {with("priority", 0), 422, "1 to 100"},
        {with("priority", 1.5), 422, "1 to 100"},
        {with("copies", 1e300), 422, "1 to 999"},
        {with("nmae", 1), 422, "nmae"},
        {with("platform", folderName), 422, "without folders"},
        {with("target", QJsonObject()), 422, "target.machine"},
        {with("settings", QJsonObject{{QStringLiteral("a"), 1}}), 422, "text"},
    };
    for (const auto& [body, status, words] : rows) {
        const auto answer = Post(Jobs, body);
        EXPECT_EQ(status, answer.status) << body.substr(0, 300);
        EXPECT_THAT(GetText(ParseJson(answer.body), "detail"), HasSubstr(words)) << body.substr(0, 300);
    }
    EXPECT_EQ(0, desk->Count({"olga", Role::Operate}, {}));
    EXPECT_EQ(404, Get(JobPath).status);
    EXPECT_EQ(404, Get("/api/v1/nothing").status);
    EXPECT_EQ(405, Keep("PUT", Jobs, ConnectLocally().Put(Jobs, "{}", "application/json")).status);
    CheckAgainstDocument();
}

} // namespace MachineService::MachineManager::Testing
