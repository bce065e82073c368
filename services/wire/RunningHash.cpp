#include "wire/RunningHash.h"

#include <openssl/evp.h>

#include <array>
#include <stdexcept>

namespace MachineService::Wire {

struct RunningHash::Impl
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

RunningHash::RunningHash()
    : _impl(std::make_unique<Impl>())
{}

RunningHash::~RunningHash() = default;

RunningHash::RunningHash(const RunningHash& i_other)
    : _impl(std::make_unique<Impl>(*i_other._impl))
{}

RunningHash& RunningHash::operator=(const RunningHash& i_other)
{
    if (this != &i_other)
        _impl = std::make_unique<Impl>(*i_other._impl);
    return *this;
}

void RunningHash::Add(std::string_view i_bytes)
{
    EVP_DigestUpdate(_impl->context.get(), i_bytes.data(), i_bytes.size());
}

std::string RunningHash::Get() const
{
    // Ending a hash spoils it for more: a copy ends.
    const Impl copy(*_impl);
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    EVP_DigestFinal_ex(copy.context.get(), digest.data(), &size);
    return {reinterpret_cast<const char*>(digest.data()), size};
}

std::string HashOf(std::string_view i_bytes)
{
    RunningHash hash;
    hash.Add(i_bytes);
    return hash.Get();
}

} // namespace MachineService::Wire
