#include "catalog/ProxyMachinesCatalog.h"

#include "support/Failures.h"
#include "support/FakeMachineService.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
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

TEST_F(ProxyMachinesCatalogTest, WhatGoesWhileItIsAnnouncedEndsRemoved)
{
    std::string later;
    _proxy->ConnectMachineAdded([this](const auto&) { _source.Take(1); });
    _proxy->ConnectMachineAdded([&](const auto&) { later += '+'; });
    _proxy->ConnectMachineRemoved([&](const auto&) { later += '-'; });
    _source.Put(1);
    EXPECT_EQ(later, "-+-");
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

TEST_F(ProxyMachinesCatalogTest, UnderFireTheLogAndTheSetAgree)
{
    std::atomic<bool> stop = false;
    std::vector<std::thread> services;
    for (const std::uint8_t number : {1, 2, 3})
        services.emplace_back([&, number] {
            for (int round = 0; round < 300; ++round) {
                _source.Put(number);
                _source.RaiseUpdated(MakeId(number), MachineChanges::StateChanged);
                if (round < 299)
                    _source.Take(number);
            }
        });
    std::thread reader([&] {
        while (!stop) {
            // A machine that goes between two questions is the source's exception.
            try {
                _proxy->Invalidate();
            } catch (const CommunicationException&) {
            }
            _proxy->GetMachines();
            _proxy->HasMachine(MakeId(2));
        }
    });
    for (std::thread& service : services)
        service.join();
    stop = true;
    reader.join();
    EXPECT_THAT(_proxy->GetMachineIds(), ::testing::SizeIs(3));
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
