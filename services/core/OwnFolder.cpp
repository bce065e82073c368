#include "core/OwnFolder.h"

#include <dlfcn.h>

namespace MachineService {

std::filesystem::path GetOwnFolder()
{
    Dl_info information = {};
    if (dladdr(reinterpret_cast<const void*>(&GetOwnFolder), &information) == 0 || !information.dli_fname)
        return {};
    std::error_code failure;
    return std::filesystem::canonical(information.dli_fname, failure).parent_path();
}

} // namespace MachineService
