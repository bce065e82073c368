#include "vexlorcore/Listener.h"
#include "support/Test.h"

namespace {

using namespace VexlorCore;

/// Writes its name into a log and then does what the test wants.
class LoggingListener final : public MListener
{
public:
    LoggingListener(std::string i_name, std::vector<std::string>& io_log)
        : _name(std::move(i_name))
        , _log(io_log)
    {
        StartListening();
    }
    std::function<void()> action;

private:
    void ExecuteSelf(const INotification&) override
    {
        _log.push_back(_name);
        if (const auto wanted = action)
            wanted();
    }
    const std::string _name;
    std::vector<std::string>& _log;
};

using Log = std::vector<std::string>;

class ListenerTest : public testing::Test
{
protected:
    ListenerTest()
    {
        for (const char* name : {"a", "b", "c"}) {
            _listeners.push_back(std::make_unique<LoggingListener>(name, _log));
            _list->Add(_listeners.back().get());
        }
    }
    Log _Send()
    {
        _log.clear();
        _list->Send(SelectionChanged());
        return _log;
    }

    Log _log;
    std::unique_ptr<ListenerList> _list = std::make_unique<ListenerList>();
    std::vector<std::unique_ptr<LoggingListener>> _listeners;
};

TEST_F(ListenerTest, DeliversInOrderToThoseWhoListen)
{
    _list->Add(_listeners[0].get());
    EXPECT_EQ(_Send(), (Log{"a", "b", "c"}));
    _listeners[1]->StopListening();
    EXPECT_EQ(_Send(), (Log{"a", "c"}));
}

TEST_F(ListenerTest, TellsNothingMoreToOneRemovedOrDestroyedMeanwhile)
{
    _listeners[0]->action = [this] {
        _list->Remove(_listeners[0].get());
        _listeners[1].reset();
    };
    EXPECT_EQ(_Send(), (Log{"a", "c"}));
    EXPECT_EQ(_Send(), (Log{"c"}));
}

TEST_F(ListenerTest, SurvivesAListenerThatDestroysItself)
{
    _listeners[1]->action = [this] {
        _listeners[1].reset();
    };
    EXPECT_EQ(_Send(), (Log{"a", "b", "c"}));
    EXPECT_EQ(_Send(), (Log{"a", "c"}));
}

TEST_F(ListenerTest, TellsANewListenerTheNextNotificationOnly)
{
    LoggingListener late("late", _log);
    _listeners[0]->action = [&] {
        _list->Add(&late);
    };
    EXPECT_EQ(_Send(), (Log{"a", "b", "c"}));
    EXPECT_EQ(_Send(), (Log{"a", "b", "c", "late"}));
}

TEST_F(ListenerTest, KeepsOrderWhenOneLeavesAndReturnsInANestedDelivery)
{
    _listeners[0]->action = [this] {
        _listeners[0]->action = {};
        _list->Remove(_listeners[1].get());
        _list->Send(SelectionChanged());
        _list->Add(_listeners[1].get());
    };
    EXPECT_EQ(_Send(), (Log{"a", "a", "c", "c"}));
    EXPECT_EQ(_Send(), (Log{"a", "c", "b"}));
}

TEST_F(ListenerTest, StopsWhenTheListIsDestroyedMeanwhile)
{
    _listeners[0]->action = [this] {
        _list.reset();
    };
    _list->Send(SelectionChanged());
    EXPECT_EQ(_log, (Log{"a"}));
}

} // namespace
