#pragma once

#include <filesystem>
#include <string>

namespace MachineService::MachineManager {

/// Where a store is, taken apart.
struct StoreAddress
{
    std::filesystem::path file; ///< of SQLite; empty: PostgreSQL
    std::string host;           ///< name, number, or the folder of a socket
    int port = 5432;
    std::string user;
    std::string password;
    std::string database;

    bool IsPostgres() const { return file.empty(); }
    /// For sentences: quoted, and without the password.
    std::string Show() const;
};

/// \throws ManagerError BadInput.
StoreAddress ParseStoreAddress(const std::string& i_address);

} // namespace MachineService::MachineManager
