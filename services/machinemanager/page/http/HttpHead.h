#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace MachineService::MachineManager {

/// Bytes of a request's first line and headers together.
inline constexpr std::size_t LongestHead = 16 * 1024;

/// What is known of a request before the library that parses it sees a byte.
struct HeadCheck
{
    int status = 0;         ///< to refuse it with; 0: it may go on
    std::string head;       ///< to be parsed, ends with an empty line
    bool hasBody = false;   ///< some bytes follow, or will
    bool isClosing = false; ///< the client wants no further request on this connection
};

/// Looks at the head of a request before it is parsed, because the parser bounds neither the number of headers nor what
/// they say about the length of the body: whatever two readers could understand differently is refused, and what could
/// only do harm here (ranges are ours, answers are not compressed) is left out.
///
/// \param i_head up to the empty line, and that.
HeadCheck CheckHead(std::string_view i_head);

} // namespace MachineService::MachineManager
