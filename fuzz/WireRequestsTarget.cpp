// What a host elsewhere asks, as a service takes it in.
#include "WireMessages.h"

#include "client/interface/CommunicationException.h"
#include "server/CatalogJournal.h"
#include "server/RunBook.h"
#include "server/RunMessages.h"
#include "wire/Conversions.h"
#include "wire/WireFailure.h"

#include <atomic>
#include <fstream>

namespace {

using namespace MachineService;
using namespace MachineService::Server;
namespace pb = Wire::pb;

/// A service's side of one host. Its machine answers at once, with the input as its result.
class Service
{
public:
    ~Service()
    {
        _book.Close();
        Fuzz::Require(_begun <= _orders, "no run is carried out twice");
    }

    void Take(std::size_t i_kind, std::string_view i_bytes)
    {
        try {
            switch (i_kind % Fuzz::RequestKinds) {
            case Fuzz::RequestStart:
                return With<pb::StartRunRequest>(i_bytes, [this](const auto& i_request) { Start(i_request); });
            case Fuzz::RequestUpload:
                return With<pb::UploadRequest>(i_bytes, [this](const auto& i_request) { Upload(i_request); });
            case Fuzz::RequestCancel:
                return With<pb::RunRequest>(i_bytes, [this](const auto& i_request) {
                    const auto state = _book.Cancel(ReadRunId(i_request.run_id()));
                    Tell(state);
                });
            case Fuzz::RequestRelease:
                return With<pb::RunRequest>(
                    i_bytes, [this](const auto& i_request) { _book.Release(ReadRunId(i_request.run_id())); });
            case Fuzz::RequestDownload:
                return With<pb::DownloadRequest>(i_bytes, [this](const auto& i_request) { Download(i_request); });
            case Fuzz::RequestWatchCatalog:
                return With<pb::WatchCatalogRequest>(i_bytes, [this](const auto& i_request) { Watch(i_request); });
            case Fuzz::RequestMachine:
                return With<pb::CatalogEvent>(i_bytes, [this](const auto& i_event) { Change(i_event); });
            default:
                _later += i_bytes.empty() ? 0 : static_cast<unsigned char>(i_bytes.front());
                _book.Tend();
            }
        } catch (const CommunicationException& failure) {
            Fuzz::RequireSentence(failure);
        }
    }

private:
    template <class Message, class Use>
    static void With(std::string_view i_bytes, const Use& i_use)
    {
        if (Message message; Fuzz::Parse(i_bytes, message))
            i_use(message);
    }

    void Start(const pb::StartRunRequest& i_request)
    {
        RunOrder order = ToOrder(i_request, "host");
        order.begin = [this](const CommandParameters& i_parameters) {
            ++_begun;
            const auto& input = i_parameters.inputFile;
            Fuzz::Require(input.empty() || Wire::IsPlainFileName(input.filename().string()),
                          "an input has a plain name");
            std::ofstream(i_parameters.outputDir / "result") << (input.empty() ? "" : Fuzz::ReadBytes(input));
            std::promise<CommandResult> answer;
            answer.set_value({});
            return answer.get_future();
        };
        ++_orders;
        Tell(_book.Start(std::move(order)));
    }

    void Upload(const pb::UploadRequest& i_request)
    {
        const auto id = ReadRunId(i_request.run_id());
        const auto attendance = _book.Attend(id);
        Tell(_book.Take(id, _book.BeginUpload(id), Wire::ToPiece(i_request.chunk())));
    }

    void Download(const pb::DownloadRequest& i_request)
    {
        const auto opened = _book.Open(ReadRunId(i_request.run_id()), i_request.file());
        Fuzz::Require(Fuzz::ReadBytes(opened.path).size() == opened.file.size, "a result is as long as it was told");
    }

    void Change(const pb::CatalogEvent& i_event)
    {
        if (i_event.has_removed())
            return _journal.Remove(i_event.removed());
        const auto& machine = i_event.has_added() ? i_event.added() : i_event.updated().machine();
        _journal.Put(machine.id(), std::make_shared<PublishedMachine>(machine), i_event.updated().changes());
    }

    void Watch(const pb::WatchCatalogRequest& i_request)
    {
        auto reader = _journal.Follow(i_request.epoch(), i_request.revision());
        std::uint64_t revision = 0;
        for (std::string bytes; reader.Next(bytes);) {
            pb::CatalogEvent event;
            Fuzz::Require(event.ParseFromString(bytes), "an event is one");
            Fuzz::Require(event.revision() >= revision, "revisions never fall");
            revision = event.revision();
        }
    }

    static void Tell(const RunState& i_state)
    {
        const auto message = ToMessage(i_state, "en");
        Fuzz::Require(message.percent() <= 100, "percentages end at 100");
        Fuzz::Require(i_state.phase != RunState::Phase::Failed || message.has_failure(), "a failed run says why");
    }

    static RunBook::Limits MakeLimits()
    {
        RunBook::Limits limits;
        limits.running = 8;
        limits.runningOfOneClient = 6;
        limits.kept = 16;
        limits.inputBytes = 10'000;
        limits.diskBytes = 50'000;
        return limits;
    }

    std::atomic<int> _begun = 0;
    int _orders = 0;
    std::atomic<std::int64_t> _later = 0; ///< seconds
    const std::shared_ptr<Bell> _bell = std::make_shared<Bell>();
    CatalogJournal _journal{std::string(16, 'e'), _bell, {}};
    RunBook _book{MakeLimits(), _bell, {}, [this] {
                      return RunBook::Clock::time_point(std::chrono::seconds(_later.load()));
                  }};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* ip_data, std::size_t i_size)
{
    Service service;
    Fuzz::ReadMessages(Fuzz::ToText(ip_data, i_size),
                       [&](std::size_t i_kind, std::string_view i_bytes) { service.Take(i_kind, i_bytes); });
    return 0;
}
