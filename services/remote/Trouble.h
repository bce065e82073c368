#pragma once

#include "client/interface/CommunicationException.h"
#include "remote/ServiceAddress.h"

#include <string>

namespace MachineService::Remote {

/// What goes wrong between a host and a service; a row with the user's sentence each.
enum class Trouble
{
    NameNotFound,
    Refused,
    NoAnswer,
    Lost,
    CertificateUnknown,
    CertificateExpired,
    CertificateOfAnotherHost,
    CertificateChanged, ///< it is not the one that was pinned
    CredentialsNeeded,
    CredentialsRefused,
    ServiceTooOld,
    HostTooOld,
    NoMachineService, ///< something else answers
    TooLarge,
    Damaged,
    Busy,
    RunUnknown, ///< the service was started anew during a run
    RunLost,    ///< the connection did not come back in time
    GoingDown,  ///< the host itself
};

/// The sentence: what is wrong, and what to do about it.
std::string DescribeTrouble(Trouble i_trouble, const ServiceAddress& i_address);

/// A failure of the connection or of the service behind it.
class TroubleException final : public CommunicationException
{
public:
    /// \param i_more sentences that come behind, each after a space.
    TroubleException(Trouble i_trouble, const ServiceAddress& i_address, const std::string& i_more = {},
                     std::string i_fingerprint = {});

    const Trouble trouble;
    const std::string fingerprint; ///< of a certificate that is not known, see trust/Fingerprint.h; or empty
};

/// Whether the same call may succeed on the next connection.
bool MayPass(Trouble i_trouble);

} // namespace MachineService::Remote
