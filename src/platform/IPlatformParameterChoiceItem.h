#pragma once

#include "machineservice_export.h"

#include <string>

namespace MachineService {

/// One item of a choice. Interface objects carry no data: copying and assigning one copies nothing.
class MACHINESERVICE_EXPORT IPlatformParameterChoiceItem
{
public:
    IPlatformParameterChoiceItem(const IPlatformParameterChoiceItem& i_other);
    IPlatformParameterChoiceItem& operator=(const IPlatformParameterChoiceItem& i_other);
    virtual ~IPlatformParameterChoiceItem() = 0;

    /// The value to record for the choice.
    virtual const std::wstring& GetId() const = 0;
    /// For the user.
    virtual const std::wstring& GetName() const = 0;
    virtual bool IsDefault() const = 0;

protected:
    IPlatformParameterChoiceItem();
};

} // namespace MachineService
