// What a service elsewhere says, as a host takes it in.
#include "WireMessages.h"

#include "client/interface/CommunicationException.h"
#include "hashing/Sha256.h"
#include "remote/CatalogStream.h"
#include "remote/IconStore.h"
#include "remote/MachineStore.h"
#include "remote/ServiceAnswers.h"
#include "remote/SnapshotFile.h"
#include "remote/StoredMessages.h"
#include "remote/canrun/CanRunStore.h"
#include "tavsdk/Utf8.h"
#include "wire/Conversions.h"
#include "wire/Failures.h"

#include <QtGlobal>

#include <algorithm>

namespace {

using namespace MachineService;
using namespace MachineService::Remote;

/// A host's side of one service.
class Host
{
public:
    void Take(std::size_t i_kind, std::string_view i_bytes)
    {
        try {
            switch (i_kind % Fuzz::AnswerKinds) {
            case Fuzz::AnswerCatalogEvent:
                return With<messages::CatalogEvent>(i_bytes, [this](const auto& i_event) { TakeEvent(i_event); });
            case Fuzz::AnswerIcon:
                return With<pb::Icon>(i_bytes, [this](const auto& i_icon) {
                    if (_icons.Add(i_icon.sha256(), i_icon.content()))
                        Fuzz::Require(!_icons.Find(i_icon.sha256()).IsEmpty(), "an icon that was taken is there");
                });
            case Fuzz::AnswerCanRun:
                return With<pb::CanRunAnswers>(i_bytes, [this](const auto& i_answers) {
                    _canRun.Answer({}, ToAnswers(i_answers), CanRunStore::Clock::time_point());
                });
            case Fuzz::AnswerRun:
                return With<pb::Run>(i_bytes, [this](const auto& i_run) { TakeRun(ToRunState(i_run)); });
            case Fuzz::AnswerPlatform:
                return With<pb::PlatformReply>(i_bytes, [this](const auto& i_reply) { TakePlatform(i_reply); });
            case Fuzz::AnswerProfiles:
                return With<pb::ProfileAssignments>(i_bytes, [](const auto& i_profiles) {
                    const auto profiles = Wire::FromMessage(i_profiles);
                    Fuzz::Require(Wire::FromMessage(Wire::ToMessage(profiles)) == profiles,
                                  "profiles read back the same");
                });
            case Fuzz::AnswerInformation:
                return With<pb::ServiceInformation>(i_bytes, [](const auto& i_information) {
                    const auto told = ToServiceTold(i_information);
                    Fuzz::Require(told.grace.count() > 0 && told.longestSilence.count() >= 0,
                                  "times are none that never end");
                });
            case Fuzz::AnswerFailure:
                return With<pb::Failure>(i_bytes,
                                         [](const auto& i_failure) { RequireShown(Wire::FromFailure(i_failure)); });
            default:
                return ReadKept(i_bytes);
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

    /// What a service says of a failure may say little; it is shown and goes into logs.
    static void RequireShown(const CommunicationException& i_failure)
    {
        const std::string_view text = i_failure.what();
        Fuzz::Require(
            TavSDK::IsUtf8(text) &&
                std::none_of(text.begin(), text.end(),
                             [](char i_char) { return static_cast<unsigned char>(i_char) < 0x20 || i_char == 0x7f; }),
            "a peer's sentence has no control characters");
    }

    /// A file of our own beginning and hash, so that what is between them is looked at.
    static void ReadKept(std::string_view i_records)
    {
        const SnapshotFile file(Fuzz::GetFolder(), Address);
        static const std::filesystem::path mgp_path = [&file] {
            file.Write(MachineStore(), IconStore());
            std::filesystem::directory_iterator entry(Fuzz::GetFolder());
            return std::find_if(entry, {},
                                [](const auto& i_entry) { return i_entry.path().extension() == ".snapshot"; })
                ->path();
        }();
        std::string bytes = "machineservice snapshot 1\n";
        bytes += static_cast<char>(Address.size());
        bytes += std::string(3, '\0') + std::string(Address) + std::string(i_records);
        bytes += HashOf(bytes);
        std::filesystem::rename(Fuzz::MakeFile(bytes), mgp_path);
        if (const auto kept = file.Read()) {
            for (const auto& machine : kept->machines)
                Check(machine);
        }
    }

    void TakeEvent(const messages::CatalogEvent& i_event)
    {
        const Position position{i_event.epoch(), i_event.revision()};
        if (i_event.has_snapshot()) {
            std::vector<std::shared_ptr<StoredMachine>> machines;
            for (const auto& bytes : i_event.snapshot().machines()) {
                if (pb::Machine message; message.ParseFromString(bytes))
                    machines.push_back(Check(ToStored(message)));
            }
            _machines.Replace(std::move(machines), position);
        }
        switch (i_event.event_case()) {
        case messages::CatalogEvent::kAdded:
            _machines.Put(Check(ToStored(i_event.added())), {}, position);
            break;
        case messages::CatalogEvent::kUpdated:
            _machines.Put(Check(ToStored(i_event.updated().machine())),
                          static_cast<MachineChanges>(i_event.updated().changes()), position);
            break;
        case messages::CatalogEvent::kRemoved:
            _machines.Remove(Wire::ToUuid(i_event.removed(), "machine's id"), position);
            break;
        default:
            break;
        }
        const auto ids = _machines.GetIds();
        Fuzz::Require(ids.size() == _machines.GetAll().size(), "each machine has an id of its own");
        for (const auto& id : ids)
            Fuzz::Require(_machines.Find(id) != nullptr, "a machine that is told of is there");
    }

    /// What is kept on the disk is the machine.
    static std::shared_ptr<StoredMachine> Check(std::shared_ptr<StoredMachine> ip_machine)
    {
        const auto message = ToMessage(*ip_machine);
        Fuzz::Require(ToMessage(*ToStored(message)).SerializeAsString() == message.SerializeAsString(),
                      "a machine reads back the same");
        return ip_machine;
    }

    void TakeRun(const RunState& i_state)
    {
        if (i_state.failure)
            return RequireShown(*i_state.failure);
        const int percent = _run.GetPercent();
        _run.HandleState(i_state, {});
        Fuzz::Require(_run.GetPercent() >= percent && _run.GetPercent() <= 100, "percentages rise");
        Fuzz::Require(_run.GetReceivedBytes() <= InputSize, "nothing is sent that is not there");
        for (const auto& file : _run.GetFiles())
            Fuzz::Require(Wire::IsPlainFileName(file.name), "a result stays in its folder");
        while (_run.GetStep() == RunTransfer::Step::Download)
            _run.HandleDownloaded({});
    }

    void TakePlatform(const pb::PlatformReply& i_reply)
    {
        _platform.Take(i_reply);
        if (!_platform.IsComplete())
            return;
        std::size_t size = _platform.GetXml().size();
        for (const Platform& item : _platform.GetItems())
            size += item.data.size();
        Fuzz::Require(size <= Wire::MaxPlatformBytes, "a platform is bounded");
    }

    static inline const std::string Address = "unix:/fuzz";
    static constexpr std::uint64_t InputSize = 1000;

    MachineStore _machines;
    IconStore _icons;
    CanRunStore _canRun;
    RunTransfer _run{InputSize, std::chrono::seconds(1), {}};
    PlatformReader _platform{nullptr};
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // A damaged file is what this is about: that it was passed over is no finding.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* ip_data, std::size_t i_size)
{
    Host host;
    Fuzz::ReadMessages(Fuzz::ToText(ip_data, i_size),
                       [&](std::size_t i_kind, std::string_view i_bytes) { host.Take(i_kind, i_bytes); });
    return 0;
}
