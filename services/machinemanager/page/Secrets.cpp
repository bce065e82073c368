#include "machinemanager/page/Secrets.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <array>
#include <stdexcept>

namespace MachineService::MachineManager {

namespace {

using Bits = std::array<unsigned char, 32>;

std::string ToHex(const Bits& i_bits)
{
    constexpr std::string_view Digits = "0123456789abcdef";
    std::string text;
    for (const auto byte : i_bits) {
        text += Digits[byte >> 4];
        text += Digits[byte & 15];
    }
    return text;
}

} // namespace

std::string MakeSecret()
{
    Bits bits = {};
    if (::RAND_bytes(bits.data(), static_cast<int>(bits.size())) != 1)
        throw std::runtime_error("The system gives no random numbers, so nobody can be let in.");
    constexpr std::string_view Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    std::string secret;
    unsigned pending = 0;
    int count = 0;
    for (const auto byte : bits) {
        pending = (pending << 8) | byte;
        for (count += 8; count >= 6; count -= 6)
            secret += Alphabet[(pending >> (count - 6)) & 63];
    }
    secret += Alphabet[(pending << (6 - count)) & 63];
    return secret;
}

std::string HashSecret(std::string_view i_secret)
{
    Bits bits = {};
    unsigned size = 0;
    if (::EVP_Digest(i_secret.data(), i_secret.size(), bits.data(), &size, ::EVP_sha256(), nullptr) != 1)
        throw std::runtime_error("The system's library for secrets has failed.");
    return ToHex(bits);
}

std::string DeriveSecret(std::string_view i_secret, std::string_view i_purpose)
{
    Bits bits = {};
    unsigned size = 0;
    if (!::HMAC(::EVP_sha256(), i_secret.data(), static_cast<int>(i_secret.size()),
                reinterpret_cast<const unsigned char*>(i_purpose.data()), i_purpose.size(), bits.data(), &size))
        throw std::runtime_error("The system's library for secrets has failed.");
    return ToHex(bits);
}

bool AreSameSecrets(std::string_view i_one, std::string_view i_other)
{
    return i_one.size() == i_other.size() && ::CRYPTO_memcmp(i_one.data(), i_other.data(), i_one.size()) == 0;
}

} // namespace MachineService::MachineManager
