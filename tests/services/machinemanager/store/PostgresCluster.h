#pragma once

#include <string>

namespace TestSupport {

/// A folder, or a name, as the host of an address.
std::string EncodeHost(std::string i_host);

/// A PostgreSQL server of this program alone, in a temporary folder and on a unix socket there. It goes with the
/// object.
class PostgresCluster
{
public:
    /// Does it wait for the disk?
    enum class Disk
    {
        Synced,
        Unsynced, ///< quicker; what it tells survives all but a power cut
    };

    explicit PostgresCluster(Disk i_disk);
    /// The one of all tests of a program, unsynced; started when it is first asked for.
    static PostgresCluster& Get();
    ~PostgresCluster();
    PostgresCluster(const PostgresCluster&) = delete;
    PostgresCluster& operator=(const PostgresCluster&) = delete;

    /// An empty database. \return its address, as a store takes it.
    std::string MakeDatabase();
    void Stop();
    void Start();
    /// A statement in a database of an address that MakeDatabase gave. \return what psql prints.
    std::string Run(const std::string& i_address, const std::string& i_statement) const;
    void RunFile(const std::string& i_address, const std::string& i_file) const;

private:
    std::string _Run(const std::string& i_command, const std::string& i_input = "/dev/null") const;

    const Disk _disk;
    std::string _folder;
    int _databases = 0;
};

} // namespace TestSupport
