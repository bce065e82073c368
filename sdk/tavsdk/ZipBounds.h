#pragma once

#include <cstdint>

namespace TavSDK {

/// What a zip package may ask of its reader; one that asks for more is refused.
struct ZipBounds
{
    std::uint64_t entries = 10'000;
    std::uint64_t unpackedSize = std::uint64_t{4} << 30U; ///< bytes that come out, of all entries together
    std::uint64_t ratio = 100;                            ///< bytes that come out for one that went in
    std::uint64_t freeUnpackedSize = 100'000;             ///< ratios count only past this many bytes
};

} // namespace TavSDK
