#pragma once

#include "machinelayer/IMachineData.h"
#include "machinelayer_export.h"
#include "tavam/MachineParameters.h"

namespace MachineLayer::PLDF {

/// What ConvertFromPLDF takes over; the rest of the machine data stays.
struct PldfConvertOptions
{
    bool properties = false; ///< what the machine is, and remaining settings
    bool platform = false;   ///< shape, geometry, scan fields, baseplate
    bool profiles = false;   ///< supports, nesting, Z braces, Z compensation, part export
};

/// Fills machine data from the parameters that a platform file carries. The chosen groups are replaced as a whole.
/// Names of parameters are those of docs/pldf-format.md; a parameter with another name becomes a setting.
/// \throws std::invalid_argument with a sentence that names the parameter, for a value that is no number, is beyond its
/// range or is not one of those possible. The machine data are then unchanged.
MACHINELAYER_EXPORT void ConvertFromPLDF(IMachineData& io_data, const TavAM::MachineParameters& i_parameters,
                                         const PldfConvertOptions& i_options);

/// The reverse: all that the machine data have, so that ConvertFromPLDF with all options gives the same again.
MACHINELAYER_EXPORT TavAM::MachineParameters ConvertToMachineParameters(const IMachineData& i_data);

} // namespace MachineLayer::PLDF
