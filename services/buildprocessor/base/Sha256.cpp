#include "buildprocessor/base/Sha256.h"

#include <openssl/evp.h>

#include <array>
#include <cstdint>
#include <new>
#include <stdexcept>

namespace MachineService::BuildProcessor {

struct Sha256::Impl
{
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context{EVP_MD_CTX_new(), &EVP_MD_CTX_free};
};

Sha256::Sha256()
    : _impl(std::make_unique<Impl>())
{
    if (!_impl->context)
        throw std::bad_alloc();
    if (EVP_DigestInit_ex(_impl->context.get(), EVP_sha256(), nullptr) != 1)
        throw std::runtime_error("SHA-256 is not available.");
}

Sha256::~Sha256() = default;

void Sha256::Add(std::string_view i_bytes)
{
    EVP_DigestUpdate(_impl->context.get(), i_bytes.data(), i_bytes.size());
}

void Sha256::AddText(std::string_view i_text)
{
    AddValue(static_cast<std::uint64_t>(i_text.size()));
    Add(i_text);
}

std::string Sha256::Finish()
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    EVP_DigestFinal_ex(_impl->context.get(), digest.data(), &size);
    std::string text;
    for (unsigned int index = 0; index < size; ++index) {
        constexpr char digits[] = "0123456789abcdef";
        text += digits[digest[index] >> 4U];
        text += digits[digest[index] & 15U];
    }
    return text;
}

} // namespace MachineService::BuildProcessor
