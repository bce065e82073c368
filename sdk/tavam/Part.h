#pragma once

#include "tavam/Object.h"
#include "tavam/Representation.h"
#include "tavam_export.h"

#include <boost/uuid/uuid.hpp>

#include <map>
#include <mutex>
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
    void SetRepresentation(Representation i_representation);
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
    ///
    /// Costs as much as the meshes have corners, and nothing where it was asked before, of this part or the one that
    /// it is a copy of, and the part was only moved since.
    BoundingBox GetBoundingBox() const;

private:
    /// What was measured last. Parts that are read by several threads measure and remember at the same time.
    class Measured
    {
    public:
        Measured() = default;
        Measured(const Measured& i_other) { *this = i_other; }
        Measured& operator=(const Measured& i_other);

        /// Of the placement without its translation.
        std::optional<BoundingBox> Find(const Transform& i_turn) const;
        void Keep(const Transform& i_turn, const BoundingBox& i_box);
        void Forget();

    private:
        mutable std::mutex _mutex; ///< guards _last
        std::optional<std::pair<Transform, BoundingBox>> _last;
    };

    boost::uuids::uuid _revisionId;
    std::wstring _name;
    Representation _representation;
    Transform _placement;
    std::optional<Strategies> _strategies;
    bool _hasSupports = false;
    mutable Measured _measured;
};

} // namespace TavAM
