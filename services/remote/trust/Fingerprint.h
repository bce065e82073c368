#pragma once

#include <optional>
#include <string>
#include <string_view>

using X509 = struct x509_st;

namespace MachineService::Remote {

// A certificate by its SHA-256: 64 hexadecimal digits in upper case.

std::string GetFingerprint(const X509& i_certificate);
/// Of the first certificate of a PEM text; empty when there is none.
std::string GetFingerprintOfPem(std::string_view i_pem);
/// As people write it: also in lower case, and in pairs with colons between. Empty when it is none.
std::optional<std::string> ReadFingerprint(std::string_view i_text);
/// As people compare it: in pairs with colons between.
std::string ShowFingerprint(const std::string& i_fingerprint);

} // namespace MachineService::Remote
