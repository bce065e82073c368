#pragma once

#include "tavam/Object.h"
#include "tavam/Representation.h"
#include "tavam_export.h"

#include <boost/uuid/uuid.hpp>

#include <map>
#include <optional>
#include <string>
#include <utility>

namespace TavAM {

/// One part on a platform. A value: copies share meshes.
class TAVAM_EXPORT Part : public Object
{
public:
    /// With a new random revision id.
    Part();

    /// Identifies the part across saving, sending to a machine and loading the result back.
    const boost::uuids::uuid& GetRevisionId() const { return _revisionId; }
    void SetRevisionId(const boost::uuids::uuid& i_id) { _revisionId = i_id; }
    const std::wstring& GetName() const { return _name; }
    void SetName(const std::wstring& i_name) { _name = i_name; }
    const Representation& GetRepresentation() const { return _representation; }
    void SetRepresentation(Representation i_representation) { _representation = std::move(i_representation); }
    /// Where the part is on the platform. Units: mm.
    const Transform& GetPlacement() const { return _placement; }
    void SetPlacement(const Transform& i_placement) { _placement = i_placement; }
    bool HasSupports() const { return _hasSupports; }
    void SetHasSupports(bool i_has_supports) { _hasSupports = i_has_supports; }

    /// Print strategies by role ("part", "support"): ids from the machine's list. Empty when the part was never
    /// assigned any.
    using Strategies = std::map<std::wstring, std::wstring>;
    const std::optional<Strategies>& GetStrategies() const { return _strategies; }
    void SetStrategies(std::optional<Strategies> i_strategies) { _strategies = std::move(i_strategies); }

    /// Of all meshes at any depth, as placed on the platform; empty when there is no mesh. Units: mm.
    BoundingBox GetBoundingBox() const;

private:
    boost::uuids::uuid _revisionId;
    std::wstring _name;
    Representation _representation;
    Transform _placement;
    std::optional<Strategies> _strategies;
    bool _hasSupports = false;
};

} // namespace TavAM
