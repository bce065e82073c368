#pragma once

#include "tavam/MachineParameters.h"
#include "tavam/Object.h"
#include "tavam/Part.h"
#include "tavam_export.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace TavAM {

/// One build platform: a machine, maybe, and the parts on it. A value: copies hold copies of the parts, which share
/// meshes.
class TAVAM_EXPORT Platform : public Object
{
public:
    const std::wstring& GetName() const { return _name; }
    void SetName(const std::wstring& i_name) { _name = i_name; }

    /// Null when the platform has no machine. Owned by the platform.
    const MachineParameters* GetMachine() const { return _machine ? &*_machine : nullptr; }
    void SetMachine(std::optional<MachineParameters> i_machine) { _machine = std::move(i_machine); }

    std::vector<Part>& GetParts() { return _parts; }
    const std::vector<Part>& GetParts() const { return _parts; }
    /// Null when there is no part of that id. Valid until the list of parts changes.
    Part* FindPart(const boost::uuids::uuid& i_revision_id);

private:
    std::wstring _name;
    std::optional<MachineParameters> _machine;
    std::vector<Part> _parts;
};

} // namespace TavAM
