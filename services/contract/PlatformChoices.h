#pragma once

#include <map>
#include <string>
#include <vector>

namespace MachineService {

/// One thing that a user may choose for a platform of a machine. Texts are UTF-8.
struct PlatformChoice
{
    struct Item
    {
        std::string id;
        std::string name;
        bool isDefault = false;

        bool operator==(const Item&) const = default;
    };

    std::string id;
    std::string name;
    bool isRequired = false;
    std::vector<Item> items;

    bool operator==(const PlatformChoice&) const = default;
};

/// What a machine tells of its platforms. Texts are UTF-8.
struct PlatformDescription
{
    std::string name;
    std::string comment;
    std::vector<std::string> materials;
    std::vector<PlatformChoice> choices; ///< in the order in which they are shown

    bool operator==(const PlatformDescription&) const = default;
};

/// Platform information as PlatformInfo::xml holds it. Format: docs/platform-information.md.
std::string WritePlatformInformation(const PlatformDescription& i_description);

/// Values by id of the choice.
using ChosenValues = std::map<std::string, std::string>;

/// Reads platform creation parameters and holds them against the choices. A value that is empty was not chosen.
///
/// \param i_parameters XML in UTF-8; empty: nothing was chosen.
/// \param i_machine the machine's name, for the sentence of a failure.
/// \throws CommunicationException FileError for a document that is damaged or another, an id or a value that the
/// machine did not offer, and a required choice left out; names it and what there is to choose.
ChosenValues ReadChosenValues(const std::string& i_parameters, const std::string& i_machine,
                              const std::vector<PlatformChoice>& i_choices);

} // namespace MachineService
