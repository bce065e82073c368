#include "client/interface/CanRunAnswers.h"

namespace MachineService {

IExplainsCanRun::~IExplainsCanRun() = default;
IKnowsCanRun::~IKnowsCanRun() = default;

} // namespace MachineService
