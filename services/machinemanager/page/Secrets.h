#pragma once

#include <string>
#include <string_view>

namespace MachineService::MachineManager {

/// 256 random bits as 43 characters that a URL and a cookie carry as they are.
/// \throws std::runtime_error with a sentence when the system gives no random bits.
std::string MakeSecret();

/// SHA-256 as 64 hexadecimal digits; what is kept of a secret.
std::string HashSecret(std::string_view i_secret);

/// A second secret, made of a first that it does not tell.
std::string DeriveSecret(std::string_view i_secret, std::string_view i_purpose);

/// Takes as long wherever they differ.
bool AreSameSecrets(std::string_view i_one, std::string_view i_other);

} // namespace MachineService::MachineManager
