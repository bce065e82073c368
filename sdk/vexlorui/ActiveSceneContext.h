#pragma once

#include "vexlorui/UpdatableContext.h"
#include "vexlorui_export.h"

namespace Vexlor::UICommands {

/// Answers for the active scene of VexlorCore::Application; false to everything without one.
/// Thread: UI thread.
class VEXLORUI_EXPORT ActiveSceneContext final : public UpdatableContext
{
public:
    bool HasPartsOnActiveDataSet() const override;
    bool HasSlicesOnActiveDataSet() const override;
    bool HasHybridCorePartsOnActiveDataSet() const override;
};

} // namespace Vexlor::UICommands
