#pragma once

#include "machineservice_export.h"
#include "platform/IPlatformParameter.h"
#include "platform/IPlatformParameterChoiceItem.h"

#include <cstddef>

namespace MachineService {

/// A parameter whose value is one of its items. Whether it is required, and which items are defaults, is what the
/// machine says: there may be no item, no default and several.
class MACHINESERVICE_EXPORT IPlatformParameterChoice : public IPlatformParameter
{
public:
    // Public and movable, unlike its base and its items: hosts that were built against it rely on that.
    IPlatformParameterChoice();
    IPlatformParameterChoice(const IPlatformParameterChoice& i_other);
    IPlatformParameterChoice(IPlatformParameterChoice&& io_other) noexcept;
    IPlatformParameterChoice& operator=(const IPlatformParameterChoice& i_other);
    IPlatformParameterChoice& operator=(IPlatformParameterChoice&& io_other) noexcept;
    ~IPlatformParameterChoice() override;

    virtual std::size_t GetItemCount() const = 0;
    /// Owned by the choice.
    /// \throws std::out_of_range.
    virtual IPlatformParameterChoiceItem* GetItem(std::size_t i_index) const = 0;
};

} // namespace MachineService
