#include "catalog/NewsOrder.h"
#include "support/FakeMachineService.h"

#include <gmock/gmock.h>

#include <latch>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace MachineService;

namespace {

using namespace TestSupport;
using ::testing::ElementsAre;

News MakeNews(std::uint8_t i_machine, int i_changes)
{
    return {News::Kind::MachineUpdated, MakeId(i_machine), static_cast<MachineChanges>(i_changes)};
}

/// Logs what is raised, as "machine:changes", and does what the test says about it.
class NewsOrderTest : public ::testing::Test
{
protected:
    NewsOrderTest()
        : _order([this](const News& i_news) {
            const std::string text =
                std::to_string(i_news.machine.data[15]) + ":" + std::to_string(static_cast<int>(i_news.changes));
            {
                const std::lock_guard lock(_mutex);
                _log.push_back(text);
            }
            if (_onNews)
                _onNews(text);
        })
    {}
    void _Tell(std::uint8_t i_machine, int i_changes) { _order.Raise(_order.Append(MakeNews(i_machine, i_changes))); }
    std::vector<std::string> _GetLog()
    {
        const std::lock_guard lock(_mutex);
        return _log;
    }

    std::mutex _mutex; // guards _log
    std::vector<std::string> _log;
    std::function<void(const std::string&)> _onNews;
    NewsOrder _order;
};

TEST_F(NewsOrderTest, WhatASlotBringsAboutFollowsWhenThePresentNewsAreOver)
{
    std::string ended;
    _onNews = [&](const std::string& i_text) {
        if (i_text == "1:1") {
            _Tell(1, 2);
            _Tell(2, 3); // of another machine: at once
            EXPECT_THAT(_GetLog(), ElementsAre("1:1", "2:3"));
        }
        ended += i_text + " ";
    };
    _Tell(1, 1);
    EXPECT_EQ(ended, "2:3 1:1 1:2 ");
}

TEST_F(NewsOrderTest, NewsOfAnotherThreadFollowAndItReturnsAfterThem)
{
    std::latch inside(1);
    std::latch appended(1);
    _onNews = [&](const std::string& i_text) {
        if (i_text == "1:1") {
            inside.count_down();
            appended.wait();
        }
    };
    std::vector<std::string> seenOnReturn;
    std::thread other([&] {
        inside.wait();
        _Tell(2, 9); // does not wait for the first machine
        const auto place = _order.Append(MakeNews(1, 2));
        appended.count_down();
        _order.Raise(place);
        seenOnReturn = _GetLog();
    });
    _Tell(1, 1);
    other.join();
    EXPECT_THAT(seenOnReturn, ElementsAre("1:1", "2:9", "1:2"));
}

TEST_F(NewsOrderTest, TwoSlotsThatTellOfEachOthersMachineDoNotWaitForEachOther)
{
    std::latch bothAreInside(2);
    _onNews = [&](const std::string& i_text) {
        if (i_text == "1:1" || i_text == "2:1") {
            bothAreInside.arrive_and_wait();
            _Tell(i_text == "1:1" ? 2 : 1, 2);
        }
    };
    std::thread other([&] { _Tell(2, 1); });
    _Tell(1, 1);
    other.join();
    EXPECT_THAT(_GetLog(), ::testing::UnorderedElementsAre("1:1", "2:1", "1:2", "2:2"));
}

TEST_F(NewsOrderTest, AFailureReachesWhoToldAndHoldsNobodyUp)
{
    _onNews = [&](const std::string& i_text) {
        if (i_text == "1:1") {
            _Tell(1, 2);
            _Tell(1, 3);
        }
        if (i_text != "1:1")
            throw std::runtime_error(i_text);
    };
    EXPECT_THROW(
        {
            try {
                _Tell(1, 1);
            } catch (const std::runtime_error& failure) {
                EXPECT_STREQ(failure.what(), "1:2");
                throw;
            }
        },
        std::runtime_error);
    EXPECT_THROW(_Tell(1, 4), std::runtime_error);
    EXPECT_THAT(_GetLog(), ElementsAre("1:1", "1:2", "1:3", "1:4"));
}

TEST_F(NewsOrderTest, AfterTheEndNothingIsRaisedAndNobodyWaits)
{
    std::latch inside(1);
    std::latch isLetGo(1);
    NewsOrder::Place place;
    _onNews = [&](const std::string&) {
        inside.count_down();
        _Tell(1, 2);
        _order.End();
        isLetGo.wait(); // the other thread returns while these news are still being raised
    };
    std::thread other([&] {
        inside.wait();
        _Tell(1, 3);
        isLetGo.count_down();
    });
    _Tell(1, 1);
    other.join();
    _Tell(1, 4);
    EXPECT_THAT(_GetLog(), ElementsAre("1:1"));
}

} // namespace
