#include "hashing/Sha256.h"

#include <openssl/evp.h>

#include <array>
#include <cstdint>
#include <stdexcept>

namespace MachineService {

struct Sha256::Impl
{
    Impl()
        : context(EVP_MD_CTX_new(), &EVP_MD_CTX_free)
    {
        if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1)
            throw std::runtime_error("SHA-256 is not available.");
    }
    Impl(const Impl& i_other)
        : context(EVP_MD_CTX_new(), &EVP_MD_CTX_free)
    {
        if (!context || EVP_MD_CTX_copy_ex(context.get(), i_other.context.get()) != 1)
            throw std::runtime_error("SHA-256 is not available.");
    }

    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context;
};

Sha256::Sha256()
    : _impl(std::make_unique<Impl>())
{}

Sha256::~Sha256() = default;

Sha256::Sha256(const Sha256& i_other)
    : _impl(std::make_unique<Impl>(*i_other._impl))
{}

Sha256& Sha256::operator=(const Sha256& i_other)
{
    if (this != &i_other)
        _impl = std::make_unique<Impl>(*i_other._impl);
    return *this;
}

void Sha256::Add(std::string_view i_bytes)
{
    EVP_DigestUpdate(_impl->context.get(), i_bytes.data(), i_bytes.size());
}

void Sha256::AddText(std::string_view i_text)
{
    AddValue(static_cast<std::uint64_t>(i_text.size()));
    Add(i_text);
}

std::string Sha256::GetBytes() const
{
    // Ending a hash spoils it for more: a copy ends.
    const Impl copy(*_impl);
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    EVP_DigestFinal_ex(copy.context.get(), digest.data(), &size);
    return {reinterpret_cast<const char*>(digest.data()), size};
}

std::string Sha256::GetHex() const
{
    constexpr char digits[] = "0123456789abcdef";
    std::string hex;
    for (const char byte : GetBytes()) {
        const auto value = static_cast<unsigned char>(byte);
        hex += digits[value >> 4];
        hex += digits[value & 15];
    }
    return hex;
}

std::string HashOf(std::string_view i_bytes)
{
    Sha256 hash;
    hash.Add(i_bytes);
    return hash.GetBytes();
}

} // namespace MachineService
