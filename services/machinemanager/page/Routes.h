#pragma once

#include "machinemanager/page/Call.h"

#include <cstdint>
#include <span>
#include <string>

namespace MachineService::MachineManager {

/// Which side of the house a request is for; decides what failures look like.
enum class Door
{
    Interface, ///< programs; also on the unix socket
    Page,      ///< people
};

/// One row of the table of requests: what is asked for, who may, and what answers.
struct Route
{
    const char* method; ///< GET answers HEAD as well
    const char* path;   ///< {id} stands for one word
    Door door;
    Role role;                 ///< at least; what is whose, the desk knows
    std::uint64_t longestForm; ///< bytes of its form; 0: what answers bounds the body itself
    HttpResponse (*answer)(const PageContext& i_context, const Call& i_call);
};

std::span<const Route> GetRoutes();

/// Answers whatever is asked: looks who asks and whether they may, calls what answers, and makes an answer of its
/// failure.
///
/// Thread: any.
HttpResponse Answer(const PageContext& i_context, const HttpRequest& i_request);

} // namespace MachineService::MachineManager
