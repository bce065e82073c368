#pragma once

#include "vexlorcore_export.h"

#include <memory>
#include <stdexcept>

namespace VexlorCore {

class DataSet;

/// A scene was closed while somebody who works on it waited; what() is the user's sentence.
class VEXLORCORE_EXPORT SceneClosed : public std::runtime_error
{
public:
    SceneClosed();
};

/// A scene that an operation comes back to after the event loop ran.
///
/// What is left of a closed scene stays while it is held, so that no scene opened meanwhile has its address: whoever
/// was given the pointer finds out that the scene is closed, and does not take another one for it.
///
/// Thread: UI thread, also to be destroyed on; GetPointer any.
class VEXLORCORE_EXPORT HeldScene
{
public:
    /// \param io_scene of a database.
    explicit HeldScene(DataSet& io_scene);
    ~HeldScene();
    HeldScene(const HeldScene&) = delete;
    HeldScene& operator=(const HeldScene&) = delete;

    bool IsOpen() const;
    /// \throws SceneClosed.
    DataSet& Get() const;
    /// For operations of the host, which ask themselves whether the scene is open.
    DataSet* GetPointer() const { return _scene.get(); }

private:
    const std::shared_ptr<DataSet> _scene;
};

} // namespace VexlorCore
