#include "client/interface/Caller.h"

#include <utility>

namespace MachineService {

namespace {

thread_local std::string mgp_caller;

} // namespace

CallerScope::CallerScope(std::string i_name)
    : _former(std::exchange(mgp_caller, std::move(i_name)))
{}

CallerScope::~CallerScope()
{
    mgp_caller = _former;
}

const std::string& GetCaller()
{
    return mgp_caller;
}

} // namespace MachineService
