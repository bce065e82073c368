#pragma once

#include "wire/Chunks.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace MachineService::Wire {

/// A file that comes in pieces; it has a temporary name, and is its owner's alone, until all of it is there and matches
/// what was announced. It goes with the object unless it was accepted.
///
/// Thread: one at a time.
class ReceivedFile
{
public:
    /// \param i_target its name must be a plain one, see IsPlainFileName.
    /// \param i_hash empty: that of the last piece counts.
    /// \throws CommunicationException FileError that names the file.
    ReceivedFile(std::filesystem::path i_target, std::uint64_t i_size, std::string i_hash);
    ~ReceivedFile();
    ReceivedFile(const ReceivedFile&) = delete;
    ReceivedFile& operator=(const ReceivedFile&) = delete;

    /// \throws CommunicationException FileError when it cannot be written, such as on a full disk.
    ChunkReader::Piece Take(const ReceivedPiece& i_piece);
    std::uint64_t GetReceived() const { return _reader.GetReceived(); }
    bool IsComplete() const { return _reader.GetReceived() == _size; }
    /// Gives it its name.
    /// \return false, and begins anew, when it is not what was announced.
    bool Accept();

private:
    void _Write(std::string_view i_bytes);

    const std::filesystem::path _target;
    const std::filesystem::path _temporary;
    const std::uint64_t _size;
    const std::string _hash;
    ChunkReader _reader;
    int _file = -1;
};

} // namespace MachineService::Wire
