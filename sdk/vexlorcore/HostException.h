#pragma once

#include "vexlorcore_export.h"

#include <string>
#include <utility>

namespace VexlorCore {

/// Failure inside the host, with a text for the user in the host's language.
///
/// Deliberately not a std::exception: older parts of the host throw it by pointer as well as by value. Whoever catches
/// the pointer owns the exception.
class VEXLORCORE_EXPORT HostException
{
public:
    explicit HostException(std::wstring i_message)
        : _message(std::move(i_message))
    {}
    virtual ~HostException() = default;

    const std::wstring& GetErrorMessage() const { return _message; }

private:
    std::wstring _message;
};

} // namespace VexlorCore
