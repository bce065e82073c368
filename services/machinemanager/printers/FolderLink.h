#pragma once

#include "machinemanager/printers/IPrinterLink.h"

#include <chrono>

namespace MachineService::MachineManager {

/// A folder that the printer's side watches: it takes away what it prints.
///
/// A file lies there under a hidden name until it is whole and to be printed; then it gets its name, which says the
/// job. Nobody tells more than that it was taken: that is what counts as printed, or that it lay there long enough.
/// Who may read the folder may read the file.
class FolderLink final : public IPrinterLink
{
public:
    /// \param i_confirmed_after a file that nobody took counts as printed after this time.
    FolderLink(std::filesystem::path i_folder, std::chrono::seconds i_confirmed_after);

    void Send(const PrintOrder& i_order, const std::function<void(std::uint64_t)>& i_progress,
              const std::stop_token& i_stop) override;
    bool Start(const PrintOrder& i_order, const std::stop_token& i_stop) override;
    PrintStatus GetStatus(const PrintOrder& i_order, const std::stop_token& i_stop) override;
    void Cancel(const PrintOrder& i_order, const std::stop_token& i_stop) override;
    void Sweep() override;

private:
    std::filesystem::path _GetHidden(const PrintOrder& i_order) const;
    std::filesystem::path _GetShown(const PrintOrder& i_order) const;

    const std::filesystem::path _folder;
    const std::chrono::seconds _confirmedAfter;
    std::string _unstarted; ///< key of an order that this object has brought, or begun to, and not started
};

} // namespace MachineService::MachineManager
