#pragma once

#include "hashing/Sha256.h"
#include "tavsdk/InputFile.h"
#include "wire/Protocol.h"

#include <machineservice/v1/types.pb.h>

#include <cstdint>
#include <functional>
#include <string_view>

namespace MachineService::Wire {

/// A piece of a transfer as it came.
struct ReceivedPiece
{
    std::uint64_t offset = 0;
    std::string_view content;
    std::string_view hashSoFar;
};

inline ReceivedPiece ToPiece(const pb::Chunk& i_chunk)
{
    return {i_chunk.offset_bytes(), i_chunk.content(), i_chunk.sha256_so_far()};
}

/// Takes the pieces of a transfer and passes on those that are the next ones and undamaged.
///
/// Thread: one at a time.
class ChunkReader
{
public:
    enum class Piece
    {
        Taken,
        OutOfOrder, ///< not at the end of what is there
        TooLong,    ///< the piece, or all with it
        Damaged,    ///< does not match its hash
    };

    /// \param i_largest bytes of everything.
    explicit ChunkReader(std::uint64_t i_largest)
        : _largest(i_largest)
    {}

    /// \param i_take called with the bytes before they count as received; what it throws leaves them uncounted.
    Piece Take(const ReceivedPiece& i_piece, const std::function<void(std::string_view)>& i_take);
    std::uint64_t GetReceived() const { return _received; }
    /// Of everything that was taken.
    std::string GetHash() const { return _hash.GetBytes(); }

private:
    std::uint64_t _largest;
    std::uint64_t _received = 0;
    Sha256 _hash;
};

/// Cuts a file into pieces.
class FileChunks
{
public:
    /// \throws TavSDK::FileError; also when the file is shorter than i_offset.
    FileChunks(TavSDK::InputFile& io_file, std::uint64_t i_offset);
    /// \return false when there is no more.
    bool Next(pb::Chunk& o_chunk);

private:
    TavSDK::InputFile& _file;
    std::uint64_t _offset = 0;
    Sha256 _hash;
};

/// Cuts bytes into pieces, one after the other as one transfer.
class ByteChunks
{
public:
    /// \param i_send called for each piece; false ends it.
    /// \return false when sending ended.
    bool Send(std::string_view i_bytes, const std::function<bool(const pb::Chunk&)>& i_send);

private:
    std::uint64_t _offset = 0;
    Sha256 _hash;
};

/// SHA-256 of what is left to read of a file.
/// \throws TavSDK::FileError.
std::string HashOfFile(TavSDK::InputFile& io_file, const std::function<void()>& i_check = {});

} // namespace MachineService::Wire
