#pragma once

#include <filesystem>
#include <string>

namespace MachineService::MachineManager {

/// A socket that clients connect to. A unix socket's file goes with it.
///
/// Thread: one.
/// Errors: std::runtime_error with a sentence.
class ListeningSocket
{
public:
    /// At a unix socket in a folder that is this user's alone; the folder is made when it is missing.
    explicit ListeningSocket(std::filesystem::path i_socket);
    /// \param i_host an address in numbers. \param i_port 0: the system chooses.
    ListeningSocket(const std::string& i_host, int i_port);
    ~ListeningSocket();
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;

    int GetDescriptor() const { return _descriptor; }
    int GetPort() const { return _port; }

private:
    int _descriptor = -1;
    int _port = 0;
    std::filesystem::path _socket;
};

/// Is it an address of this computer alone?
bool IsLoopback(const std::string& i_host);

} // namespace MachineService::MachineManager
