#pragma once

#include <stdexcept>
#include <string>

namespace MachineService::MachineManager {

/// What cannot be done, as one sentence for people.
class ManagerError : public std::runtime_error
{
public:
    /// By what the caller should do next.
    enum class Kind
    {
        NotFound,  ///< ask for something else
        Conflict,  ///< look at the state first: it does not allow this now
        BadInput,  ///< ask differently
        Forbidden, ///< ask somebody who may
        LostClaim, ///< stop: somebody else works on it
        Storage,   ///< later: the store cannot be read or written
    };

    ManagerError(Kind i_kind, const std::string& i_sentence)
        : std::runtime_error(i_sentence)
        , _kind(i_kind)
    {}

    Kind GetKind() const { return _kind; }

private:
    Kind _kind;
};

} // namespace MachineService::MachineManager
