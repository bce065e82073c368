#pragma once

#include <QMainWindow>

namespace Hosting {
class Host;
}

namespace Workbench {

/// The window: puts its parts together and keeps nothing of its own.
///
/// Thread: UI thread. Ownership: the host must outlive the window.
class MainWindow final : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(Hosting::Host& io_host);
    ~MainWindow() override;

private:
    Hosting::Host& _host;
};

} // namespace Workbench
