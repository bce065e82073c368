#pragma once

#include <boost/uuid/uuid.hpp>

#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <stop_token>
#include <string>

namespace MachineService::MachineManager {

/// What a printer is given: one copy of a job.
struct PrintOrder
{
    boost::uuids::uuid job = {};
    int copy = 1;
    std::string jobName; ///< UTF-8, a user's text
    std::filesystem::path file;
    std::string fileName;  ///< for people, with the ending of its kind
    std::string hash;      ///< SHA-256 of the file, lower-case hexadecimal
    bool hasBegun = false; ///< the printer said so before; a link that is new after a restart knows it by this

    /// The same for every attempt and different for every copy: how the printer's side calls it.
    std::string GetKey() const;
    /// How the file is called at the printer: for people, of this order only, and good for every folder, also on disks
    /// of another system. Of one part of a path, and not hidden.
    std::string GetFileName() const;
};

/// How far the printer's side is with an order.
struct PrintStatus
{
    enum class State
    {
        Unknown, ///< it cannot be asked now, or does not know
        NotBegun,
        Printing,
        Stopped, ///< paused, or in need of somebody
        Printed,
        Failed, ///< begun, and will not be finished
    };

    State state = State::Unknown;
    int percent = 0;
    std::string detail; ///< one sentence; may be empty
};

/// The printer does not do it, and surely has not begun with it.
class PrinterRefusal : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// What takes a finished machine file: a printer, or what stands before one.
///
/// Order: Send, once more after a failure; Start at most once; then GetStatus until it is over, or Cancel.
/// Thread: one at a time.
/// Errors: PrinterRefusal when nothing was begun for sure; any other exception when that is not known. Both with one
/// sentence. Every call comes back within a minute, and soon after its token asks; Send takes as long as the file
/// needs, but ends when nothing goes on.
class IPrinterLink
{
public:
    virtual ~IPrinterLink() = default;

    /// Brings the file to the printer, where it is seen whole or not at all, and is not begun.
    /// \param i_progress told the bytes that are there.
    virtual void Send(const PrintOrder& i_order, const std::function<void(std::uint64_t)>& i_progress,
                      const std::stop_token& i_stop) = 0;
    /// Tells the printer to begin.
    /// \return whether it said that it has; otherwise GetStatus may tell later.
    virtual bool Start(const PrintOrder& i_order, const std::stop_token& i_stop) = 0;
    virtual PrintStatus GetStatus(const PrintOrder& i_order, const std::stop_token& i_stop) = 0;
    /// Removes what programs left that were killed while they sent, and nothing that somebody still writes.
    virtual void Sweep() {}
    /// Nothing of the order is printed any more; harmless when there is nothing of it.
    virtual void Cancel(const PrintOrder& i_order, const std::stop_token& i_stop) = 0;
};

/// \param i_json what an operator said of the printer; see docs/printers.md.
/// \throws ManagerError BadInput with a sentence that names the field.
std::unique_ptr<IPrinterLink> MakePrinterLink(const std::string& i_json);

} // namespace MachineService::MachineManager
