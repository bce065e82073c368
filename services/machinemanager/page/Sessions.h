#pragma once

#include "machinemanager/JobDesk.h"
#include "tavsdk/Mutex.h"

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace MachineService::MachineManager {

/// Who may use the page: by a code that an address carries once, exchanged for the secret of a session, which a cookie
/// carries.
///
/// Of a secret only its hash is kept, so that nobody who reads the file comes in.
///
/// Thread: any.
class Sessions
{
public:
    static constexpr auto CodeLife = std::chrono::hours(1);
    static constexpr auto SessionLife = std::chrono::hours(24 * 30); ///< since it was last used

    /// \param i_file keeps the sessions over a restart; empty: they end with the object. One that cannot be read is
    /// passed over. \param i_now empty: the system's clock.
    explicit Sessions(std::filesystem::path i_file = {}, std::function<Time()> i_now = {});

    /// For one use within an hour. Of many that nobody uses, the oldest are forgotten.
    std::string MakeCode(const Actor& i_actor);
    /// \return the secret of a new session; empty when the code is none, or was used, or is too old.
    std::string Exchange(const std::string& i_code);
    /// \return the secret of a new session.
    std::string Open(const Actor& i_actor);
    /// Counts as a use.
    std::optional<Actor> Find(const std::string& i_secret);
    void Close(const std::string& i_secret);

private:
    struct Entry
    {
        Actor actor;
        Time time;       ///< of a code, when it was made; of a session, when it was last used
        Time saved = {}; ///< what the file says of that
    };
    using Entries = std::map<std::string, Entry>; // by the hash of the secret

    static void mgp_Shrink(Entries& io_entries, Time i_oldest);
    void _Load();
    void _Save() TAVSDK_REQUIRES(_mutex);
    Time _Now() const;

    const std::filesystem::path _file;
    const std::function<Time()> _now;
    TavSDK::Mutex _mutex; ///< guards _codes and _sessions, and the file
    Entries _codes TAVSDK_GUARDED_BY(_mutex);
    Entries _sessions TAVSDK_GUARDED_BY(_mutex);
};

/// Keyword such as "operate".
const char* GetName(Role i_role);
std::optional<Role> FindRole(std::string_view i_name);

} // namespace MachineService::MachineManager
