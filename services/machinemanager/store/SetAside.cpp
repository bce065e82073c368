#include "machinemanager/store/SetAside.h"

#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <QDateTime>

#include <cerrno>
#include <cstdio>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace MachineService::MachineManager {

namespace {

[[noreturn]] void Fail(const std::filesystem::path& i_file, const char* ip_what)
{
    throw ManagerError(ManagerError::Kind::Storage, "The job store " + TavSDK::Quote(TavSDK::ShowPath(i_file)) + ' ' +
                                                        ip_what + ": " + TavSDK::ErrnoText(errno) +
                                                        ". Look at its folder and the rights to it.");
}

std::filesystem::path Beside(std::filesystem::path i_file, const std::string& i_ending)
{
    i_file += i_ending;
    return i_file;
}

/// SQLite gives the files beside it the same rights.
void MakePrivateFile(const std::filesystem::path& i_file)
{
    const int file = ::open(i_file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file < 0)
        Fail(i_file, "cannot be opened");
    ::close(file);
}

bool TryRename(const std::filesystem::path& i_from, const std::filesystem::path& i_to)
{
    if (::renameat2(AT_FDCWD, i_from.c_str(), AT_FDCWD, i_to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EEXIST)
        Fail(i_from, "is damaged and cannot be renamed");
    return false;
}

std::filesystem::path SetAside(const std::filesystem::path& i_file, std::chrono::system_clock::time_point i_now)
{
    const auto date =
        QDateTime::fromMSecsSinceEpoch(
            std::chrono::duration_cast<std::chrono::milliseconds>(i_now.time_since_epoch()).count(), Qt::UTC)
            .toString(QStringLiteral("yyyyMMdd-HHmmss"))
            .toStdString();
    const std::string name = ".damaged-" + date;
    auto target = Beside(i_file, name);
    // Several in one second.
    for (int number = 2; !TryRename(i_file, target); ++number)
        target = Beside(i_file, name + '-' + std::to_string(number));
    for (const char* ending : {"-wal", "-shm"}) {
        const auto beside = Beside(i_file, ending);
        if (::access(beside.c_str(), F_OK) == 0 && !TryRename(beside, Beside(target, ending)))
            Fail(beside, "is damaged and cannot be renamed");
    }
    return target;
}

/// What is wrong with it; empty: nothing.
std::string FindDamage(const Dialect& i_dialect)
{
    try {
        // A damaged file is to stay as it was found: closing would put its log into it.
        Connection connection(i_dialect, Access::Look);
        const auto findings = CheckFile(connection, "quick_check(1)");
        return findings.empty() ? std::string() : findings.front();
    } catch (const SqlFailure& failure) {
        if (failure.GetCause() != SqlFailure::Cause::Damaged)
            throw;
        return failure.what();
    }
}

} // namespace

std::vector<std::string> CheckFile(Connection& io_connection, const char* ip_pragma)
{
    std::vector<std::string> findings;
    Rows rows = io_connection.Select(QStringLiteral("PRAGMA ") + QLatin1String(ip_pragma));
    while (rows.Next()) {
        const auto finding = rows[0].toString();
        if (finding != QLatin1String("ok"))
            findings.push_back(finding.simplified().toStdString());
    }
    return findings;
}

void SetAsideWhenDamaged(const Dialect& i_dialect, std::chrono::system_clock::time_point i_now,
                         const std::function<void(const std::string&)>& i_log)
{
    const auto& file = i_dialect.GetAddress().file;
    MakePrivateFile(file);
    const auto damage = FindDamage(i_dialect);
    if (damage.empty())
        return;
    const auto target = SetAside(file, i_now);
    MakePrivateFile(file);
    if (i_log)
        i_log("The job store " + i_dialect.GetAddress().Show() + " was damaged (" + damage + ") and is now called " +
              TavSDK::Quote(TavSDK::ShowPath(target)) +
              "; a new one was begun. Restore a backup to have the jobs again.");
}

} // namespace MachineService::MachineManager
