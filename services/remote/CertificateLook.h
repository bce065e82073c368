#pragma once

#include "remote/ServiceAddress.h"
#include "remote/Trouble.h"

#include <chrono>
#include <stop_token>
#include <string>

namespace MachineService::Remote {

/// What is wrong with the certificate at an address, of which the transport tells only that it does not trust it.
/// \param i_authority PEM certificates that are trusted; empty: the system's.
/// \return CertificateUnknown also when the look did not succeed, or was stopped.
Trouble LookAtCertificate(const ServiceAddress& i_address, const std::string& i_authority,
                          std::chrono::milliseconds i_longest, const std::stop_token& i_stop);

} // namespace MachineService::Remote
