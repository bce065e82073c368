#pragma once

#include "vexlorcore/IVexlorApiProvider.h"

#include <QString>

#include <functional>

namespace MachineService {

namespace Helpers {

/// The host behind the commands; asked for anew whenever it is needed.
using ApiProviderGetter = VexlorCore::ApiProviderGetter;
/// The scene that a command works on; null when there is none.
using DataSetGetter = std::function<VexlorCore::DataSet*()>;

} // namespace Helpers

/// What the commands of a printer need of their host; empty functions are errors of the one who makes the commands.
struct HostContext
{
    Helpers::DataSetGetter dataSet;
    Helpers::ApiProviderGetter apiProvider;
    std::function<QString()> text; ///< goes to the machine's own commands when they run
};

} // namespace MachineService
