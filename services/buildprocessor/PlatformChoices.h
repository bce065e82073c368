#pragma once

#include "buildprocessor/MachineProfile.h"

#include <map>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// One thing that a user may choose for a platform of a machine. Texts are UTF-8.
struct PlatformChoice
{
    struct Item
    {
        std::string id;
        std::string name;
        bool isDefault = false;
    };

    std::string id; ///< name of the platform's property that keeps it, see PropertyName
    std::string name;
    bool isRequired = false;
    std::vector<Item> items;
};

/// In the order in which they are shown: material or resin, which is required, layer height, nozzle, plate.
/// \param i_defaults the profile with what its platforms have unless they say otherwise.
std::vector<PlatformChoice> GetPlatformChoices(const MachineProfile& i_profile, const MachineProfile& i_defaults);

/// Values by id of the choice.
using ChosenValues = std::map<std::string, std::string>;

/// Reads platform creation parameters and holds them against the choices. A value that is empty was not chosen.
/// \param i_parameters XML in UTF-8; empty: nothing was chosen.
/// \throws CommunicationException FileError for a document that is damaged or another, an id or a value that the
///         machine did not offer, and a required choice left out; names it and what there is to choose.
ChosenValues ReadChosenValues(const std::string& i_parameters, const std::string& i_machine,
                              const std::vector<PlatformChoice>& i_choices);

} // namespace MachineService::BuildProcessor
