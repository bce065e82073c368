#include "services/machinemanager/store/PostgresCluster.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

#include <sys/stat.h>
#include <unistd.h>

namespace TestSupport {

namespace {

const std::string Programs = "/usr/lib/postgresql/15/bin/";

} // namespace

std::string EncodeHost(std::string i_host)
{
    for (auto at = i_host.find('/'); at != std::string::npos; at = i_host.find('/'))
        i_host.replace(at, 1, "%2F");
    return i_host;
}

PostgresCluster& PostgresCluster::Get()
{
    static PostgresCluster mgp_cluster(Disk::Unsynced);
    return mgp_cluster;
}

PostgresCluster::PostgresCluster(Disk i_disk)
    : _disk(i_disk)
{
    // Short: the name of a socket has at most 107 bytes.
    _folder = "/tmp/mspg-XXXXXX";
    if (!::mkdtemp(_folder.data()))
        throw std::runtime_error("no folder for the database server");
    if (::geteuid() == 0)
        std::system(("chown postgres " + _folder).c_str());
    _Run(Programs + "initdb -D " + _folder + "/data -U postgres -A trust --no-sync -E UTF8 --locale=C.UTF-8");
    Start();
}

PostgresCluster::~PostgresCluster()
{
    try {
        Stop();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
    }
    std::filesystem::remove_all(_folder);
}

void PostgresCluster::Start()
{
    _Run(Programs + "pg_ctl -D " + _folder + "/data -l " + _folder + "/log -w -o \"-k " + _folder +
         " -c listen_addresses='' -c fsync=" + (_disk == Disk::Synced ? "on" : "off") +
         " -c max_connections=200\" start");
}

void PostgresCluster::Stop()
{
    _Run(Programs + "pg_ctl -D " + _folder + "/data -m immediate -w stop");
}

std::string PostgresCluster::MakeDatabase()
{
    const std::string name = "test" + std::to_string(++_databases);
    const std::string begin = "postgresql://postgres@" + EncodeHost(_folder) + '/';
    Run(begin + "postgres", "CREATE DATABASE " + name);
    return begin + name;
}

std::string PostgresCluster::Run(const std::string& i_address, const std::string& i_statement) const
{
    return _Run(Programs + "psql -X -q -A -t -v ON_ERROR_STOP=1 -d '" + i_address + "' -c \"" + i_statement + '"');
}

void PostgresCluster::RunFile(const std::string& i_address, const std::string& i_file) const
{
    _Run(Programs + "psql -X -q -v ON_ERROR_STOP=1 -d '" + i_address + "'", i_file);
}

/// The server refuses to run as root.
std::string PostgresCluster::_Run(const std::string& i_command, const std::string& i_input) const
{
    const std::string command = "cd / && " + (::geteuid() == 0 ? "runuser -u postgres -- " + i_command : i_command) +
                                " 2>&1 < '" + i_input + '\'';
    std::FILE* const pipe = ::popen(command.c_str(), "r");
    if (!pipe)
        throw std::runtime_error("no pipe for " + command);
    std::string output;
    std::array<char, 4096> buffer;
    for (std::size_t count = 1; count > 0;) {
        count = std::fread(buffer.data(), 1, buffer.size(), pipe);
        output.append(buffer.data(), count);
    }
    if (::pclose(pipe) != 0)
        throw std::runtime_error("failed: " + command + '\n' + output);
    return output;
}

} // namespace TestSupport
