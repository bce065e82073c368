#pragma once

#include "client/interface/AbstractMachinesCatalog.h"

namespace MachineService {

/// The catalog of one machine service, as the catalog of all services holds it.
class AbstractServiceCatalog : public AbstractMachinesCatalog
{
public:
    /// Ends the service's threads and work; no news afterwards, questions are still answered. Twice is harmless.
    ///
    /// A slot on one service's thread may ask another service: all are stopped before the first is destroyed.
    virtual void Stop() = 0;
};

} // namespace MachineService
