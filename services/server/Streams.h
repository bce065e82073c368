#pragma once

#include "server/CatalogJournal.h"
#include "server/RunBook.h"
#include "server/RunMessages.h"
#include "server/StreamPump.h"
#include "wire/Failures.h"

#include <machineservice/v1/runs.pb.h>

#include <grpcpp/server_context.h>
#include <grpcpp/support/byte_buffer.h>
#include <grpcpp/support/server_callback.h>

#include <exception>
#include <memory>
#include <optional>
#include <utility>

namespace MachineService::Server {

/// A stream of messages to one host, driven by gRPC's callbacks and by the pump.
///
/// Thread: any.
/// Ownership: by the pump and by gRPC, until gRPC is done with it.
template <class Message>
class Stream : public grpc::ServerWriteReactor<Message>, public IStream, public std::enable_shared_from_this<IStream>
{
public:
    /// \param i_longest_idle for a host that takes nothing.
    Stream(grpc::CallbackServerContext& io_context, StreamPump& io_pump, std::chrono::milliseconds i_longest_idle)
        : _context(io_context)
        , _pump(io_pump)
        , _longestIdle(i_longest_idle)
        , _lastWrite(Bell::Clock::now())
    {}

    /// \param ip_refusal null: it begins.
    void Begin(std::exception_ptr ip_refusal)
    {
        _held = shared_from_this();
        try {
            if (!ip_refusal)
                _pump.Add(_held);
        } catch (const std::exception&) {
            ip_refusal = std::current_exception();
        }
        if (ip_refusal) {
            const TavSDK::MutexLock lock(_mutex);
            _end = Wire::ToStatus(ip_refusal, _context);
        }
        Pump(Bell::Clock::now());
    }

    void Pump(Bell::Clock::time_point i_now) final
    {
        std::optional<grpc::Status> end;
        {
            const TavSDK::MutexLock lock(_mutex);
            if (_isFinished)
                return;
            if (_isWriting) {
                if (i_now - _lastWrite > _longestIdle)
                    _context.TryCancel();
                return;
            }
            if (!_end && !_FindMessage(i_now))
                return;
            if (_end) {
                _isFinished = true;
                end = _end;
            } else {
                _isWriting = true;
                _lastWrite = i_now;
            }
        }
        // Nobody else begins anything meanwhile: the flags say that something is under way.
        if (end)
            this->Finish(*end);
        else
            this->StartWrite(&_message);
    }

    void End() final
    {
        {
            const TavSDK::MutexLock lock(_mutex);
            // Of a stream that has ended the context may be gone.
            if (!_end)
                _end = Wire::ToStatus(std::make_exception_ptr(CommunicationException(
                                          ErrorCode::ServicesUnavailable, "The service goes down; try again later.")),
                                      _context);
        }
        Pump(Bell::Clock::now());
    }

    void OnWriteDone(bool i_is_ok) final
    {
        {
            const TavSDK::MutexLock lock(_mutex);
            _isWriting = false;
            if (!i_is_ok && !_end)
                _end = grpc::Status::CANCELLED;
        }
        Pump(Bell::Clock::now());
    }
    void OnCancel() final { _EndWith(grpc::Status::CANCELLED); }
    void OnDone() final
    {
        _pump.Remove(_held);
        const auto last = std::exchange(_held, nullptr);
    }

protected:
    enum class Next
    {
        Nothing,
        Ready,
        End ///< there is nothing more to come
    };
    /// The next message. Never waits. What it throws ends the stream.
    virtual Next _GetNext(Message& o_message) = 0;
    virtual void _MakeHeartbeat(Message& o_message) = 0;

private:
    void _EndWith(const grpc::Status& i_status)
    {
        {
            const TavSDK::MutexLock lock(_mutex);
            if (!_end)
                _end = i_status;
        }
        Pump(Bell::Clock::now());
    }
    /// \return false when there is nothing to do.
    bool _FindMessage(Bell::Clock::time_point i_now) TAVSDK_REQUIRES(_mutex)
    {
        try {
            const auto next = _GetNext(_message);
            if (next == Next::End)
                _end = grpc::Status::OK;
            if (next != Next::Nothing)
                return true;
            if (i_now - _lastWrite < _pump.GetHeartbeat() / 2)
                return false;
            _MakeHeartbeat(_message);
        } catch (...) {
            _end = Wire::ToStatus(std::current_exception(), _context);
        }
        return true;
    }

    grpc::CallbackServerContext& _context;
    StreamPump& _pump;
    const std::chrono::milliseconds _longestIdle;
    std::shared_ptr<IStream> _held; ///< itself, until gRPC is done with it
    TavSDK::Mutex _mutex;           ///< guards everything below
    Message _message;               ///< stays as it is while it is written
    Bell::Clock::time_point _lastWrite TAVSDK_GUARDED_BY(_mutex);
    bool _isWriting TAVSDK_GUARDED_BY(_mutex) = false;
    bool _isFinished TAVSDK_GUARDED_BY(_mutex) = false;
    std::optional<grpc::Status> _end TAVSDK_GUARDED_BY(_mutex);
};

/// WatchCatalog. Its messages are made of what is there as bytes: with many hosts and machines that is most of the
/// work.
class CatalogStream final : public Stream<grpc::ByteBuffer>
{
public:
    CatalogStream(grpc::CallbackServerContext& io_context, StreamPump& io_pump,
                  std::chrono::milliseconds i_longest_idle, CatalogJournal::Reader i_reader)
        : Stream(io_context, io_pump, i_longest_idle)
        , _reader(std::move(i_reader))
    {}

protected:
    Next _GetNext(grpc::ByteBuffer& o_event) override;
    void _MakeHeartbeat(grpc::ByteBuffer& o_event) override;

private:
    CatalogJournal::Reader _reader;
};

/// WatchRun.
class RunStream final : public Stream<Wire::pb::Run>
{
public:
    RunStream(grpc::CallbackServerContext& io_context, StreamPump& io_pump, std::chrono::milliseconds i_longest_idle,
              RunBook& io_book, const boost::uuids::uuid& i_id, std::string i_language)
        : Stream(io_context, io_pump, i_longest_idle)
        , _book(io_book)
        , _id(i_id)
        , _language(std::move(i_language))
    {}
    /// \throws WireFailure when the run is not known.
    void Attend() { _attendance = _book.Attend(_id); }

protected:
    Next _GetNext(Wire::pb::Run& o_run) override;
    void _MakeHeartbeat(Wire::pb::Run& o_run) override { o_run = ToMessage(_book.Get(_id), _language); }

private:
    RunBook& _book;
    const boost::uuids::uuid _id;
    const std::string _language;        ///< of the texts
    std::shared_ptr<void> _attendance;  ///< the host is there
    std::optional<std::uint64_t> _told; ///< the version that was sent last
    bool _hasEnded = false;
};

} // namespace MachineService::Server
