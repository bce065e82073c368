#pragma once

#include "machinelayer/ConfigurationXml.h"

namespace MachineService {

// What platforms for one machine are prepared with, as it leaves the host; the record and its format belong to the
// machine layer, so that machine services know them too.
using SupportProfilesConfiguration = MachineLayer::Data::Supports;
using PlatformMachineConfiguration = MachineLayer::Data::MachineConfiguration;
using ConfigurationSchema = MachineLayer::ConfigurationSchema;

} // namespace MachineService
