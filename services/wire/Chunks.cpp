#include "wire/Chunks.h"

#include "tavsdk/FileError.h"

#include <algorithm>
#include <vector>

namespace MachineService::Wire {

ChunkReader::Piece ChunkReader::Take(const ReceivedPiece& i_piece, const std::function<void(std::string_view)>& i_take)
{
    const auto content = i_piece.content;
    if (content.size() > MaxChunkBytes || content.size() > _largest - _received)
        return Piece::TooLong;
    if (i_piece.offset != _received)
        return Piece::OutOfOrder;
    Sha256 hash = _hash;
    hash.Add(content);
    if (hash.GetBytes() != i_piece.hashSoFar)
        return Piece::Damaged;
    i_take(content);
    _hash = std::move(hash);
    _received += content.size();
    return Piece::Taken;
}

FileChunks::FileChunks(TavSDK::InputFile& io_file, std::uint64_t i_offset)
    : _file(io_file)
{
    // The hash counts from the beginning, wherever the transfer goes on.
    std::vector<char> piece(ChunkBytes);
    while (_offset < i_offset) {
        const auto count = _file.Read(piece.data(), std::min<std::uint64_t>(piece.size(), i_offset - _offset));
        if (count == 0)
            throw TavSDK::FileError("it became shorter while it was sent");
        _hash.Add({piece.data(), count});
        _offset += count;
    }
}

bool FileChunks::Next(pb::Chunk& o_chunk)
{
    auto& content = *o_chunk.mutable_content();
    content.resize(ChunkBytes);
    content.resize(_file.Read(content.data(), content.size()));
    _hash.Add(content);
    o_chunk.set_offset_bytes(_offset);
    o_chunk.set_sha256_so_far(_hash.GetBytes());
    _offset += content.size();
    return !content.empty();
}

bool ByteChunks::Send(std::string_view i_bytes, const std::function<bool(const pb::Chunk&)>& i_send)
{
    pb::Chunk chunk;
    for (; !i_bytes.empty(); i_bytes.remove_prefix(chunk.content().size())) {
        const auto piece = i_bytes.substr(0, ChunkBytes);
        _hash.Add(piece);
        chunk.set_offset_bytes(_offset);
        chunk.set_content(piece.data(), piece.size());
        chunk.set_sha256_so_far(_hash.GetBytes());
        if (!i_send(chunk))
            return false;
        _offset += piece.size();
    }
    return true;
}

std::string HashOfFile(TavSDK::InputFile& io_file, const std::function<void()>& i_check)
{
    Sha256 hash;
    std::vector<char> piece(ChunkBytes);
    while (const auto count = io_file.Read(piece.data(), piece.size())) {
        if (i_check)
            i_check();
        hash.Add({piece.data(), count});
    }
    return hash.GetBytes();
}

} // namespace MachineService::Wire
