#include "machinemanager/printers/FolderLink.h"

#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"

#include <sys/stat.h>

#include <algorithm>
#include <ctime>
#include <utility>
#include <vector>

namespace MachineService::MachineManager {

namespace {

constexpr std::size_t PieceBytes = 1 << 20;
constexpr std::size_t MaxName = 120;

std::string DescribeFolder(const std::filesystem::path& i_folder)
{
    return "the printer's folder " + TavSDK::Quote(TavSDK::ShowPath(i_folder));
}

bool IsThere(const std::filesystem::path& i_file)
{
    std::error_code failure;
    const bool isThere = std::filesystem::exists(std::filesystem::symlink_status(i_file, failure));
    if (failure && failure != std::errc::no_such_file_or_directory)
        throw std::runtime_error("The printer's folder cannot be looked into: " + failure.message() + '.');
    return isThere;
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
    const std::filesystem::path name = TavSDK::PathFromUtf8(i_order.fileName);
    return _folder / (std::string(TavSDK::CutUtf8(name.stem().native(), MaxName)) + " - " + i_order.GetKey() +
                      name.extension().native());
}

void FolderLink::Send(const PrintOrder& i_order, const std::function<void(std::uint64_t)>& i_progress,
                      const std::stop_token& i_stop)
{
    // Of an attempt before, whose end nobody knows.
    if (IsThere(_GetShown(i_order)))
        return;
    try {
        TavSDK::InputFile source(i_order.file);
        TavSDK::AtomicFile target(_GetHidden(i_order));
        std::vector<char> piece(PieceBytes);
        std::uint64_t sent = 0;
        while (const auto count = source.Read(piece.data(), piece.size())) {
            if (i_stop.stop_requested())
                throw std::runtime_error("Sending was stopped.");
            target.Write({piece.data(), count});
            sent += count;
            i_progress(sent);
        }
        target.Commit();
    } catch (const TavSDK::FileError& failure) {
        throw std::runtime_error("The machine file cannot be written to " + DescribeFolder(_folder) + ": " +
                                 failure.what() + '.');
    }
}

bool FolderLink::Start(const PrintOrder& i_order, const std::stop_token& /*i_stop*/)
{
    std::error_code failure;
    std::filesystem::rename(_GetHidden(i_order), _GetShown(i_order), failure);
    if (failure == std::errc::no_such_file_or_directory && !IsThere(_GetShown(i_order)))
        throw PrinterRefusal("The machine file is gone from " + DescribeFolder(_folder) + '.');
    if (failure && failure != std::errc::no_such_file_or_directory)
        throw PrinterRefusal("The machine file cannot be named in " + DescribeFolder(_folder) + ": " +
                             failure.message() + '.');
    return false;
}

PrintStatus FolderLink::GetStatus(const PrintOrder& i_order, const std::stop_token& /*i_stop*/)
{
    struct stat entry = {};
    if (lstat(_GetShown(i_order).c_str(), &entry) != 0) {
        // The folder itself may be away, as a network's is.
        if (!IsThere(_folder))
            return {PrintStatus::State::Unknown, 0, "The folder is not there"};
        return IsThere(_GetHidden(i_order)) ? PrintStatus{PrintStatus::State::NotBegun, 0, {}}
                                            : PrintStatus{PrintStatus::State::Printed, 100, "The file was taken."};
    }
    if (std::time(nullptr) - entry.st_ctim.tv_sec >= _confirmedAfter.count())
        return {PrintStatus::State::Printed, 100, "Nobody took the file in the time that was agreed."};
    return {PrintStatus::State::NotBegun, 0, {}};
}

void FolderLink::Cancel(const PrintOrder& i_order, const std::stop_token& /*i_stop*/)
{
    std::error_code failure;
    const bool wasHidden = std::filesystem::remove(_GetHidden(i_order), failure);
    const bool wasShown = std::filesystem::remove(_GetShown(i_order), failure);
    if (failure)
        throw std::runtime_error("The machine file cannot be removed from " + DescribeFolder(_folder) + ": " +
                                 failure.message() + '.');
    if (!wasHidden && !wasShown && IsThere(_folder))
        throw std::runtime_error("The file was taken already.");
}

} // namespace MachineService::MachineManager
