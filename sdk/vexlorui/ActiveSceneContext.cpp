#include "vexlorui/ActiveSceneContext.h"

#include "vexlorcore/Application.h"

namespace Vexlor::UICommands {

namespace {

const VexlorCore::DataSet* GetActiveScene()
{
    const auto* application = VexlorCore::Application::GetInstance();
    const auto* database = application ? application->GetDatabase() : nullptr;
    return database ? database->GetActiveDataSet() : nullptr;
}

} // namespace

bool ActiveSceneContext::HasPartsOnActiveDataSet() const
{
    const auto* scene = GetActiveScene();
    return scene && !scene->GetParts().empty();
}

bool ActiveSceneContext::HasSlicesOnActiveDataSet() const
{
    const auto* scene = GetActiveScene();
    return scene && scene->GetSliceStackCount() > 0;
}

bool ActiveSceneContext::HasHybridCorePartsOnActiveDataSet() const
{
    const auto* scene = GetActiveScene();
    return scene && scene->GetHybridCorePartCount() > 0;
}

} // namespace Vexlor::UICommands
