#include "machinemanager/page/EventStreams.h"

#include <boost/uuid/uuid_io.hpp>

#include <algorithm>

#include <sys/eventfd.h>
#include <unistd.h>

namespace MachineService::MachineManager {

namespace {

constexpr std::size_t MostPending = 500;

} // namespace

class EventStreams::Reader
{
public:
    Reader()
        : _wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {}
    ~Reader() { ::close(_wake); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    void Tell(const boost::uuids::uuid& i_job)
    {
        {
            const TavSDK::MutexLock lock(_mutex);
            if (_isOverflown)
                return;
            _pending.insert(i_job);
            _isOverflown = _pending.size() > MostPending;
        }
        ::eventfd_write(_wake, 1);
    }

    /// Called again and again.
    bool Write(HttpStream& io_stream)
    {
        if (!_hasBegun) {
            _hasBegun = true;
            // Whoever comes back after a break does not know what happened meanwhile.
            return io_stream.Write("retry: 3000\nevent: all\ndata: {}\n\n");
        }
        if (!io_stream.Wait(_wake, Interval))
            return false;
        eventfd_t count = 0;
        ::eventfd_read(_wake, &count);
        const auto text = _TakeText();
        return io_stream.Write(text.empty() ? ":\n\n" : text);
    }

private:
    std::string _TakeText()
    {
        std::set<boost::uuids::uuid> pending;
        {
            const TavSDK::MutexLock lock(_mutex);
            if (_isOverflown) {
                _isOverflown = false;
                _pending.clear();
                return "event: all\ndata: {}\n\n";
            }
            pending.swap(_pending);
        }
        std::string text;
        for (const auto& id : pending)
            text += id.is_nil() ? "event: machine\ndata: {}\n\n"
                                : "event: job\ndata: {\"id\":\"" + to_string(id) + "\"}\n\n";
        return text;
    }

    const int _wake;
    bool _hasBegun = false;
    TavSDK::Mutex _mutex; ///< guards _pending and _isOverflown
    std::set<boost::uuids::uuid> _pending TAVSDK_GUARDED_BY(_mutex);
    bool _isOverflown TAVSDK_GUARDED_BY(_mutex) = false;
};

void EventStreams::Tell(const boost::uuids::uuid& i_job)
{
    std::vector<std::weak_ptr<Reader>> readers;
    {
        const TavSDK::MutexLock lock(_mutex);
        readers = _readers;
    }
    for (const auto& reader : readers) {
        if (const auto held = reader.lock())
            held->Tell(i_job);
    }
}

std::optional<HttpResponse> EventStreams::Open()
{
    const auto reader = std::make_shared<Reader>();
    {
        const TavSDK::MutexLock lock(_mutex);
        std::erase_if(_readers, [](const auto& i_reader) { return i_reader.expired(); });
        if (_readers.size() >= static_cast<std::size_t>(MostReaders))
            return std::nullopt;
        _readers.push_back(reader);
    }
    HttpResponse response;
    response.type = "text/event-stream";
    response.stream = [reader](HttpStream& io_stream) {
        return reader->Write(io_stream);
    };
    return response;
}

int EventStreams::GetReaders()
{
    const TavSDK::MutexLock lock(_mutex);
    std::erase_if(_readers, [](const auto& i_reader) { return i_reader.expired(); });
    return static_cast<int>(_readers.size());
}

} // namespace MachineService::MachineManager
