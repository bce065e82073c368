#pragma once

#include "client/interface/ServiceTypes.h"

#include <QMetaType>

// Signals of the client cross threads by value.
Q_DECLARE_METATYPE(MachineService::ServiceId)
Q_DECLARE_METATYPE(MachineService::ServiceStatus)
Q_DECLARE_METATYPE(MachineService::MachineChanges)
