#include "vexlorcore/Application.h"

#include "tavsdk/StopExceptions.h"

#include <QLoggingCategory>

#include <stdexcept>

namespace VexlorCore {

namespace {

Q_LOGGING_CATEGORY(log, "machineservice.host.application")

Application* mgp_instance = nullptr;

} // namespace

Application::Application()
{
    if (mgp_instance)
        throw std::logic_error("There is an application already.");
    mgp_instance = this;
}

Application::~Application()
{
    CloseDatabase();
    mgp_instance = nullptr;
}

Application* Application::GetInstance()
{
    return mgp_instance;
}

Database& Application::CreateDatabase()
{
    CloseDatabase();
    _database = std::make_unique<Database>();
    _operations = std::make_unique<OperationManagerBase>(*_database);
    return *_database;
}

void Application::CloseDatabase()
{
    // The history holds platforms and works on the database.
    _operations.reset();
    _database.reset();
}

void Application::Invalidate3d()
{
    // Called through a copy: a view may take its handler away while it draws.
    if (const auto handler = _invalidate3d)
        TavSDK::StopExceptions(handler, [](const char* ip_why) { qCWarning(log, "A view cannot draw: %s", ip_why); });
}

} // namespace VexlorCore
