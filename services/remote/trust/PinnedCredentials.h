#pragma once

#include <grpcpp/security/credentials.h>

#include <memory>
#include <string>

namespace MachineService::Remote {

/// Part of what the transport says of a connection to somebody else than who was pinned.
inline constexpr const char* NotPinnedText = "not the pinned certificate";

/// Connects to whoever has the key of one certificate, and to nobody else: neither authority, name nor dates of it
/// count.
/// \param i_pin its fingerprint, see trust/Fingerprint.h.
std::shared_ptr<grpc::ChannelCredentials> MakePinnedCredentials(const std::string& i_pin);

} // namespace MachineService::Remote
