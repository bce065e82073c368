#pragma once

#include <machineservice/v1/machines.pb.h>

#include <string>

namespace MachineService::Server {

// Names the language that the catalog's texts are in (MachineServerOptions::language). What a profile or another file
// of an administrator's brings along, such as names of print strategies, is left as it is: nobody knows its language.
// Failures name theirs by themselves (wire/Failures.h).

void NameLanguage(const std::string& i_language, machineservice::v1::Machine& io_machine);
void NameLanguage(const std::string& i_language, machineservice::v1::CanRunAnswers& io_answers);
void NameLanguage(const std::string& i_language, machineservice::v1::PlatformHeader& io_header);
void NameLanguage(const std::string& i_language, machineservice::v1::Run& io_run);

} // namespace MachineService::Server
