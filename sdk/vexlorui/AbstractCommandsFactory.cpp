#include "vexlorui/AbstractCommandsFactory.h"

#include "vexlorui/ICommandsContainer.h"

namespace Vexlor::UICommands {

AbstractCommandsFactory::AbstractCommandsFactory(QObject* ip_parent)
    : QObject(ip_parent)
{}

AbstractCommandsFactory::~AbstractCommandsFactory() = default;

ICommandsContainer::ICommandsContainer(QObject* ip_parent)
    : QObject(ip_parent)
{}

ICommandsContainer::~ICommandsContainer() = default;

} // namespace Vexlor::UICommands
