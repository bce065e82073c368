#include "services/machinemanager/printers/PrinterHttpFixture.h"

#include <httplib.h>

namespace MachineService::MachineManager::Testing {

namespace {

using State = PrintStatus::State;
using Answer = TestSupport::RawHttpServer::Answer;

class PrinterHttpTest : public HttpPrinterWorld
{
protected:
    PrinterHttpTest() { link = MakeLink(Describe()); }
};

/// An answer that is sent as it stands.
Answer Say(const std::string& i_text)
{
    return [=](TestSupport::RawConnection& io_connection) {
        io_connection.ReadBody();
        io_connection.Write(i_text);
    };
}

Answer Repeat(const std::string& i_beginning, const std::string& i_piece, int i_pause_ms = 0)
{
    return [=](TestSupport::RawConnection& io_connection) {
        io_connection.ReadBody();
        io_connection.Write(i_beginning);
        io_connection.WriteUntilClientGoes(i_piece, i_pause_ms);
    };
}

const Answer Hang = [](TestSupport::RawConnection& io_connection) {
    io_connection.WaitUntilClientGoes();
};

TEST_F(PrinterHttpTest, AnOrderGoesThroughTheStepsThatWereDescribed)
{
    Send(*link);
    EXPECT_EQ(sent.back(), bytes.size());
    EXPECT_GT(sent.size(), 1U);
    Send(*link);
    const auto uploads = server.Take();
    ASSERT_THAT(uploads, SizeIs(2));
    EXPECT_EQ(uploads[1].line, "PUT /files/Plate%20%26%20lid%20-%20" + std::string(Key) + ".gcode?sum=" + order.hash +
                                   "&size=" + std::to_string(bytes.size()));
    EXPECT_TRUE(uploads[1].body == bytes);
    EXPECT_THAT(uploads[1].head, AllOf(HasSubstr("X-Sum: " + order.hash + "\r\n"), HasSubstr("X-Api-Key: secret 1\r\n"),
                                       HasSubstr("X-Site: hall 2\r\n")));

    EXPECT_EQ(Start(), Outcome::Done);
    EXPECT_TRUE(wasConfirmed);
    const auto starts = server.Take();
    ASSERT_THAT(starts, SizeIs(1));
    EXPECT_EQ(starts[0].body, R"({"file":")" + std::string(FileName) + R"(","keys":[")" + Key + R"("],"size":)" +
                                  std::to_string(bytes.size()) + R"(,"{{":"{}"})");
    EXPECT_THAT(starts[0].head, HasSubstr("Content-Type: application/json\r\n"));

    SetState(R"("heating")");
    const auto status = GetStatus();
    EXPECT_EQ(status.state, State::Printing);
    EXPECT_EQ(status.percent, 42);
    EXPECT_EQ(status.detail, "The printer says 'bed?60'.");
    SetState(R"("paused")", "/local/" + std::string(FileName));
    EXPECT_EQ(GetState(), State::Stopped);
    SetState("3", Key);
    EXPECT_EQ(GetState(), State::Printed);
    server.Take();
    EXPECT_EQ(Cancel(), Outcome::Done);
    EXPECT_THAT(TakeLines(), ElementsAre("POST /jobs/" + std::string(Key) + "/cancel"));
}

TEST_F(PrinterHttpTest, AFormCarriesTheFileUnderItsName)
{
    auto text = TestSupport::Replaced(Describe(), R"("body","hash)", R"({"form":"file"},"hash)");
    text = TestSupport::Replaced(text, "/files/{name}?sum={sha256}&size={size}", "/files/local");
    text = TestSupport::Replaced(text, R"("/jobs/{key}/cancel")", R"("/stop","body":"name={name}&end=1")");
    link = MakeLink(text);
    order.fileName = "x\"; name=\"y\r\n.gcode";
    Send(*link);
    const auto heard = server.Take();
    ASSERT_THAT(heard, SizeIs(1));
    const auto boundary = "----" + order.hash;
    EXPECT_THAT(heard[0].head, HasSubstr("Content-Type: multipart/form-data; boundary=" + boundary + "\r\n"));
    EXPECT_TRUE(heard[0].body == "--" + boundary +
                                     "\r\nContent-Disposition: form-data; name=\"file\"; filename=\"x_; name=_y__ - " +
                                     Key + ".gcode\"\r\nContent-Type: application/octet-stream\r\n\r\n" + bytes +
                                     "\r\n--" + boundary + "--\r\n");
    EXPECT_EQ(sent.back(), bytes.size());

    server.On("POST /stop", 200);
    link = MakeLink(text);
    EXPECT_EQ(Cancel(), Outcome::Done);
    EXPECT_EQ(server.Take().back().body, "name=x_%3B%20name%3D_y__%20-%20" + std::string(Key) + ".gcode&end=1");
}

TEST_F(PrinterHttpTest, AFileIsThereOnlyWhenThePrinterSaysSo)
{
    times.silence = std::chrono::milliseconds(300);
    link = MakeLink(Describe());
    const std::pair<Answer, const char*> rows[] = {
        {[](Connection&) {}, "broke the connection"},
        {Hang, "silent too long"},
        {[](Connection& io_connection) { io_connection.Answer(500, "no\nroom"); }, "answered 500 'no'."},
        {[](Connection& io_connection) { io_connection.Answer(507, ""); }, "answered 507."},
        {Say("HTTP/1.1 307 X\r\nLocation: /files/other\r\nContent-Length: 0\r\n\r\n"), "points elsewhere"},
        {Say("HTTP/1.1 99999999999999999999 X\r\n\r\n"), "no proper answer"},
        {Say("what?\r\n\r\n"), "no proper answer"},
    };
    for (const auto& [answer, words] : rows) {
        SCOPED_TRACE(words);
        server.On("PUT /files/", answer);
        EXPECT_NE(GetOutcome([&] { Send(*link); }), Outcome::Done);
        EXPECT_THAT(sentence, HasSubstr(words));
        EXPECT_THAT(sentence, HasSubstr("http://127.0.0.1:" + std::to_string(server.GetPort())));
        EXPECT_THAT(TakeLines(), SizeIs(1));
    }
    // Not all of it was read, and yet it is answered.
    server.On("PUT /files/", 201);
    EXPECT_EQ(GetOutcome([&] { Send(*link); }), Outcome::Done);

    std::filesystem::remove(folder / "key");
    server.Take();
    EXPECT_EQ(GetOutcome([&] { Send(*link); }), Outcome::Refused);
    EXPECT_THAT(sentence, AllOf(HasSubstr("X-Api-Key"), HasSubstr((folder / "key").native())));
    std::filesystem::remove(order.file);
    EXPECT_EQ(GetOutcome([&] { Send(*link); }), Outcome::Refused);
    EXPECT_THAT(sentence, HasSubstr(order.file.native()));
    EXPECT_THAT(server.Take(), IsEmpty());
}

TEST_F(PrinterHttpTest, AStartIsRefusedOnlyWhenNothingHasBegunForSure)
{
    times.silence = std::chrono::milliseconds(1500);
    times.whole = std::chrono::milliseconds(3000);
    link = MakeLink(Describe());
    const std::string created = "HTTP/1.1 201 X\r\n";
    const struct
    {
        const char* name;
        Answer answer;
        Outcome outcome;
        bool isConfirmed;
        const char* words = "";
    } rows[] = {
        {"bad request", Say("HTTP/1.1 400 X\r\nContent-Length: 2\r\n\r\nno"), Outcome::Refused, false},
        {"busy", Say("HTTP/1.1 409 X\r\nContent-Length: 9\r\n\r\nno"), Outcome::Refused, false, "answered 409"},
        {"an error", Say("HTTP/1.1 500 X\r\nContent-Length: 0\r\n\r\n"), Outcome::NotKnown, false},
        {"elsewhere", Say("HTTP/1.1 303 X\r\nLocation: /other\r\nContent-Length: 0\r\n\r\n"), Outcome::NotKnown, false,
         "points elsewhere"},
        {"another status", Say("HTTP/1.1 202 X\r\nContent-Length: 0\r\n\r\n"), Outcome::Done, false},
        {"closes", Say(""), Outcome::NotKnown, false},
        {"hangs", Hang, Outcome::NotKnown, false, "silent too long"},
        {"no HTTP", Say("SSH-2.0-x\r\n"), Outcome::NotKnown, false},
        {"slow head", Repeat("", "H", 50), Outcome::NotKnown, false, "was too slow"},
        {"endless line", Repeat(created + "X: ", std::string(65'536, 'x')), Outcome::NotKnown, false, "without an end"},
        {"endless headers", Repeat(created, "X-Y: " + std::string(8'000, 'x') + "\r\n"), Outcome::NotKnown, false,
         "without an end"},
        {"endless hundreds", Repeat("", TestSupport::Repeat("HTTP/1.1 100 Continue\r\n\r\n", 2'000)), Outcome::NotKnown,
         false, "without an end"},
        // The head says what is asked for.
        {"endless body", Repeat(created + "\r\n", std::string(65'536, 'x')), Outcome::Done, true},
        {"slow body", Repeat(created + "Content-Length: 900\r\n\r\n", "x", 50), Outcome::Done, true},
        {"short body", Say(created + "Content-Length: 900\r\n\r\nx"), Outcome::Done, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        server.On("POST /jobs", row.answer);
        wasConfirmed = false;
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(Start(), row.outcome) << sentence;
        EXPECT_EQ(wasConfirmed, row.isConfirmed);
        EXPECT_THAT(sentence, HasSubstr(row.words));
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
        EXPECT_THAT(TakeLines(), ElementsAre("POST /jobs"));
    }
    server.Stop();
    EXPECT_EQ(Start(), Outcome::Refused);
    EXPECT_THAT(sentence, HasSubstr("cannot be reached"));
}

TEST_F(PrinterHttpTest, AStartMayBeConfirmedByWhatTheAnswerHolds)
{
    link =
        MakeLink(TestSupport::Replaced(Describe(), R"({"status":201})", R"({"pointer":"/job/0/begun","value":true})"));
    const std::pair<Answer, bool> rows[] = {
        {Say("HTTP/1.1 200 X\r\n\r\n{\"job\":[{\"begun\":true}]}"), true},
        {Say("HTTP/1.1 200 X\r\n\r\n{\"job\":[{\"begun\":false}]}"), false},
        {Say("HTTP/1.1 200 X\r\n\r\n{\"job\":[]}"), false},
        {Say("HTTP/1.1 200 X\r\n\r\n{\"job\":[{\"begun\":true"), false},
        {Say("HTTP/1.1 200 X\r\nContent-Length: 900\r\n\r\n{\"job\":[{\"begun\":true}]}"), false},
        {Say("HTTP/1.1 200 X\r\nTransfer-Encoding: chunked\r\n\r\n19\r\n{\"job\":[{\"begun\":true}]} \r\n"), false},
    };
    for (const auto& [answer, isConfirmed] : rows) {
        server.On("POST /jobs", answer);
        EXPECT_EQ(Start(), Outcome::Done) << sentence;
        EXPECT_EQ(wasConfirmed, isConfirmed);
    }
}

TEST_F(PrinterHttpTest, WhoStopsWaitsForNobody)
{
    times = {};
    link = MakeLink(Describe());
    for (const auto& answer : {Hang, Repeat("HTTP/1.1 201 X\r\nX: ", "y", 20)}) {
        for (const std::string line : {"PUT /files/", "POST /jobs", "GET /state", "POST /jobs/"}) {
            SCOPED_TRACE(line);
            stop = {};
            // It may still answer when the next row has begun.
            server.On(line, [this, answer = answer](Connection& io_connection) {
                stop.request_stop();
                answer(io_connection);
            });
            const auto begin = std::chrono::steady_clock::now();
            if (line == "PUT /files/")
                EXPECT_EQ(GetOutcome([&] { Send(*link); }), Outcome::NotKnown);
            else if (line == "POST /jobs")
                EXPECT_EQ(Start(), Outcome::NotKnown);
            else if (line == "GET /state")
                EXPECT_EQ(GetState(), State::Unknown);
            else
                EXPECT_EQ(Cancel(), Outcome::NotKnown);
            EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4));
        }
    }
    // Nothing went out any more.
    server.Take();
    EXPECT_EQ(Start(), Outcome::Refused);
    EXPECT_THAT(sentence, HasSubstr("asked to stop"));
}

TEST_F(PrinterHttpTest, OnlyAPrinterThatAnAuthorityVouchesForIsSpokenTo)
{
    const auto make = [&](const std::string& i_name, const std::string& i_names) {
        const auto path = (folder / i_name).native();
        const auto command = "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -subj /CN=x "
                             "-addext subjectAltName=" +
                             i_names + " -keyout " + path + ".key -out " + path + ".pem 2>" + path + ".log";
        ASSERT_EQ(std::system(command.c_str()), 0) << TestSupport::ReadFile(path + ".log");
    };
    make("right", "IP:127.0.0.1");
    make("other", "DNS:printers.example");
    const struct
    {
        std::string certificate;
        std::string authority;
        bool isTaken;
    } rows[] = {{"right", "right", true}, {"right", "", false}, {"right", "other", false}, {"other", "other", false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.certificate + " by " + row.authority);
        const auto path = (folder / row.certificate).native();
        httplib::SSLServer secure((path + ".pem").c_str(), (path + ".key").c_str());
        std::atomic<int> count = 0;
        secure.Post("/jobs", [&](const httplib::Request&, httplib::Response& o_response) {
            ++count;
            o_response.status = 201;
        });
        const int port = secure.bind_to_any_port("127.0.0.1");
        std::thread thread([&] { secure.listen_after_bind(); });
        auto text = TestSupport::Replaced(Describe("https"), std::to_string(server.GetPort()), std::to_string(port));
        if (!row.authority.empty())
            text = TestSupport::Replaced(text, R"("headers")",
                                         R"("authorityFile":")" + (folder / row.authority).native() +
                                             R"(.pem","headers")");
        link = MakeLink(text);
        EXPECT_EQ(Start(), row.isTaken ? Outcome::Done : Outcome::Refused) << sentence;
        EXPECT_THAT(sentence, HasSubstr(row.isTaken ? "" : "authority"));
        EXPECT_EQ(count, row.isTaken ? 1 : 0);
        secure.stop();
        thread.join();
    }
    // It speaks no TLS at all.
    times.connect = times.silence = std::chrono::milliseconds(300);
    link = MakeLink(Describe("https"));
    EXPECT_EQ(Start(), Outcome::Refused);
}

} // namespace

} // namespace MachineService::MachineManager::Testing
