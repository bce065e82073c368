#include "buildprocessor/platform/PlatformFiles.h"

#include "buildprocessor/base/Cancellation.h"
#include "contract/PlatformFiles.h"
#include "tavam/PropertyNames.h"
#include "tavsdk/Utf8.h"

#include <boost/uuid/uuid_io.hpp>

#include <unordered_map>

namespace MachineService::BuildProcessor {

namespace {

void Apply(const PartParameters& i_parameters, TavAM::Part& io_part)
{
    io_part.SetHasSupports(i_parameters.hasSupports);
    auto strategies = io_part.GetStrategies().value_or(TavAM::Part::Strategies());
    for (const auto& [role, id] : i_parameters.strategies)
        strategies[TavSDK::ToWide(role)] = TavSDK::ToWide(id);
    if (!strategies.empty())
        io_part.SetStrategies(std::move(strategies));
}

} // namespace

std::shared_ptr<TavAM::Platform> ReadPlatform(const CommandParameters& i_parameters, const std::stop_token& i_stop)
{
    auto platform = ReadOnePlatform(i_parameters.inputFile, i_stop);
    if (i_parameters.parts.empty())
        return platform;
    // The first part of an id is meant, should there be more.
    std::unordered_map<std::string, TavAM::Part*> parts;
    for (TavAM::Part& part : platform->GetParts())
        parts.try_emplace(boost::uuids::to_string(part.GetRevisionId()), &part);
    for (const PartParameters& parameters : i_parameters.parts) {
        ThrowIfStopped(i_stop);
        if (const auto part = parts.find(parameters.globalId); part != parts.end())
            Apply(parameters, *part->second);
    }
    return platform;
}

CommandResult WriteResult(const CommandParameters& i_parameters, TavAM::Platform& io_platform, DataFormat i_format,
                          std::string i_message, const std::vector<std::string>& i_notes)
{
    std::string notes;
    for (const std::string& note : i_notes)
        notes += (notes.empty() ? "" : "\n") + note;
    // Hosts add properties to those that a scene has: what an earlier command told is replaced, not removed.
    auto& properties = io_platform.GetAMXProperties();
    if (!notes.empty() || properties.GetText(TavAM::PropertyNames::Print3D::Notes))
        properties.SetText(TavAM::PropertyNames::Print3D::Notes, TavSDK::ToWide(notes));

    CommandResult result = WritePlatformResult(i_parameters.outputDir, io_platform, i_format);
    result.message = std::move(i_message);
    if (!notes.empty())
        result.message += '\n' + notes;
    return result;
}

} // namespace MachineService::BuildProcessor
