#pragma once

#include "client/interface/CommandTypes.h"
#include "client/interface/MachineData.h"
#include "client/interface/PlatformTypes.h"
#include "wire/Protocol.h"

#include <boost/uuid/uuid.hpp>

#include <machineservice/v1/machines.pb.h>

#include <string>
#include <string_view>

namespace MachineService::Wire {

// Values that this program does not know pass both ways as they are. What comes in is bounded; \throws
// CommunicationException UnexpectedOutput with a sentence that names the field.

std::string ToBytes(const boost::uuids::uuid& i_id);
/// \param ip_what for the sentence: "machine's id".
boost::uuids::uuid ToUuid(std::string_view i_bytes, const char* ip_what);

void SetText(pb::Text& o_text, const std::string& i_text);
std::string GetText(const pb::Text& i_text, const char* ip_what);

/// Without commands and other representations; with the picture's hash, the picture itself travels apart.
pb::Machine ToMessage(const MachineData& i_data);
/// Without the picture.
MachineData FromMessage(const pb::Machine& i_machine);

/// With the icon's hash; the icon itself travels apart.
pb::Command ToMessage(const CommandDescription& i_command);
/// Without the icon.
CommandDescription FromMessage(const pb::Command& i_command);

pb::CommandResult ToMessage(const CommandResult& i_result);
CommandResult FromMessage(const pb::CommandResult& i_result);

/// Everything but ids of run and machine, kind, and what the files are called.
void SetParameters(pb::StartRunRequest& o_request, const CommandParameters& i_parameters);
CommandParameters GetParameters(const pb::StartRunRequest& i_request);

pb::ProfileAssignments ToMessage(const ProfileAssignments& i_assignments);
ProfileAssignments FromMessage(const pb::ProfileAssignments& i_assignments);

/// Whether it has the form of BCP 47: "de", "en-GB"; "C" and "de_DE" have not.
bool IsLanguageTag(std::string_view i_text);

/// Whether a name that somebody else chose can be that of a file in a folder of ours.
bool IsPlainFileName(std::string_view i_name);

} // namespace MachineService::Wire
