#pragma once

#include "client/interface/PlatformTypes.h"
#include "client/interface/ProgressWatcherFuture.h"
#include "remote/Connection.h"
#include "remote/RunTransfer.h"
#include "remote/canrun/CanRunStore.h"
#include "wire/Chunks.h"

#include <machineservice/v1/machines.pb.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace MachineService::Remote {

// What a service says, as this host takes it: bounded. \throws CommunicationException with a sentence for what cannot
// be. Thread: any.

ServiceTold ToServiceTold(const pb::ServiceInformation& i_information);
CanRunStore::Answers ToAnswers(const pb::CanRunAnswers& i_answers);
RunState ToRunState(const pb::Run& i_run);

/// Takes the replies to a question about a platform in, one after the other.
///
/// Thread: one.
class PlatformReader
{
public:
    /// \param iop_watcher told of the progress; may be null.
    explicit PlatformReader(ProgressWatcher* iop_watcher)
        : _watcher(iop_watcher)
    {}

    void Take(const pb::PlatformReply& i_reply);
    bool IsComplete() const { return _header && _bytes.size() == _size; }
    /// A piece did not match its hash: nothing of it counts.
    bool IsDamaged() const { return _isDamaged; }

    // Once it is complete.
    const pb::PlatformHeader& GetHeader() const { return *_header; }
    std::string GetXml() const { return _bytes.substr(0, _header->xml_bytes()); }
    std::vector<Platform> GetItems() const;

private:
    void _TakeHeader(const pb::PlatformHeader& i_header);
    void _TakeChunk(const pb::Chunk& i_chunk);

    ProgressWatcher* const _watcher;
    std::optional<pb::PlatformHeader> _header;
    std::optional<Wire::ChunkReader> _reader;
    std::uint64_t _size = 0;
    std::string _bytes;
    bool _isDamaged = false;
};

} // namespace MachineService::Remote
