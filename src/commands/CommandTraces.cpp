#include "commands/CommandTraces.h"

#include "client/interface/MachineData.h"

#include "vexlorcore/Statistic.h"

namespace MachineService::Helpers {

void SendTraces(const TraceLabels& i_labels, const MachineData& i_data)
{
    using VexlorCore::Statistic;
    Statistic::TrackCustomTrace("BuildProcessorsUsage", "Information", i_labels.usage);
    Statistic::TrackCustomTrace("BuildProcessors", "Information", i_labels.machine,
                                {{"BuildProcessors.ModelId", i_data.modelId},
                                 {"BuildProcessors.Manufacturer", i_data.manufacturer},
                                 {"BuildProcessors.DriverId", i_data.driverId}});
}

} // namespace MachineService::Helpers
