#pragma once

namespace Vexlor::UICommands {

/// What the host tells its commands when they decide whether they are enabled. Cheap to make: one per update round.
class UpdatableContext
{
public:
    virtual ~UpdatableContext() = default;
    virtual bool HasPartsOnActiveDataSet() const = 0;
    virtual bool HasSlicesOnActiveDataSet() const = 0;
    virtual bool HasHybridCorePartsOnActiveDataSet() const = 0;
};

} // namespace Vexlor::UICommands
