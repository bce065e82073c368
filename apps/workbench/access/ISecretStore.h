#pragma once

#include "client/interface/ServiceTypes.h"

#include <QString>

#include <functional>
#include <optional>

namespace Workbench {

/// Keeps credentials by the address of their service. Every answer comes later, on the event loop; none comes after the
/// store has gone.
///
/// Thread: UI thread.
class ISecretStore
{
public:
    virtual ~ISecretStore() = default;

    /// \param i_take nothing where none are kept, and where they cannot be had.
    virtual void Read(const QString& i_address,
                      std::function<void(std::optional<MachineService::AuthenticationData>)> i_take) = 0;
    /// \param i_note empty when they are kept; otherwise why not, a sentence for the user.
    virtual void Write(const QString& i_address, const MachineService::AuthenticationData& i_data,
                       std::function<void(const QString&)> i_note) = 0;
    /// Tells nobody how it went: what was not kept is no loss.
    virtual void Remove(const QString& i_address) = 0;
};

} // namespace Workbench
