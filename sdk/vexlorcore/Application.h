#pragma once

#include "vexlorcore/CoreSettings.h"
#include "vexlorcore/Database.h"
#include "vexlorcore/OperationManager.h"
#include "vexlorcore_export.h"

#include <functional>
#include <memory>
#include <utility>

namespace VexlorCore {

/// The host application as its plug-ins see it. At most one exists; made and destroyed on the UI thread.
class VEXLORCORE_EXPORT Application
{
public:
    /// Registers itself as the instance.
    Application();
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    /// Null when there is no application.
    static Application* GetInstance();

    /// Null before CreateDatabase and after CloseDatabase.
    Database* GetDatabase() const { return _database.get(); }
    Database& CreateDatabase();
    void CloseDatabase();

    /// Null whenever there is no database.
    OperationManagerBase* GetOperationManager() const { return _operations.get(); }
    CoreSettings& GetSettings() { return _settings; }

    /// Asks for a redraw of the 3D view; the host's view installs how.
    void Invalidate3d();
    void SetInvalidate3dHandler(std::function<void()> i_handler) { _invalidate3d = std::move(i_handler); }

private:
    CoreSettings _settings;
    std::unique_ptr<Database> _database;
    std::unique_ptr<OperationManagerBase> _operations;
    std::function<void()> _invalidate3d;
};

} // namespace VexlorCore
