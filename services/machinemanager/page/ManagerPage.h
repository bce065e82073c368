#pragma once

#include "client/interface/CommandTypes.h"
#include "machinemanager/JobDesk.h"

#include <boost/uuid/uuid.hpp>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace MachineService::MachineManager {

/// Where page and interface are offered, and to whom.
struct ManagerPageOptions
{
    std::string name = "Machine Manager"; ///< of this manager, for people
    /// For the interface; its folder has to be this user's alone and is made when it is missing. Whoever reaches it may
    /// do everything. Empty: none.
    std::filesystem::path socket;
    std::string host = "127.0.0.1";    ///< an address in numbers
    int port = 0;                      ///< 0: one that the system chooses; below 0: neither page nor interface over TCP
    std::filesystem::path certificate; ///< PEM, with its chain
    std::filesystem::path key;         ///< PEM
    std::string publicAddress; ///< as browsers reach the page: https://HOST or https://HOST:PORT; empty: as it listens
    std::filesystem::path sessions; ///< file that keeps who has signed in; empty: they sign in after each start
    int connections = 96;           ///< at a time, of page and socket each; others get 503
    /// Whom a token lets in. May be empty: nobody by a token.
    std::function<std::optional<Actor>(const std::string& i_token)> admit;
    /// Who somebody that signed in is now, with the present role; empty: nobody any more. May be empty: as at the
    /// signing in.
    std::function<std::optional<Actor>(const Actor& i_actor)> confirm;
    /// Lines for the log; empty: they are lost.
    /// Thread: any.
    std::function<void(const std::string&)> log;
};

/// Shows jobs and machines to people as a page and to programs as an interface (docs/manager-api.yaml), over HTTP.
///
/// On the unix socket there is the interface alone. Over TCP there are both, on this computer only unless there are
/// certificate, key, public address and tokens.
///
/// Thread: any; the desk is called on threads of the page's own, several at a time.
/// Ownership: the desk is not owned and must outlive the page.
class ManagerPage
{
public:
    ManagerPage(JobDesk& io_desk, ManagerPageOptions i_options);
    /// As Stop.
    ~ManagerPage();
    ManagerPage(const ManagerPage&) = delete;
    ManagerPage& operator=(const ManagerPage&) = delete;

    /// \throws std::runtime_error with a sentence when it cannot be offered as the options say; nothing is, then.
    void Start();
    /// Ends all connections and waits for the calls of the desk that are on their way; no thread is left. Harmless
    /// when it does not run.
    void Stop();

    /// Of the page, without a path: http://127.0.0.1:PORT. Empty when there is none.
    std::string GetAddress() const;
    /// That the page listens at; 0 when it does not.
    int GetPort() const;
    /// Clients that are connected now, page and programs alike.
    int GetConnections() const;
    /// Of the page at a job, with a code that lets a browser in once within an hour.
    /// \param i_job nil: at all jobs. \param i_actor whom the browser then acts for.
    /// \throws std::runtime_error with a sentence when there is no page.
    JobListAddress MakeJobAddress(const boost::uuids::uuid& i_job, const Actor& i_actor);

private:
    struct Impl;
    const std::unique_ptr<Impl> _impl;
};

} // namespace MachineService::MachineManager
