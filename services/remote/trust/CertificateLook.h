#pragma once

#include "remote/ServiceAddress.h"
#include "remote/Trouble.h"

#include <chrono>
#include <stop_token>
#include <string>

namespace MachineService::Remote {

/// A certificate as its service shows it.
struct CertificateLook
{
    Trouble trouble = Trouble::CertificateUnknown; ///< what is wrong with it
    std::string fingerprint; ///< see trust/Fingerprint.h; empty when the look did not succeed, or was stopped
};

/// What is wrong with the certificate at an address, of which the transport tells only that it does not trust it.
/// \param i_authority PEM certificates that are trusted; empty: the system's.
CertificateLook LookAtCertificate(const ServiceAddress& i_address, const std::string& i_authority,
                                  std::chrono::milliseconds i_longest, const std::stop_token& i_stop);

} // namespace MachineService::Remote
