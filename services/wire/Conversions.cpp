#include "wire/Conversions.h"

#include "client/interface/CommunicationException.h"
#include "hashing/Sha256.h"
#include "tavsdk/Utf8.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

namespace MachineService::Wire {

namespace {

[[noreturn]] void Refuse(const std::string& i_what)
{
    // A code without a sentence of its own: the user is to read which side is at fault.
    throw CommunicationException(ErrorCode::InternalError,
                                 ("The other side sent " + i_what + "; it needs to be renewed or repaired.").c_str());
}

constexpr int MaxReasons = 100;
/// The clock counts nanoseconds.
constexpr std::int64_t MaxTimeMs = std::numeric_limits<std::int64_t>::max() / 1'000'000;

std::string_view AsText(const std::vector<std::uint8_t>& i_bytes)
{
    return {reinterpret_cast<const char*>(i_bytes.data()), i_bytes.size()};
}

const std::string& Bounded(const std::string& i_text, const char* ip_what)
{
    if (i_text.size() > MaxTextBytes)
        Refuse(std::string("a ") + ip_what + " that is too long");
    return i_text;
}

/// As it may travel: a reader drops a whole message for one byte that is not UTF-8.
std::string Sent(const std::string& i_text)
{
    if (i_text.size() <= MaxTextBytes && TavSDK::IsUtf8(i_text))
        return i_text;
    return std::string(TavSDK::CutUtf8(TavSDK::ReplaceInvalid(i_text), MaxTextBytes));
}

} // namespace

std::string ToBytes(const boost::uuids::uuid& i_id)
{
    return {reinterpret_cast<const char*>(i_id.data), i_id.size()};
}

boost::uuids::uuid ToUuid(std::string_view i_bytes, const char* ip_what)
{
    boost::uuids::uuid id = {};
    if (i_bytes.size() != id.size())
        Refuse(std::string("a ") + ip_what + " that is no id");
    std::copy(i_bytes.begin(), i_bytes.end(), id.begin());
    return id;
}

void SetText(pb::Text& o_text, const std::string& i_text)
{
    o_text.set_text(Sent(i_text));
}

std::string GetText(const pb::Text& i_text, const char* ip_what)
{
    return Bounded(i_text.text(), ip_what);
}

pb::Machine ToMessage(const MachineData& i_data)
{
    pb::Machine machine;
    machine.set_id(ToBytes(i_data.id));
    machine.set_name(Sent(i_data.name));
    machine.set_configures_connection(i_data.configuresConnection);
    machine.set_accepts_implicit_data(i_data.acceptsImplicitData);
    machine.set_accepts_composed_parts(i_data.acceptsComposedParts);
    machine.set_service_kind(static_cast<pb::ServiceKind>(i_data.serviceId));
    machine.set_representation(static_cast<pb::MachineRepresentation>(i_data.representation));
    machine.set_model_id(Sent(i_data.modelId));
    machine.set_manufacturer(Sent(i_data.manufacturer));
    machine.set_driver_id(Sent(i_data.driverId));
    machine.set_comment(Sent(i_data.comment));
    if (const auto& volume = i_data.buildVolume) {
        auto& message = *machine.mutable_build_volume();
        message.set_min_x_mm(volume->minX);
        message.set_min_y_mm(volume->minY);
        message.set_max_x_mm(volume->maxX);
        message.set_max_y_mm(volume->maxY);
        message.set_height_mm(volume->height);
        message.set_is_circular(volume->isCircular);
    }
    if (i_data.configurationTime)
        machine.set_configuration_time_100ns(i_data.configurationTime->time_since_epoch().count());
    machine.set_technology(static_cast<pb::MachineTechnology>(i_data.technology));
    if (!i_data.picture.IsEmpty())
        machine.set_picture_sha256(HashOf(AsText(i_data.picture.GetBytes())));
    machine.set_state(static_cast<pb::MachineState>(i_data.state));
    for (const auto& reason : i_data.stateReasons)
        SetText(*machine.add_state_reasons(), reason);
    if (i_data.stateTime)
        machine.set_state_time_ms(
            std::chrono::duration_cast<std::chrono::milliseconds>(i_data.stateTime->time_since_epoch()).count());
    return machine;
}

MachineData FromMessage(const pb::Machine& i_machine)
{
    MachineData data;
    data.id = ToUuid(i_machine.id(), "machine's id");
    if (data.id.is_nil())
        Refuse("a machine without an id");
    data.name = Bounded(i_machine.name(), "machine's name");
    data.configuresConnection = i_machine.configures_connection();
    data.acceptsImplicitData = i_machine.accepts_implicit_data();
    data.acceptsComposedParts = i_machine.accepts_composed_parts();
    data.serviceId = static_cast<ServiceId>(i_machine.service_kind());
    data.representation = static_cast<MachineRepresentation>(i_machine.representation());
    data.modelId = Bounded(i_machine.model_id(), "model id");
    data.manufacturer = Bounded(i_machine.manufacturer(), "manufacturer");
    data.driverId = Bounded(i_machine.driver_id(), "driver id");
    data.comment = Bounded(i_machine.comment(), "machine's comment");
    if (i_machine.has_build_volume()) {
        const auto& message = i_machine.build_volume();
        const BuildVolume volume{message.min_x_mm(), message.min_y_mm(),  message.max_x_mm(),
                                 message.max_y_mm(), message.height_mm(), message.is_circular()};
        for (const double length : {volume.minX, volume.minY, volume.maxX, volume.maxY, volume.height}) {
            if (!std::isfinite(length))
                Refuse("a build volume that is no number");
        }
        data.buildVolume = volume;
    }
    if (i_machine.has_configuration_time_100ns())
        data.configurationTime = ConfigurationTime(ConfigurationTime::duration(i_machine.configuration_time_100ns()));
    data.technology = static_cast<MachineTechnology>(i_machine.technology());
    data.state = static_cast<MachineState>(i_machine.state());
    if (i_machine.state_reasons_size() > MaxReasons)
        Refuse("a machine with too many reasons for its state");
    for (const auto& reason : i_machine.state_reasons())
        data.stateReasons.push_back(GetText(reason, "reason for a state"));
    if (i_machine.has_state_time_ms()) {
        if (i_machine.state_time_ms() > MaxTimeMs || i_machine.state_time_ms() < -MaxTimeMs)
            Refuse("a time that is none");
        data.stateTime = std::chrono::system_clock::time_point(std::chrono::milliseconds(i_machine.state_time_ms()));
    }
    return data;
}

pb::Command ToMessage(const CommandDescription& i_command)
{
    pb::Command command;
    command.set_type(static_cast<pb::CommandType>(i_command.type));
    command.set_id(ToBytes(i_command.id));
    command.set_data_format(static_cast<pb::DataFormat>(i_command.dataFormat));
    SetText(*command.mutable_name(), i_command.name);
    SetText(*command.mutable_description(), i_command.description);
    if (!i_command.icon.empty())
        command.set_icon_sha256(HashOf(AsText(i_command.icon)));
    return command;
}

CommandDescription FromMessage(const pb::Command& i_command)
{
    CommandDescription command;
    command.type = static_cast<CommandType>(i_command.type());
    command.id = ToUuid(i_command.id(), "command's id");
    command.dataFormat = static_cast<DataFormat>(i_command.data_format());
    command.name = GetText(i_command.name(), "command's name");
    command.description = GetText(i_command.description(), "command's description");
    return command;
}

pb::CommandResult ToMessage(const CommandResult& i_result)
{
    pb::CommandResult message;
    message.set_completed(i_result.completed);
    message.set_data_format(static_cast<pb::DataFormat>(i_result.dataFormat));
    message.set_status(i_result.status);
    message.set_second_status(i_result.secondStatus);
    SetText(*message.mutable_message(), i_result.message);
    auto& address = *message.mutable_job_list();
    address.set_scheme(Sent(i_result.jobList.scheme));
    address.set_host(Sent(i_result.jobList.host));
    address.set_path(Sent(i_result.jobList.path));
    address.set_query(Sent(i_result.jobList.query));
    address.set_fragment(Sent(i_result.jobList.fragment));
    return message;
}

CommandResult FromMessage(const pb::CommandResult& i_result)
{
    CommandResult result;
    result.completed = i_result.completed();
    result.dataFormat = static_cast<DataFormat>(i_result.data_format());
    result.status = i_result.status();
    result.secondStatus = i_result.second_status();
    result.message = GetText(i_result.message(), "message of a result");
    const auto& address = i_result.job_list();
    result.jobList = {Bounded(address.scheme(), "job list's scheme"), Bounded(address.host(), "job list's host"),
                      Bounded(address.path(), "job list's path"), Bounded(address.query(), "job list's query"),
                      Bounded(address.fragment(), "job list's fragment")};
    return result;
}

void SetParameters(pb::StartRunRequest& o_request, const CommandParameters& i_parameters)
{
    o_request.set_command_id(ToBytes(i_parameters.commandId));
    o_request.set_process_name(Sent(i_parameters.processName));
    o_request.set_job_name(Sent(i_parameters.jobName));
    o_request.set_caller_context(Sent(i_parameters.callerContext));
    for (const PartParameters& part : i_parameters.parts) {
        auto& message = *o_request.add_parts();
        message.set_global_id(Sent(part.globalId));
        message.set_has_supports(part.hasSupports);
        for (const auto& [role, id] : part.strategies) {
            auto& strategy = *message.add_strategies();
            strategy.set_role(Sent(role));
            strategy.set_strategy_id(Sent(id));
        }
    }
}

CommandParameters GetParameters(const pb::StartRunRequest& i_request)
{
    if (static_cast<std::size_t>(i_request.parts_size()) > MaxParts)
        Refuse("a run of too many parts");
    CommandParameters parameters;
    if (!i_request.command_id().empty())
        parameters.commandId = ToUuid(i_request.command_id(), "command's id");
    parameters.processName = Bounded(i_request.process_name(), "process name");
    parameters.jobName = Bounded(i_request.job_name(), "job's name");
    parameters.callerContext = Bounded(i_request.caller_context(), "caller's context");
    for (const auto& message : i_request.parts()) {
        PartParameters part;
        part.globalId = Bounded(message.global_id(), "part's id");
        part.hasSupports = message.has_supports();
        for (const auto& strategy : message.strategies())
            part.strategies.emplace_back(Bounded(strategy.role(), "strategy's role"),
                                         Bounded(strategy.strategy_id(), "strategy's id"));
        parameters.parts.push_back(std::move(part));
    }
    return parameters;
}

pb::ProfileAssignments ToMessage(const ProfileAssignments& i_assignments)
{
    pb::ProfileAssignments message;
    for (const ProfileAssignment& assignment : i_assignments) {
        auto& item = *message.add_assignments();
        item.set_id(Sent(assignment.id));
        SetText(*item.mutable_name(), assignment.name);
        item.set_role(Sent(assignment.role));
    }
    return message;
}

ProfileAssignments FromMessage(const pb::ProfileAssignments& i_assignments)
{
    ProfileAssignments assignments;
    for (const auto& item : i_assignments.assignments())
        assignments.push_back({Bounded(item.id(), "strategy's id"), GetText(item.name(), "strategy's name"),
                               Bounded(item.role(), "strategy's role")});
    return assignments;
}

bool IsLanguageTag(std::string_view i_text)
{
    constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    constexpr std::string_view digits = "0123456789";
    bool isFirst = true;
    for (std::size_t begin = 0; begin <= i_text.size();) {
        const auto end = std::min(i_text.find('-', begin), i_text.size());
        const auto part = i_text.substr(begin, end - begin);
        const bool isWord = std::all_of(part.begin(), part.end(), [&](char i_char) {
            return letters.find(i_char) != std::string_view::npos ||
                   (!isFirst && digits.find(i_char) != std::string_view::npos);
        });
        if (!isWord || part.size() > 8 || part.size() < (isFirst ? 2 : 1))
            return false;
        isFirst = false;
        begin = end + 1;
    }
    return true;
}

bool IsPlainFileName(std::string_view i_name)
{
    return !i_name.empty() && i_name.size() <= 255 && i_name.front() != '.' &&
           std::none_of(i_name.begin(), i_name.end(), [](char i_char) {
               const auto byte = static_cast<unsigned char>(i_char);
               return byte < 0x20 || byte == 0x7f || i_char == '/' || i_char == '\\';
           });
}

} // namespace MachineService::Wire
