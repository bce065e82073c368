#include "machinemanager/page/Sessions.h"

#include "machinemanager/page/Secrets.h"
#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>

namespace MachineService::MachineManager {

namespace {

constexpr std::size_t MostEntries = 1'000;
constexpr std::uint64_t LargestFile = 1 << 20;
// How exactly a session's last use is kept on the disk.
constexpr auto SaveInterval = std::chrono::hours(24);

constexpr std::array RoleNames = {
    std::pair{Role::None, "none"},
    std::pair{Role::See, "see"},
    std::pair{Role::Submit, "submit"},
    std::pair{Role::Operate, "operate"},
};

} // namespace

const char* GetName(Role i_role)
{
    return RoleNames[static_cast<std::size_t>(i_role)].second;
}

std::optional<Role> FindRole(std::string_view i_name)
{
    for (const auto& [role, name] : RoleNames) {
        if (name == i_name)
            return role;
    }
    return std::nullopt;
}

Sessions::Sessions(std::filesystem::path i_file, std::function<Time()> i_now)
    : _file(std::move(i_file))
    , _now(std::move(i_now))
{
    _Load();
}

Time Sessions::_Now() const
{
    return _now ? _now() : std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
}

void Sessions::mgp_Shrink(Entries& io_entries, Time i_oldest)
{
    std::erase_if(io_entries, [&](const auto& i_entry) { return i_entry.second.time < i_oldest; });
    while (io_entries.size() >= MostEntries) {
        io_entries.erase(
            std::min_element(io_entries.begin(), io_entries.end(), [](const auto& i_one, const auto& i_other) {
                return i_one.second.time < i_other.second.time;
            }));
    }
}

std::string Sessions::MakeCode(const Actor& i_actor)
{
    auto code = MakeSecret();
    const auto now = _Now();
    const TavSDK::MutexLock lock(_mutex);
    mgp_Shrink(_codes, now - CodeLife);
    _codes[HashSecret(code)] = {i_actor, now};
    return code;
}

std::string Sessions::Exchange(const std::string& i_code)
{
    Actor actor;
    {
        const TavSDK::MutexLock lock(_mutex);
        const auto found = _codes.find(HashSecret(i_code));
        if (found == _codes.end())
            return {};
        const auto entry = found->second;
        _codes.erase(found);
        if (entry.time < _Now() - CodeLife)
            return {};
        actor = entry.actor;
    }
    return Open(actor);
}

std::string Sessions::Open(const Actor& i_actor)
{
    auto secret = MakeSecret();
    const auto now = _Now();
    const TavSDK::MutexLock lock(_mutex);
    mgp_Shrink(_sessions, now - SessionLife);
    _sessions[HashSecret(secret)] = {i_actor, now};
    _Save();
    return secret;
}

std::optional<Actor> Sessions::Find(const std::string& i_secret)
{
    if (i_secret.empty())
        return std::nullopt;
    const auto now = _Now();
    const TavSDK::MutexLock lock(_mutex);
    const auto found = _sessions.find(HashSecret(i_secret));
    if (found == _sessions.end())
        return std::nullopt;
    if (found->second.time < now - SessionLife) {
        _sessions.erase(found);
        _Save();
        return std::nullopt;
    }
    found->second.time = now;
    if (now - found->second.saved > SaveInterval)
        _Save();
    return found->second.actor;
}

void Sessions::Close(const std::string& i_secret)
{
    const TavSDK::MutexLock lock(_mutex);
    if (_sessions.erase(HashSecret(i_secret)) > 0)
        _Save();
}

void Sessions::_Load()
{
    if (_file.empty())
        return;
    const TavSDK::MutexLock lock(_mutex);
    try {
        auto file = TavSDK::InputFile::OpenIfThere(_file);
        if (!file)
            return;
        const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(file->ReadAll(LargestFile)));
        for (const auto value : document.array()) {
            const auto entry = value.toObject();
            const auto role = FindRole(entry.value(QStringLiteral("role")).toString().toStdString());
            const auto hash = entry.value(QStringLiteral("hash")).toString().toStdString();
            const auto used = static_cast<std::int64_t>(entry.value(QStringLiteral("used")).toDouble());
            const Time time{std::chrono::milliseconds(used)};
            if (role && hash.size() == 64 && _sessions.size() < MostEntries)
                _sessions[hash] = {{entry.value(QStringLiteral("name")).toString().toStdString(), *role}, time, time};
        }
    } catch (const TavSDK::FileError&) {
        // Whoever had a session signs in again.
        _sessions.clear();
    }
}

void Sessions::_Save()
{
    if (_file.empty())
        return;
    QJsonArray entries;
    for (auto& [hash, entry] : _sessions) {
        entry.saved = entry.time;
        entries.append(
            QJsonObject{{QStringLiteral("hash"), QString::fromStdString(hash)},
                        {QStringLiteral("name"), QString::fromStdString(entry.actor.name)},
                        {QStringLiteral("role"), QString::fromLatin1(GetName(entry.actor.role))},
                        {QStringLiteral("used"), static_cast<double>(entry.time.time_since_epoch().count())}});
    }
    try {
        TavSDK::AtomicFile file(_file);
        file.Write(QJsonDocument(entries).toJson(QJsonDocument::Compact).toStdString());
        file.Commit();
    } catch (const TavSDK::FileError&) {
        // The session is good until the manager ends, which is what a full disk costs here.
    }
}

} // namespace MachineService::MachineManager
