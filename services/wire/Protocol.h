#pragma once

#include <cstddef>
#include <cstdint>

/// The service contract as messages (machineservice/v1/*.proto), for both sides of a connection.
namespace machineservice::v1 {}

namespace MachineService::Wire {

/// The messages.
namespace pb = machineservice::v1;

inline constexpr std::uint32_t ProtocolRevision = 2;
/// Older services, and older hosts, are refused with a sentence that says which side is to be renewed.
inline constexpr std::uint32_t OldestServiceRevision = 1;
inline constexpr std::uint32_t OldestHostRevision = 1;
/// From here on a file may be announced without its hash.
inline constexpr std::uint32_t LateHashRevision = 2;

inline constexpr const char* FailureMetadata = "machineservice-failure-bin";
inline constexpr const char* TokenMetadata = "machineservice-token";

inline constexpr std::size_t ChunkBytes = 256 * 1024;         ///< of the pieces that we send
inline constexpr std::size_t MaxChunkBytes = 1024 * 1024;     ///< of those that we take
inline constexpr int MaxMessageBytes = 4 * 1024 * 1024;       ///< gRPC's own default, on both sides
inline constexpr std::size_t MaxTextBytes = 64 * 1024;        ///< of one text
inline constexpr std::size_t MaxIconBytes = 1024 * 1024;      ///< of one icon
inline constexpr std::size_t MaxParametersBytes = 1 << 20;    ///< of platform creation parameters
inline constexpr std::uint64_t MaxPlatformBytes = 1ULL << 30; ///< of everything in one answer about a platform
inline constexpr std::size_t MaxResultFiles = 1000;
inline constexpr std::size_t MaxParts = 10'000; ///< of one run

} // namespace MachineService::Wire
