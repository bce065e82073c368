#include "client/interface/ScopedTempDir.h"
#include "services/server/WireClient.h"
#include "support/ServedProgram.h"
#include "wire/Conversions.h"

#include <QString>

namespace {

using namespace TestSupport;

/// The programs that makers of machines begin with, each in a process of its own.
class ServedExamplesTest : public ::testing::Test
{
protected:
    void Start(const QString& i_program, QStringList i_arguments)
    {
        address = "unix:" + (folder.GetAbsoluteDir() / "socket").string();
        i_arguments.push_back(QString::fromStdString(address));
        // The stubs of the one in Python are made in a folder of the test.
        program = std::make_unique<ServedProgram>(
            i_program, i_arguments,
            std::vector<std::pair<QString, QString>>{
                {QStringLiteral("XDG_CACHE_HOME"), QString::fromStdString(folder.GetAbsoluteDir().string())}});
        program->WaitUntilReady();
        client = std::make_unique<WireClient>(address);
        for (const auto& event : client->ReadSnapshot()) {
            if (event.snapshot().machines_size() > 0)
                machine = event.snapshot().machines(0);
        }
    }

    std::string GetIcon()
    {
        pb::GetIconsRequest request;
        request.add_sha256(machine.commands(0).icon_sha256());
        client->context = client->MakeContext();
        const auto icons = client->ReadUntil<pb::Icon>(*client->Get().GetIcons(client->context.get(), request), {});
        return icons.empty() ? std::string() : icons.front().content();
    }

    /// Header and bytes.
    std::pair<pb::PlatformHeader, std::string> GetEmptyPlatform(const std::string& i_parameters)
    {
        pb::EmptyPlatformRequest request;
        request.mutable_machine()->set_machine_id(machine.id());
        request.set_parameters(i_parameters);
        client->context = client->MakeContext();
        std::pair<pb::PlatformHeader, std::string> all;
        for (const auto& reply : client->ReadUntil<pb::PlatformReply>(
                 *client->Get().GetEmptyPlatform(client->context.get(), request), {})) {
            if (reply.has_header())
                all.first = reply.header();
            all.second += reply.chunk().content();
        }
        return all;
    }

    std::vector<pb::Run> Run(const std::string& i_input, bool i_cancel = false)
    {
        pb::StartRunRequest request;
        request.set_run_id(std::string(15, 'r') + (i_cancel ? '1' : '2'));
        request.mutable_machine()->set_machine_id(machine.id());
        request.set_command_id(machine.commands(0).id());
        request.mutable_input()->set_name("input");
        request.mutable_input()->set_size_bytes(i_input.size());
        request.mutable_input()->set_sha256(MachineService::HashOf(i_input));
        pb::Run run;
        const auto status = client->Call(&pb::MachineService::Stub::StartRun, request, run);
        EXPECT_TRUE(status.ok()) << status.error_message();
        client->Upload(request.run_id(), i_input);
        if (i_cancel) {
            pb::RunRequest named;
            named.set_run_id(request.run_id());
            client->Call(&pb::MachineService::Stub::CancelRun, named, run);
        }
        return client->Watch(request.run_id());
    }

    const MachineService::ScopedTempDir folder;
    std::string address;
    std::unique_ptr<ServedProgram> program;
    std::unique_ptr<WireClient> client;
    pb::Machine machine;
};

TEST_F(ServedExamplesTest, TheOneInPythonHasAMachineWithIconChoiceProgressAndOutput)
{
    Start(QStringLiteral("/usr/bin/python3"), {QStringLiteral(EXAMPLES "/service.py")});
    ASSERT_EQ(machine.name(), "Plotter") << program->GetErrors();
    EXPECT_THAT(GetIcon(), HasSubstr("PNG"));
    const auto bold = GetEmptyPlatform("<P><ParameterValue id=\"Plotter.Pen\">bold</ParameterValue></P>");
    EXPECT_EQ(bold.first.items(0).size_bytes(), bold.second.size());
    EXPECT_THAT(bold.second, HasSubstr("value=\"bold\""));
    EXPECT_THAT(GetEmptyPlatform("").second, HasSubstr("value=\"thin\""));

    const std::string input(100'000, 'x');
    const auto states = Run(input);
    ASSERT_FALSE(states.empty()) << client->status.error_message();
    ASSERT_EQ(states.back().phase(), pb::RUN_PHASE_FINISHED);
    EXPECT_GT(states.size(), 2u);
    EXPECT_EQ(client->Download(states.back().run_id(), 0), "100000 bytes were plotted.\n");
    const auto cancelled = Run(input, true);
    ASSERT_FALSE(cancelled.empty());
    EXPECT_EQ(cancelled.back().failure().code(), pb::ERROR_CODE_PROCESSING_ABORTED);
}

TEST_F(ServedExamplesTest, TheOneInCppCutsFoamInAProcessOfItsOwn)
{
    Start(QStringLiteral(FOAM_CUTTER_SERVER), {});
    ASSERT_EQ(machine.name(), "Foam Cutter 600") << program->GetErrors();
    EXPECT_THAT(GetIcon(), HasSubstr("PNG"));
    // Its own platform comes back with what the cuts take.
    const auto platform =
        GetEmptyPlatform("<PlatformCreationParameters "
                         "xmlns=\"https://www.vexlor.example/BuildProcessor/2014\"><ParameterValue "
                         "id=\"FoamCutter.Speed\">fine</ParameterValue></PlatformCreationParameters>");
    const auto states = Run(platform.second);
    ASSERT_FALSE(states.empty()) << client->status.error_message();
    ASSERT_EQ(states.back().phase(), pb::RUN_PHASE_FINISHED) << states.back().failure().sentence().text();
    ASSERT_EQ(states.back().files_size(), 2);
    EXPECT_EQ(states.back().files(0).name(), "cuts.svg");
    EXPECT_THAT(client->Download(states.back().run_id(), 0), StartsWith("<svg"));
    EXPECT_THAT(client->Download(states.back().run_id(), 1), StartsWith("PK"));
    EXPECT_EQ(Run("no platform", true).back().phase(), pb::RUN_PHASE_FAILED);
    program->Signal(SIGTERM);
    EXPECT_EQ(program->WaitForEnd(), 0);
}

} // namespace
