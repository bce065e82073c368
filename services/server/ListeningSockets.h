#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace MachineService::Server {

// Sockets that listen, for a ConnectionListener. \throws CommunicationException InternalError with one sentence that
// names the address.

/// Of this user alone; the socket that a former process left is replaced. Whoever stops listening removes it.
int ListenOnUnix(const std::filesystem::path& i_path);
/// Whether a process of the same user, or of root, is at the other end.
/// \param o_user of it, as a number for the log.
bool IsOfSameUser(int i_connection, std::string& o_user);

/// \param i_address HOST:PORT or [HOST]:PORT; port 0 lets the system choose one.
/// \param o_port that they listen on, all of them.
/// \return one for each address of the host.
std::vector<int> ListenOnTcp(const std::string& i_address, int& o_port);

} // namespace MachineService::Server
