#include "catalog/ProxyFixture.h"

#include <gmock/gmock.h>

#include <atomic>
#include <latch>
#include <thread>

using namespace MachineService;

namespace {

using namespace TestSupport;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ProxyDestructionTest : public ProxyFixture
{};

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

class ProxyDestructionInsideTest : public ProxyFixture, public ::testing::WithParamInterface<Callee>
{};

TEST_P(ProxyDestructionInsideTest, TheProxyMayBeDestroyedInWhatItCalls)
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

INSTANTIATE_TEST_SUITE_P(Callees, ProxyDestructionInsideTest,
                         ::testing::Values(Callee::Rule, Callee::RuleOfAnnouncement, Callee::Source, Callee::Added,
                                           Callee::Removed, Callee::Updated, Callee::Status));

TEST_F(ProxyDestructionTest, EndingTheNewsLetsAServiceGoThatWaitsForThem)
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

TEST_F(ProxyDestructionTest, DestructionWaitsForHandlersOnOtherThreads)
{
    for (int round = 0; round < 50; ++round) {
        auto proxy = std::make_unique<ProxyMachinesCatalog>(&_source, [](const MachineData&) { return true; });
        std::latch inside(1);
        std::atomic<int> running = 0;
        proxy->ConnectMachineAdded([&, isFirst = true](const auto&) mutable {
            ++running;
            if (std::exchange(isFirst, false))
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

TEST(ProxyOutlivesSourceTest, TheSourceMayBeGoneAlready)
{
    auto source = std::make_unique<FakeMachinesCatalog>();
    auto proxy = std::make_unique<ProxyMachinesCatalog>(source.get(), [](const MachineData&) { return true; });
    source->Put(1);
    source.reset();
    proxy.reset();
}

} // namespace
