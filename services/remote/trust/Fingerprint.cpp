#include "remote/trust/Fingerprint.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <array>
#include <cctype>
#include <memory>

namespace MachineService::Remote {

namespace {

constexpr std::string_view Digits = "0123456789ABCDEF";
constexpr std::size_t Length = 64;

} // namespace

std::string GetFingerprint(const X509& i_certificate)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    std::string text;
    if (X509_digest(&i_certificate, EVP_sha256(), digest.data(), &size) != 1)
        return text;
    for (unsigned int index = 0; index < size; ++index) {
        text += Digits[digest[index] >> 4];
        text += Digits[digest[index] & 15];
    }
    return text;
}

std::string GetFingerprintOfPem(std::string_view i_pem)
{
    const std::unique_ptr<BIO, decltype(&BIO_free)> bytes(BIO_new_mem_buf(i_pem.data(), static_cast<int>(i_pem.size())),
                                                          &BIO_free);
    const std::unique_ptr<X509, decltype(&X509_free)> certificate(
        PEM_read_bio_X509(bytes.get(), nullptr, nullptr, nullptr), &X509_free);
    return certificate ? GetFingerprint(*certificate) : std::string();
}

std::optional<std::string> ReadFingerprint(std::string_view i_text)
{
    std::string digits;
    for (std::size_t place = 0; place < i_text.size(); ++place) {
        const auto upper = static_cast<char>(std::toupper(static_cast<unsigned char>(i_text[place])));
        if (upper == ':' && place % 3 == 2)
            continue;
        if (Digits.find(upper) == std::string_view::npos)
            return std::nullopt;
        digits += upper;
    }
    const bool isWhole = digits.size() == Length && (i_text.size() == Length || i_text.size() == Length / 2 * 3 - 1);
    return isWhole ? std::optional(digits) : std::nullopt;
}

std::string ShowFingerprint(const std::string& i_fingerprint)
{
    std::string shown;
    for (std::size_t place = 0; place < i_fingerprint.size(); place += 2)
        shown += (place > 0 ? ":" : "") + i_fingerprint.substr(place, 2);
    return shown;
}

} // namespace MachineService::Remote
