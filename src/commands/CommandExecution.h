#pragma once

#include "client/interface/CommandTypes.h"
#include "client/interface/Machine.h"
#include "machineservice_export.h"

#include <functional>

class IVexlorApiProvider;
namespace VexlorCore {
class DataSet;
}

namespace MachineService::Helpers {

/// The host behind the commands; asked for anew whenever it is needed.
using ApiProviderGetter = std::function<IVexlorApiProvider&()>;
/// The scene that a command works on; null when there is none.
using DataSetGetter = std::function<VexlorCore::DataSet*()>;

// What the printer's commands do when the user clicks them.
//
// All of them: run on the UI thread, whose event loop turns meanwhile; give the scene to the machine in a temporary
// folder, wait for its answer under the host's progress display, load what comes back into the scene; return true when
// that succeeded. They throw nothing. A failure, a cancellation included, ends in exactly one critical message box and
// false.

/// Builds the scene, or sends it as a job: for the commands Build, PostJob and CreateJobUrl.
///
/// For a machine of the Machine Manager the host confirms the submission first; a refusal ends quietly in false. After
/// a confirmed submission the host's last recorded operation is taken out of its history, whatever became of the job;
/// not when the job could not be started.
MACHINESERVICE_EXPORT bool SubmitJob(const CommandDescription& i_description, const Machine& i_machine,
                                     const ApiProviderGetter& i_api_provider, const DataSetGetter& i_data_set);

/// Lets the machine place the scene's parts.
MACHINESERVICE_EXPORT bool PlaceAutomatically(const CommandDescription& i_description, const Machine& i_machine,
                                              const ApiProviderGetter& i_api_provider, const DataSetGetter& i_data_set);

/// Lets the machine estimate what building the scene consumes; leaves no trace in the statistics.
MACHINESERVICE_EXPORT bool EstimateConsumption(const CommandDescription& i_description, const Machine& i_machine,
                                               const ApiProviderGetter& i_api_provider,
                                               const DataSetGetter& i_data_set);

} // namespace MachineService::Helpers
