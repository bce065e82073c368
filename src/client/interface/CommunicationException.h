#pragma once

#include "client/interface/ErrorCode.h"
#include "machineservice_export.h"

#include <exception>
#include <stdexcept>

namespace MachineService {

/// Failure of a machine service or of a file on its way to or from one.
///
/// The code tells the caller what to do next and selects the user's sentence; the text is for codes without a sentence.
class MACHINESERVICE_EXPORT CommunicationException : public std::exception
{
public:
    explicit CommunicationException(ErrorCode i_code);
    /// \param ip_message UTF-8; null counts as empty.
    CommunicationException(ErrorCode i_code, const char* ip_message);
    CommunicationException(const CommunicationException& i_other) noexcept;
    CommunicationException& operator=(const CommunicationException& i_other) noexcept;
    ~CommunicationException() override;

    ErrorCode code() const noexcept;
    /// UTF-8; empty when the exception was made from a code alone.
    const char* what() const noexcept override;

private:
    ErrorCode _code;
    // runtime_error shares its text between copies, so that copying this exception cannot throw.
    std::runtime_error _message;
};

} // namespace MachineService
