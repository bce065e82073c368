#include "machinemanager/printers/ReceivedBytes.h"

#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace MachineService::MachineManager {

std::uint64_t CountReceivedBytes(int i_socket)
{
    tcp_info info = {};
    socklen_t size = sizeof info;
    return ::getsockopt(i_socket, IPPROTO_TCP, TCP_INFO, &info, &size) == 0 ? info.tcpi_bytes_received : 0;
}

} // namespace MachineService::MachineManager
