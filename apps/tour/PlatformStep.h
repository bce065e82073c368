#pragma once

#include "hosting/PlatformChoices.h"

#include "client/interface/Machine.h"
#include "vexlorcore/IVexlorApiProvider.h"

#include <functional>

namespace VexlorCore {
class DataSet;
}

namespace Tour {

class Transcript;

/// Makes the scene's platform an empty one of the machine: shows what the machine tells and lets choose, sends the
/// user's values, of other choices the default, and shows what was sent.
///
/// Thread: UI thread; waits for the machine under the host's progress display.
/// \throws std::runtime_error with one sentence for the user, UTF-8: for an id or a value that the machine does not
/// offer, for a required choice without value, and for what the machine answers.
void CreatePlatform(const MachineService::Machine& i_machine, VexlorCore::DataSet& io_scene,
                    const Hosting::ChosenValues& i_chosen, const VexlorCore::ApiProviderGetter& i_api_provider,
                    Transcript& io_transcript);

} // namespace Tour
