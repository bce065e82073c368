#include "workbench/MainWindow.h"

#include "hosting/Host.h"

namespace Workbench {

MainWindow::MainWindow(Hosting::Host& io_host)
    : _host(io_host)
{
    setMinimumSize(640, 480);
    resize(1280, 800);
    // The services tell of their machines as they come; nothing here waits for them.
    _host.GetClient().Start(MachineService::ServiceId::BuildProcessors);
}

MainWindow::~MainWindow() = default;

} // namespace Workbench
