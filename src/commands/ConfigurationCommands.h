#pragma once

#include "client/interface/CommandTypes.h"
#include "client/interface/Machine.h"
#include "commands/HostContext.h"
#include "machineservice_export.h"

#include <QString>

#include <functional>

namespace MachineService::Helpers {

// Run as RunPrinterCommand runs the kinds of these names, with the same messages and results; the description's own
// kind does not matter.

MACHINESERVICE_EXPORT bool ConfigurePart(const CommandDescription& i_description, const Machine& i_machine,
                                         const ApiProviderGetter& i_api_provider, const DataSetGetter& i_data_set);

MACHINESERVICE_EXPORT bool ConfigurePlatform(const CommandDescription& i_description, const Machine& i_machine,
                                             const ApiProviderGetter& i_api_provider, const DataSetGetter& i_data_set);

/// Runs a command of the machine's own.
/// \param i_text asked when the command runs; the machine receives it as the caller's context.
MACHINESERVICE_EXPORT bool DynamicPrinterCommand(const CommandDescription& i_description, const Machine& i_machine,
                                                 const ApiProviderGetter& i_api_provider,
                                                 const DataSetGetter& i_data_set,
                                                 const std::function<QString()>& i_text);

/// Lets the machine fill the properties of scene and parts that a report shows. No trace, no check of the scene's data.
MACHINESERVICE_EXPORT bool FillReportProperties(const Machine& i_machine, const ApiProviderGetter& i_api_provider,
                                                const DataSetGetter& i_data_set);

} // namespace MachineService::Helpers
