#include "catalog/ProxyFixture.h"
#include "support/Failures.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <future>
#include <set>
#include <thread>

using namespace MachineService;

namespace {

using namespace TestSupport;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ProxyMachinesCatalogTest : public ProxyFixture
{};

TEST_F(ProxyMachinesCatalogTest, InvalidateAcceptsWhatTheRuleAcceptsInTheSourcesOrder)
{
    for (const std::uint8_t number : {3, 1, 2})
        _source.Set(number);
    _Reject(1);
    EXPECT_THAT(_proxy->GetMachineIds(), IsEmpty());
    EXPECT_THAT(_proxy->GetMachines(), IsEmpty());
    EXPECT_FALSE(_proxy->HasMachine(MakeId(3)));

    _proxy->Invalidate();
    EXPECT_THAT(_TakeLog(), ElementsAre("+3", "+2"));
    EXPECT_THAT(_proxy->GetMachineIds(), ElementsAre(MakeId(3), MakeId(2)));
    EXPECT_EQ(_proxy->GetMachines().at(1).GetMachineData().name, "Machine 2");
    EXPECT_EQ(GetFailure([this] { _proxy->GetMachine(MakeId(1)); }), (Failure{ErrorCode::MachineNotFound, ""}));
    EXPECT_TRUE(_proxy->TryGetMachine(ServiceId::BuildProcessors, MakeId(1), MachineRepresentation::Machine));

    _proxy->Invalidate();
    EXPECT_THAT(_TakeLog(), IsEmpty());
    _Reject(3);
    _Reject(1, false);
    _source.Erase(MakeId(2));
    _proxy->Invalidate(); // 2 stays accepted until the source takes it back
    EXPECT_THAT(_TakeLog(), ElementsAre("-3", "+1"));
    _source.RaiseRemoved(MakeId(2));
    EXPECT_THAT(_TakeLog(), ElementsAre("-2"));
}

TEST_F(ProxyMachinesCatalogTest, NewsPassOnlyForAcceptedMachines)
{
    _Reject(2);
    _source.Put(1);
    _source.Put(1);
    _source.Put(2);
    _source.RaiseUpdated(MakeId(1), static_cast<MachineChanges>(0x41));
    _source.RaiseUpdated(MakeId(2), MachineChanges::StateChanged);
    _source.RaiseStatus(ServiceId::MachineManager, ServiceStatus::AuthenticationRequired);
    EXPECT_THAT(_TakeLog(), ElementsAre("+1", "+1", "~1:65", "s2:3"));

    _Reject(1);
    _source.RaiseUpdated(MakeId(1), MachineChanges::StateChanged); // the rule is not asked again
    _source.Take(2);
    _proxy->Invalidate();
    EXPECT_THAT(_TakeLog(), ElementsAre("~1:2", "-1"));
}

TEST_F(ProxyMachinesCatalogTest, AnExceptionEndsInvalidateAndKeepsWhatWasDone)
{
    for (const std::uint8_t number : {1, 2, 3})
        _source.Set(number);
    _onRule = [](const auto& i_id) {
        if (i_id == MakeId(2))
            throw std::runtime_error("rule");
    };
    EXPECT_THROW(_proxy->Invalidate(), std::runtime_error);
    EXPECT_THROW(_source.RaiseAdded(MakeId(2)), std::runtime_error);
    EXPECT_THAT(_TakeLog(), ElementsAre("+1"));
    EXPECT_THAT(_proxy->GetMachineIds(), ElementsAre(MakeId(1)));
}

TEST_F(ProxyMachinesCatalogTest, EverySlotHearsWhatASlotBringsAboutAfterWhatBroughtItAbout)
{
    std::string later;
    _proxy->ConnectMachineAdded([this, isFirst = true](const auto&) mutable {
        if (std::exchange(isFirst, false)) {
            _source.Take(1);
            _source.Put(1);
            _source.RaiseUpdated(MakeId(1), MachineChanges::StateChanged);
            _source.Take(1);
        }
    });
    _proxy->ConnectMachineAdded([&](const auto&) { later += '+'; });
    _proxy->ConnectMachineUpdated([&](const auto&, MachineChanges) { later += '~'; });
    _proxy->ConnectMachineRemoved([&](const auto&) { later += '-'; });
    _source.Put(1);
    EXPECT_EQ(later, "+-+~-");
    EXPECT_THAT(_TakeLog(), ElementsAre("+1", "-1", "+1", "~1:2", "-1"));
    EXPECT_FALSE(_proxy->HasMachine(MakeId(1)));
}

TEST_F(ProxyMachinesCatalogTest, ConstructionNamesTheFirstThingMissing)
{
    const auto message = [](AbstractMachinesCatalog* ip_source, const std::function<bool(const MachineData&)>& i_rule) {
        return GetFailure<std::runtime_error>([&] { const ProxyMachinesCatalog proxy(ip_source, i_rule); }).text;
    };
    EXPECT_EQ(message(nullptr, {}), "machines catalog is nullptr");
    EXPECT_EQ(message(&_source, {}), "filtering rule is empty");
}

class ProxyInterferenceTest : public ProxyMachinesCatalogTest, public ::testing::WithParamInterface<int>
{};

TEST_P(ProxyInterferenceTest, AnAnswerThatCameTooLateChangesNothing)
{
    enum
    {
        RemovedDuringInvalidate,
        RemovedDuringAnnouncement,
        VanishedDuringInvalidate,
        ReAddedDuringInvalidate,
        RuleChangedDuringAnnouncement
    };
    const int row = GetParam();
    const bool isAnnouncement = row == RemovedDuringAnnouncement || row == RuleChangedDuringAnnouncement;
    _source.Set(1);
    _source.Set(2);
    bool isFirst = true;
    const auto interfere = [&](const boost::uuids::uuid& i_id) {
        if (i_id != MakeId(1) || !std::exchange(isFirst, false))
            return;
        // On another thread, as services do; the answer below is already under way.
        std::thread([&] {
            if (row == RuleChangedDuringAnnouncement) {
                _Reject(1);
                _proxy->Invalidate();
            } else {
                _source.Take(1);
                if (row == ReAddedDuringInvalidate)
                    _source.Put(1);
            }
        }).join();
    };
    if (row == VanishedDuringInvalidate)
        _source.onGetMachine = interfere;
    else
        _onRule = interfere;
    if (row == RuleChangedDuringAnnouncement)
        _Reject(2);

    if (isAnnouncement)
        _source.RaiseAdded(MakeId(1));
    else
        _proxy->Invalidate();

    const bool isAccepted = row == ReAddedDuringInvalidate;
    EXPECT_EQ(_proxy->HasMachine(MakeId(1)), isAccepted);
    const auto log = _TakeLog();
    EXPECT_EQ(std::ranges::count(log, "+1"), isAccepted ? 1 : 0);
    EXPECT_EQ(std::ranges::count(log, "-1"), 0);
    EXPECT_EQ(std::ranges::count(log, "+2"), isAnnouncement ? 0 : 1);
}

INSTANTIATE_TEST_SUITE_P(Moments, ProxyInterferenceTest, ::testing::Range(0, 5));

TEST_F(ProxyMachinesCatalogTest, ARejectionStaysWhenAnOlderAnswerArrives)
{
    for (const std::uint8_t number : {2, 1})
        _source.Set(number);
    _proxy->Invalidate();
    std::promise<void> isAsked;
    std::promise<void> isRejected;
    std::jthread announcement;
    std::atomic<int> questions = 0;
    _onRule = [&](const boost::uuids::uuid& i_id) {
        if (i_id == MakeId(2)) {
            announcement = std::jthread([&] { _source.RaiseAdded(MakeId(1)); });
            isAsked.get_future().wait();
            _Reject(1);
        } else if (++questions == 1) {
            isAsked.set_value();
            isRejected.get_future().wait();
        }
    };
    _proxy->Invalidate();
    isRejected.set_value();
    announcement.join();
    EXPECT_FALSE(_proxy->HasMachine(MakeId(1)));
    EXPECT_THAT(_TakeLog(), ElementsAre("+2", "+1", "-1"));
}

/// Keeps a list of machines by the news.
class MachineList
{
public:
    explicit MachineList(ProxyMachinesCatalog& io_proxy)
    {
        io_proxy.ConnectMachineAdded([this](const auto& i_id) {
            const std::lock_guard lock(_mutex);
            _ids.insert(i_id);
        });
        io_proxy.ConnectMachineRemoved([this](const auto& i_id) {
            const std::lock_guard lock(_mutex);
            _ids.erase(i_id);
        });
        io_proxy.ConnectMachineUpdated([this](const auto& i_id, MachineChanges) {
            const std::lock_guard lock(_mutex);
            _unknownUpdates += _ids.contains(i_id) ? 0 : 1;
        });
    }
    std::set<boost::uuids::uuid> Get()
    {
        const std::lock_guard lock(_mutex);
        EXPECT_EQ(_unknownUpdates, 0);
        return _ids;
    }

private:
    std::mutex _mutex; // guards all below
    std::set<boost::uuids::uuid> _ids;
    int _unknownUpdates = 0;
};

/// A machine that goes between news and question is the source's exception.
template <class Tell>
void IgnoreUnknown(const Tell& i_tell)
{
    try {
        i_tell();
    } catch (const CommunicationException&) {
    }
}

constexpr std::uint8_t MachineCount = 4;
constexpr int Rounds = 200;

TEST_F(ProxyMachinesCatalogTest, WhoeverTellsWhateverWhenAllListsAreTheProxysAtEveryQuietPoint)
{
    MachineList before(*_proxy);
    std::atomic<unsigned> news = 0;
    // A slot that causes further news, of its own machine and of another one. An exception in it would keep the news
    // from the list behind it.
    _proxy->ConnectMachineAdded([&](const boost::uuids::uuid& i_id) {
        const unsigned number = ++news;
        const auto other = static_cast<std::uint8_t>(number % MachineCount);
        if (number % 5 == 0)
            _source.Take(i_id.data[15]);
        else if (number % 7 == 0)
            _source.Take(other);
        else if (number % 11 == 0)
            IgnoreUnknown([&] { _proxy->Invalidate(); });
    });
    MachineList after(*_proxy);

    const auto check = [&]() noexcept {
        std::set<boost::uuids::uuid> accepted;
        for (const auto& id : _proxy->GetMachineIds())
            accepted.insert(id);
        EXPECT_EQ(before.Get(), accepted);
        EXPECT_EQ(after.Get(), accepted);
    };
    std::barrier quiet(5, check);
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back([&, thread] {
            for (int round = 0; round < Rounds; ++round) {
                for (int step = 0; step < 4; ++step) {
                    // All services tell of all machines.
                    const auto number = static_cast<std::uint8_t>((round + step * (thread + 1)) % MachineCount);
                    IgnoreUnknown([&] { _source.Put(number); });
                    IgnoreUnknown([&] { _source.RaiseUpdated(MakeId(number), MachineChanges::StateChanged); });
                    if ((round + step + thread) % 3 != 0)
                        IgnoreUnknown([&] { _source.Take(number); });
                }
                quiet.arrive_and_wait();
            }
        });
    for (int thread = 0; thread < 2; ++thread)
        threads.emplace_back([&, thread] {
            for (int round = 0; round < Rounds; ++round) {
                for (int step = 0; step < 4; ++step) {
                    _Reject(static_cast<std::uint8_t>((round + step) % MachineCount), (step + thread) % 2 == 0);
                    IgnoreUnknown([&] { _proxy->Invalidate(); });
                    _proxy->HasMachine(MakeId(2));
                }
                quiet.arrive_and_wait();
            }
        });
    threads.clear();
    EXPECT_GT(news, 0U);
}

} // namespace
