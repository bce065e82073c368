#pragma once

#include "machineservice_export.h"

#include <string>

namespace MachineService {

/// One thing that the user may choose before a platform is made. The only kind there is, is the choice.
///
/// Ownership: of the platform information that it was read with.
/// Interface objects carry no data: copying and assigning one copies nothing.
class MACHINESERVICE_EXPORT IPlatformParameter
{
public:
    IPlatformParameter(const IPlatformParameter& i_other);
    IPlatformParameter& operator=(const IPlatformParameter& i_other);
    virtual ~IPlatformParameter() = 0;

    /// Under which a value is recorded.
    virtual const std::wstring& GetId() const = 0;
    /// 1: a choice.
    virtual int GetType() const = 0;
    /// For the user.
    virtual const std::wstring& GetName() const = 0;
    virtual bool IsRequired() const = 0;

protected:
    IPlatformParameter();
};

} // namespace MachineService
