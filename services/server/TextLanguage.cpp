#include "server/TextLanguage.h"

namespace MachineService::Server {

namespace pb = machineservice::v1;

namespace {

void Name(const std::string& i_language, pb::Text& io_text)
{
    if (!i_language.empty() && !io_text.text().empty())
        io_text.set_language(i_language);
}

} // namespace

void NameLanguage(const std::string& i_language, pb::Machine& io_machine)
{
    for (auto& reason : *io_machine.mutable_state_reasons())
        Name(i_language, reason);
    for (auto& command : *io_machine.mutable_commands()) {
        Name(i_language, *command.mutable_name());
        Name(i_language, *command.mutable_description());
    }
    for (auto& other : *io_machine.mutable_other_representations())
        NameLanguage(i_language, other);
}

void NameLanguage(const std::string& i_language, pb::CanRunAnswers& io_answers)
{
    for (auto& answer : *io_answers.mutable_answers()) {
        if (answer.has_reason())
            Name(i_language, *answer.mutable_reason());
    }
}

void NameLanguage(const std::string& i_language, pb::PlatformHeader& io_header)
{
    if (io_header.has_message())
        Name(i_language, *io_header.mutable_message());
    if (io_header.has_result())
        Name(i_language, *io_header.mutable_result()->mutable_message());
}

void NameLanguage(const std::string& i_language, pb::Run& io_run)
{
    Name(i_language, *io_run.mutable_stage());
    if (io_run.has_result())
        Name(i_language, *io_run.mutable_result()->mutable_message());
}

} // namespace MachineService::Server
