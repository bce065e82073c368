#include "vexlorcore/HeldScene.h"

#include "vexlorcore/DataSet.h"

#include <QCoreApplication>

namespace VexlorCore {

SceneClosed::SceneClosed()
    : std::runtime_error(QCoreApplication::translate("VexlorCore::HeldScene", "The scene was closed.").toStdString())
{}

HeldScene::HeldScene(DataSet& io_scene)
    : _scene(io_scene.shared_from_this())
{}

HeldScene::~HeldScene() = default;

bool HeldScene::IsOpen() const
{
    // A database lets go of its scenes when they are closed, and when it goes itself.
    return _scene->GetDatabase() != nullptr;
}

DataSet& HeldScene::Get() const
{
    if (!IsOpen())
        throw SceneClosed();
    return *_scene;
}

} // namespace VexlorCore
