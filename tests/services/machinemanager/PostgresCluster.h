#pragma once

#include <string>

namespace TestSupport {

/// A folder, or a name, as the host of an address.
std::string EncodeHost(std::string i_host);

/// A PostgreSQL server of this test program alone, in a temporary folder and on a unix socket there. Started when it is
/// first asked for; it goes with the program.
class PostgresCluster
{
public:
    static PostgresCluster& Get();
    ~PostgresCluster();

    /// An empty database. \return its address, as a store takes it.
    std::string MakeDatabase();
    void Stop();
    void Start();
    /// A statement in a database of an address that MakeDatabase gave. \return what psql prints.
    std::string Run(const std::string& i_address, const std::string& i_statement) const;
    void RunFile(const std::string& i_address, const std::string& i_file) const;

private:
    PostgresCluster();
    std::string _Run(const std::string& i_command, const std::string& i_input = "/dev/null") const;

    std::string _folder;
    int _databases = 0;
};

} // namespace TestSupport
