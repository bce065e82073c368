#include "machinemanager/printers/FolderLink.h"

#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <utility>
#include <vector>

namespace MachineService::MachineManager {

namespace {

constexpr std::size_t PieceBytes = 1 << 20;
/// Somebody else's program may write a file into the folder in the same way, without the lock.
constexpr std::time_t UnfinishedSeconds = 600;

std::string DescribeFolder(const std::filesystem::path& i_folder)
{
    return "the printer's folder " + TavSDK::Quote(TavSDK::ShowPath(i_folder));
}

[[noreturn]] void ThrowUnreadable(const PrintOrder& i_order, const TavSDK::FileError& i_failure)
{
    throw PrinterRefusal("The machine file " + TavSDK::Quote(TavSDK::ShowPath(i_order.file)) +
                         " cannot be read: " + i_failure.what() + "; build the job again.");
}

TavSDK::InputFile OpenSource(const PrintOrder& i_order)
{
    try {
        return TavSDK::InputFile(i_order.file);
    } catch (const TavSDK::FileError& failure) {
        ThrowUnreadable(i_order, failure);
    }
}

std::size_t ReadPiece(const PrintOrder& i_order, TavSDK::InputFile& io_source, std::vector<char>& o_piece)
{
    try {
        return io_source.Read(o_piece.data(), o_piece.size());
    } catch (const TavSDK::FileError& failure) {
        ThrowUnreadable(i_order, failure);
    }
}

/// The printer's side is another user, or on another computer. A file system without rights has nothing to give.
void ShareLike(const std::filesystem::path& i_folder, int i_file)
{
    struct stat folder = {};
    if (::stat(i_folder.c_str(), &folder) == 0)
        ::fchmod(i_file, S_IRUSR | S_IWUSR | (folder.st_mode & (S_IRGRP | S_IROTH)));
}

bool IsThere(const std::filesystem::path& i_file)
{
    std::error_code failure;
    const bool isThere = std::filesystem::exists(std::filesystem::symlink_status(i_file, failure));
    if (failure && failure != std::errc::no_such_file_or_directory)
        throw std::runtime_error("The printer's folder cannot be looked into: " + failure.message() + '.');
    return isThere;
}

/// Nobody writes it any more: who does holds the lock, or has written lately.
bool IsLeftBehind(const std::filesystem::path& i_file)
{
    const int file = ::open(i_file.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file < 0)
        return false;
    struct stat status = {};
    const bool isOld = ::fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid() &&
                       std::time(nullptr) - status.st_mtim.tv_sec > UnfinishedSeconds;
    const bool isFree = isOld && ::flock(file, LOCK_EX | LOCK_NB) == 0;
    ::close(file);
    return isFree;
}

} // namespace

FolderLink::FolderLink(std::filesystem::path i_folder, std::chrono::seconds i_confirmed_after)
    : _folder(std::move(i_folder))
    , _confirmedAfter(i_confirmed_after)
{}

std::filesystem::path FolderLink::_GetHidden(const PrintOrder& i_order) const
{
    return _folder / ('.' + i_order.GetKey() + ".ready");
}

std::filesystem::path FolderLink::_GetShown(const PrintOrder& i_order) const
{
    return _folder / i_order.GetFileName();
}

void FolderLink::Send(const PrintOrder& i_order, const std::function<void(std::uint64_t)>& i_progress,
                      const std::stop_token& i_stop)
{
    // Of an attempt before, whose end nobody knows.
    if (IsThere(_GetShown(i_order)))
        return;
    _unstarted = i_order.GetKey();
    auto source = OpenSource(i_order);
    try {
        TavSDK::AtomicFile target(_GetHidden(i_order));
        ShareLike(_folder, target.GetDescriptor());
        // Ends with the program. Where there are no locks, Sweep has none either, and removes nothing.
        ::flock(target.GetDescriptor(), LOCK_EX | LOCK_NB);
        std::vector<char> piece(PieceBytes);
        std::uint64_t sent = 0;
        while (const auto count = ReadPiece(i_order, source, piece)) {
            if (i_stop.stop_requested())
                throw std::runtime_error("Sending to " + DescribeFolder(_folder) + " was stopped.");
            target.Write({piece.data(), count});
            sent += count;
            i_progress(sent);
        }
        target.Commit();
    } catch (const TavSDK::FileError& failure) {
        throw PrinterRefusal("The machine file cannot be written to " + DescribeFolder(_folder) + ": " +
                             failure.what() + '.');
    }
}

bool FolderLink::Start(const PrintOrder& i_order, const std::stop_token& /*i_stop*/)
{
    std::error_code failure;
    std::filesystem::rename(_GetHidden(i_order), _GetShown(i_order), failure);
    if (failure && !IsThere(_GetShown(i_order))) {
        if (failure == std::errc::no_such_file_or_directory)
            throw PrinterRefusal("The machine file is gone from " + DescribeFolder(_folder) + '.');
        const auto sentence =
            "The machine file cannot be named in " + DescribeFolder(_folder) + ": " + failure.message() + '.';
        // A folder of another computer may have done it before it failed, and the printer may have taken the file.
        if (!IsThere(_GetHidden(i_order)))
            throw std::runtime_error(sentence);
        throw PrinterRefusal(sentence);
    }
    _unstarted.clear();
    return false;
}

PrintStatus FolderLink::GetStatus(const PrintOrder& i_order, const std::stop_token& /*i_stop*/)
{
    struct stat entry = {};
    if (lstat(_GetShown(i_order).c_str(), &entry) != 0) {
        // The folder itself may be away, as a network's is.
        if (errno != ENOENT || !IsThere(_folder))
            return {PrintStatus::State::Unknown, 0, "The printer's folder is not there."};
        return IsThere(_GetHidden(i_order)) || _unstarted == i_order.GetKey()
                   ? PrintStatus{PrintStatus::State::NotBegun, 0, {}}
                   : PrintStatus{PrintStatus::State::Printed, 100, "The file was taken."};
    }
    if (std::time(nullptr) - entry.st_ctim.tv_sec >= _confirmedAfter.count())
        return {PrintStatus::State::Printed, 100, "Nobody took the file in the time that was agreed."};
    return {PrintStatus::State::NotBegun, 0, {}};
}

void FolderLink::Cancel(const PrintOrder& i_order, const std::stop_token& /*i_stop*/)
{
    bool wasThere = false;
    std::error_code failure;
    for (const auto& file : {_GetHidden(i_order), _GetShown(i_order)}) {
        std::error_code own;
        wasThere = std::filesystem::remove(file, own) || wasThere;
        if (own)
            failure = own;
    }
    if (failure)
        throw std::runtime_error("The machine file cannot be removed from " + DescribeFolder(_folder) + ": " +
                                 failure.message() + '.');
    if (!IsThere(_folder))
        throw std::runtime_error("The machine file cannot be removed, because " + DescribeFolder(_folder) +
                                 " is not there.");
    if (!wasThere && _unstarted != i_order.GetKey())
        throw std::runtime_error("The file was taken already, or never lay in " + DescribeFolder(_folder) + '.');
}

void FolderLink::Sweep()
{
    std::error_code failure;
    std::filesystem::directory_iterator entry(_folder, failure);
    for (; !failure && entry != std::filesystem::directory_iterator(); entry.increment(failure)) {
        std::error_code ignored;
        // As TavSDK::AtomicFile calls it.
        if (entry->path().filename().native().starts_with(".unfinished-") && IsLeftBehind(entry->path()))
            std::filesystem::remove(entry->path(), ignored);
    }
    if (failure && failure != std::errc::no_such_file_or_directory)
        throw std::runtime_error("What was left unfinished in " + DescribeFolder(_folder) +
                                 " cannot be looked for: " + failure.message() + '.');
}

} // namespace MachineService::MachineManager
