#pragma once

#include "client/interface/MachinePicture.h"

namespace MachineService::BuildProcessor {

struct MachineProfile;

/// A drawing of the kind of printer, PNG of 96 x 96 pixels made by pictures/make-pictures; every call shares its bytes.
MachinePicture GetPicture(const MachineProfile& i_profile);

} // namespace MachineService::BuildProcessor
