// Machine files of both technologies; MACHINE_FILE_IS_RESIN says which of them the target reads.
#include "Fuzz.h"

#include "buildprocessor/engine/SlicingResult.h"
#include "buildprocessor/engine/UsedSettings.h"
#include "buildprocessor/machines/ProfileReader.h"
#include "buildprocessor/verify/GCodeCheck.h"
#include "buildprocessor/verify/ResinCheck.h"
#include "client/interface/CommunicationException.h"

#include <cmath>

namespace {

using namespace MachineService::BuildProcessor;

/// A small bed, whose display is small as well.
MachineProfile MakeProfile()
{
    MachineProfile profile;
    profile.technology = MACHINE_FILE_IS_RESIN ? Technology::Sla : Technology::Fff;
    profile.bed.outline = {{0, 0}, {16, 0}, {16, 12}, {0, 12}};
    profile.height = 10;
    profile.nozzleDiameter = 0.4;
    profile.nozzles = {0.4};
    profile.layerHeights = {MACHINE_FILE_IS_RESIN ? 0.5 : 0.25};
    profile.displayWidth = 32;
    profile.displayHeight = 24;
    Material& material = profile.materials.emplace_back();
    material.filamentDiameter = 1.75;
    material.density = 1.2;
    return profile;
}

/// A cube of 4 mm on the bed.
std::vector<PartGeometry> MakeParts()
{
    PartGeometry part;
    part.name = "cube";
    for (const unsigned corner : {0U, 1U, 3U, 2U, 4U, 5U, 7U, 6U})
        part.vertices.push_back({4.0 + ((corner & 1U) != 0 ? 4.0 : 0.0), 4.0 + ((corner & 2U) != 0 ? 4.0 : 0.0),
                                 (corner & 4U) != 0 ? 4.0 : 0.0});
    part.triangles = {{0, 2, 1}, {0, 3, 2}, {4, 5, 6}, {4, 6, 7}, {0, 1, 5}, {0, 5, 4},
                      {1, 2, 6}, {1, 6, 5}, {2, 3, 7}, {2, 7, 6}, {3, 0, 4}, {3, 4, 7}};
    part.box = {{4, 4, 0}, {8, 8, 4}};
    return {part};
}

/// True when it came back without a failure.
template <class Read>
bool Try(const Read& i_read)
{
    try {
        i_read();
        return true;
    } catch (const MachineService::CommunicationException& failure) {
        Fuzz::RequireSentence(failure);
        return false;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* ip_data, std::size_t i_size)
{
    static const MachineProfile mgp_profile = MakeProfile();
    static const std::vector<PartGeometry> mgp_parts = MakeParts();
    const auto path = Fuzz::MakeFile(Fuzz::ToText(ip_data, i_size));
    SlicingResult result;
    const bool isAccepted = Try([&] {
        SectionsAhead sections =
            MACHINE_FILE_IS_RESIN ? ExpectResin(mgp_profile, mgp_parts) : ExpectGCode(mgp_profile, mgp_parts);
        result = MACHINE_FILE_IS_RESIN ? CheckResin(path, mgp_profile, mgp_parts, sections, {})
                                       : CheckGCode(path, mgp_profile, mgp_parts, sections, {});
    });
    for (const std::string& note : result.notes)
        Fuzz::RequireSentence(note);
    if (!isAccepted)
        return 0;
    const Estimates& estimates = result.estimates;
    for (const double value : {estimates.seconds, estimates.cubicCentimetres, estimates.grams})
        Fuzz::Require(std::isfinite(value) && value > 0, "estimates are numbers above zero");
    const auto again = ReadSlicingResult(ToText(result));
    Fuzz::Require(again && ToText(*again) == ToText(result), "a result reads back the same");
    return 0;
}
