#include "client/interface/MachineStrategy.h"

namespace MachineService {

MachineStrategy::MachineStrategy(const MachineData& i_data)
    : _data(i_data)
{}

MachineStrategy::~MachineStrategy() = default;

} // namespace MachineService
