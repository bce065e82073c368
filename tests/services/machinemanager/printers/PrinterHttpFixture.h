#pragma once

#include "machinemanager/printers/HttpLink.h"
#include "services/machinemanager/printers/PrinterFixture.h"
#include "services/machinemanager/printers/RawHttpServer.h"
#include "support/Texts.h"

namespace MachineService::MachineManager::Testing {

/// An order and a printer of the test's own that is reached over HTTP.
class HttpPrinterWorld : public PrinterWorld
{
protected:
    using Connection = TestSupport::RawConnection;

    HttpPrinterWorld()
    {
        TestSupport::WriteFile(folder / "key", "secret 1\n");
        server.On("PUT /files/", 201);
        server.On("POST /jobs", 201, R"({"state":"begun"})");
        server.On("POST /jobs/", 204);
    }

    /// What an operator gives, with the printer's own job named in its state.
    std::string Describe(const std::string& i_scheme = "http") const
    {
        return R"({"kind":"http","address":")" + i_scheme + "://127.0.0.1:" + std::to_string(server.GetPort()) +
               R"(","headers":{"X-Api-Key":{"file":")" + (folder / "key").native() + R"("},"X-Site":"hall 2"},
  "upload":{"method":"PUT","path":"/files/{name}?sum={sha256}&size={size}","as":"body","hashHeader":"X-Sum"},
  "start":{"path":"/jobs","body":{"file":"{name}","keys":["{key}"],"size":"{size}","{{":"{{}}"},
           "confirmed":{"status":201}},
  "state":{"path":"/state","pointer":"/a~1b/0/state","values":{"idle":["ready"],"printing":["printing","heating"],
           "stopped":["paused"],"printed":["done",3],"failed":["broken"]},
           "percentPointer":"/percent","detailPointer":"/text","jobPointer":"/job"},
  "cancel":{"path":"/jobs/{key}/cancel"}})";
    }
    std::unique_ptr<HttpLink> MakeLink(const std::string& i_description) const
    {
        return std::make_unique<HttpLink>(ReadHttpSteps(Description::Parse(i_description)), times);
    }
    /// Its operator says neither which job is meant, nor are there names in the paths.
    std::string DescribeShared() const
    {
        auto text = TestSupport::Replaced(Describe(), R"(,"jobPointer":"/job")", "");
        return TestSupport::Replaced(text, "/jobs/{key}/cancel", "/cancel");
    }
    void SetState(const std::string& i_state, const std::string& i_job = FileName)
    {
        server.On("GET /state", 200,
                  R"({"a/b":[{"state":)" + i_state + R"(}],"percent":41.6,"text":"bed\n60","job":")" + i_job + "\"}");
    }
    PrintStatus GetStatus() { return link->GetStatus(order, stop.get_token()); }
    PrintStatus::State GetState() { return GetStatus().state; }
    Outcome Start()
    {
        return GetOutcome([&] { wasConfirmed = link->Start(order, stop.get_token()); });
    }
    Outcome Cancel()
    {
        return GetOutcome([&] { link->Cancel(order, stop.get_token()); });
    }
    std::vector<std::string> TakeLines()
    {
        std::vector<std::string> lines;
        for (const auto& heard : server.Take())
            lines.push_back(heard.line);
        return lines;
    }

    TestSupport::RawHttpServer server;
    HttpTimes times = {std::chrono::seconds(5), std::chrono::seconds(5), std::chrono::seconds(20), 65'536,
                       std::chrono::seconds(0)};
    std::unique_ptr<HttpLink> link;
    bool wasConfirmed = false;
};

} // namespace MachineService::MachineManager::Testing
