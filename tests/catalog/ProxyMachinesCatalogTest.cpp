#include "catalog/ProxyMachinesCatalog.h"

#include "support/Failures.h"
#include "support/FakeMachineService.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <latch>
#include <set>
#include <thread>

namespace MachineService {

namespace {

using namespace TestSupport;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A proxy whose rule rejects the machines of a list, and a log of what it raises: "+1", "-1", "~1:4", "s2:3".
class ProxyMachinesCatalogTest : public ::testing::Test
{
protected:
    ProxyMachinesCatalogTest()
        : _proxy(std::make_unique<ProxyMachinesCatalog>(&_source, [this](const MachineData& i_data) {
            if (_onRule)
                _onRule(i_data.id);
            const std::lock_guard lock(_mutex);
            return !_rejected.contains(i_data.id);
        }))
    {
        const auto number = [](const boost::uuids::uuid& i_id) {
            return std::to_string(i_id.data[15]);
        };
        _proxy->ConnectMachineAdded([=, this](const auto& i_id) { _Log("+" + number(i_id)); });
        _proxy->ConnectMachineRemoved([=, this](const auto& i_id) { _Log("-" + number(i_id)); });
        _proxy->ConnectMachineUpdated([=, this](const auto& i_id, MachineChanges i_changes) {
            _Log("~" + number(i_id) + ":" + std::to_string(static_cast<int>(i_changes)));
        });
        _proxy->ConnectServiceStatusUpdated([this](ServiceId i_service, ServiceStatus i_status) {
            _Log("s" + std::to_string(static_cast<int>(i_service)) + ":" + std::to_string(static_cast<int>(i_status)));
        });
    }

    void _Log(const std::string& i_text)
    {
        const std::lock_guard lock(_mutex);
        _log.push_back(i_text);
    }
    std::vector<std::string> _TakeLog()
    {
        const std::lock_guard lock(_mutex);
        return std::exchange(_log, {});
    }
    void _Reject(std::uint8_t i_number, bool i_reject = true)
    {
        const std::lock_guard lock(_mutex);
        if (i_reject)
            _rejected.insert(MakeId(i_number));
        else
            _rejected.erase(MakeId(i_number));
    }

    std::mutex _mutex; // guards _log and _rejected
    std::vector<std::string> _log;
    std::set<boost::uuids::uuid> _rejected;
    std::function<void(const boost::uuids::uuid&)> _onRule;
    FakeMachinesCatalog _source;
    std::unique_ptr<ProxyMachinesCatalog> _proxy;
};

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
    _proxy->ConnectMachineAdded([this, is_first = true](const auto&) mutable {
        if (std::exchange(is_first, false)) {
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
    const bool is_announcement = row == RemovedDuringAnnouncement || row == RuleChangedDuringAnnouncement;
    _source.Set(1);
    _source.Set(2);
    bool is_first = true;
    const auto interfere = [&](const boost::uuids::uuid& i_id) {
        if (i_id != MakeId(1) || !std::exchange(is_first, false))
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

    if (is_announcement)
        _source.RaiseAdded(MakeId(1));
    else
        _proxy->Invalidate();

    const bool is_accepted = row == ReAddedDuringInvalidate;
    EXPECT_EQ(_proxy->HasMachine(MakeId(1)), is_accepted);
    const auto log = _TakeLog();
    EXPECT_EQ(std::ranges::count(log, "+1"), is_accepted ? 1 : 0);
    EXPECT_EQ(std::ranges::count(log, "-1"), 0);
    EXPECT_EQ(std::ranges::count(log, "+2"), is_announcement ? 0 : 1);
}

INSTANTIATE_TEST_SUITE_P(Moments, ProxyInterferenceTest, ::testing::Range(0, 5));

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

constexpr std::uint8_t MachineCount = 4;
constexpr int Rounds = 200;

TEST_F(ProxyMachinesCatalogTest, WhoeverTellsWhateverWhenAllListsAreTheProxysAtEveryQuietPoint)
{
    MachineList before(*_proxy);
    std::atomic<unsigned> news = 0;
    const auto ignore_unknown = [](const auto& i_tell) {
        // A machine that goes between news and question is the source's exception.
        try {
            i_tell();
        } catch (const CommunicationException&) {
        }
    };
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
            ignore_unknown([&] { _proxy->Invalidate(); });
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
                    ignore_unknown([&] { _source.Put(number); });
                    ignore_unknown([&] { _source.RaiseUpdated(MakeId(number), MachineChanges::StateChanged); });
                    if ((round + step + thread) % 3 != 0)
                        ignore_unknown([&] { _source.Take(number); });
                }
                quiet.arrive_and_wait();
            }
        });
    for (int thread = 0; thread < 2; ++thread)
        threads.emplace_back([&, thread] {
            for (int round = 0; round < Rounds; ++round) {
                for (int step = 0; step < 4; ++step) {
                    _Reject(static_cast<std::uint8_t>((round + step) % MachineCount), (step + thread) % 2 == 0);
                    ignore_unknown([&] { _proxy->Invalidate(); });
                    _proxy->HasMachine(MakeId(2));
                }
                quiet.arrive_and_wait();
            }
        });
    threads.clear();
    EXPECT_GT(news, 0U);
}

/// What a proxy calls, and in which it is destroyed.
enum class Callee
{
    Rule,
    RuleOfAnnouncement,
    Source,
    Added,
    Removed,
    Updated,
    Status
};

class DestructionInsideTest : public ProxyMachinesCatalogTest, public ::testing::WithParamInterface<Callee>
{};

TEST_P(DestructionInsideTest, TheProxyMayBeDestroyedInWhatItCalls)
{
    const Callee callee = GetParam();
    _source.Set(1);
    _source.Set(2);
    if (callee == Callee::Removed || callee == Callee::Updated)
        _proxy->Invalidate();
    const auto destroy = [&](const auto&...) {
        _TakeLog();
        _proxy.reset();
    };
    if (callee == Callee::Rule || callee == Callee::RuleOfAnnouncement)
        _onRule = destroy;
    else if (callee == Callee::Source)
        _source.onGetMachine = destroy;
    // In front of slots that must not be called any more, and with news behind.
    _proxy->ConnectMachineAdded([&](const boost::uuids::uuid& i_id) {
        if (callee == Callee::Added) {
            _source.RaiseUpdated(i_id, MachineChanges::StateChanged);
            destroy();
        }
    });
    if (callee == Callee::Removed)
        _proxy->ConnectMachineRemoved(destroy);
    else if (callee == Callee::Updated)
        _proxy->ConnectMachineUpdated(destroy);
    else if (callee == Callee::Status)
        _proxy->ConnectServiceStatusUpdated(destroy);
    _proxy->ConnectMachineAdded([this](const auto&) { _Log("later"); });
    _proxy->ConnectMachineRemoved([this](const auto&) { _Log("later"); });

    switch (callee) {
    case Callee::Updated:
        _source.RaiseUpdated(MakeId(1), MachineChanges::StateChanged);
        break;
    case Callee::Status:
        _source.RaiseStatus(ServiceId::BuildProcessors, ServiceStatus::Running);
        break;
    case Callee::RuleOfAnnouncement:
        _source.RaiseAdded(MakeId(1));
        break;
    case Callee::Removed:
        _Reject(1);
        _Reject(2);
        [[fallthrough]];
    default:
        _proxy->Invalidate();
    }
    EXPECT_FALSE(_proxy);
    EXPECT_THAT(_TakeLog(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Callees, DestructionInsideTest,
                         ::testing::Values(Callee::Rule, Callee::RuleOfAnnouncement, Callee::Source, Callee::Added,
                                           Callee::Removed, Callee::Updated, Callee::Status));

TEST_F(ProxyMachinesCatalogTest, EndingTheNewsLetsAServiceGoThatWaitsForThem)
{
    std::thread service;
    _proxy->ConnectMachineAdded([&](const auto&) {
        service = std::thread([&] { _source.RaiseUpdated(MakeId(1), MachineChanges::StateChanged); });
        // As a client that is destroyed here: its catalog joins the thread.
        _proxy->EndNews();
        service.join();
    });
    _source.Put(1);
    EXPECT_THAT(_TakeLog(), ElementsAre("+1"));
}

TEST_F(ProxyMachinesCatalogTest, DestructionWaitsForHandlersOnOtherThreads)
{
    for (int round = 0; round < 50; ++round) {
        auto proxy = std::make_unique<ProxyMachinesCatalog>(&_source, [](const MachineData&) { return true; });
        std::latch inside(1);
        std::atomic<int> running = 0;
        proxy->ConnectMachineAdded([&, is_first = true](const auto&) mutable {
            ++running;
            if (std::exchange(is_first, false))
                inside.count_down();
            std::this_thread::yield();
            --running;
        });
        std::thread service([&] {
            for (int news = 0; news < 20; ++news)
                _source.Put(static_cast<std::uint8_t>(news));
        });
        inside.wait();
        proxy.reset();
        EXPECT_EQ(running, 0);
        service.join();
    }
}

TEST(ProxyMachinesCatalogDestructionTest, TheSourceMayBeGoneAlready)
{
    auto source = std::make_unique<FakeMachinesCatalog>();
    auto proxy = std::make_unique<ProxyMachinesCatalog>(source.get(), [](const MachineData&) { return true; });
    source->Put(1);
    source.reset();
    proxy.reset();
}

} // namespace

} // namespace MachineService
