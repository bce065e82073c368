#include "support/HostFixture.h"
#include "vexlorui/ActiveSceneContext.h"
#include "vexlorui/BaseCommandsStorage.h"

namespace {

using namespace Vexlor::UICommands;

class TestCommand final : public UiCommand
{
public:
    explicit TestCommand(const QString& i_id)
        : UiCommand(i_id, {}, nullptr)
    {}

private:
    bool _ExecUiCommand() override { return true; }
    void _UpdateUiCommand(const UpdatableContext& i_context) override
    {
        SetEnabled(i_context.HasPartsOnActiveDataSet() || i_context.HasSlicesOnActiveDataSet() ||
                   i_context.HasHybridCorePartsOnActiveDataSet());
    }
};

class TestStorage final : public BaseCommandsStorage<TestCommand>
{
public:
    using BaseCommandsStorage::_BeginCommandsUpdate;
    using BaseCommandsStorage::_EndCommandsUpdate;
    using BaseCommandsStorage::_GetBlockDepth;
    void InitProductFeatures(const QSet<QString>&, const QMap<QString, QStringList>&) override {}
};

using Log = std::vector<std::string>;

class CommandsStorageTest : public testing::Test
{
protected:
    CommandsStorageTest()
    {
        _Listen("factory ", static_cast<AbstractCommandsFactory*>(&_storage));
        _Listen("container ", &_storage.GetContainer());
    }

    template <class T>
    void _Listen(const std::string& i_who, T* ip_sender)
    {
        const auto log = [this, i_who](const char* ip_what) {
            return [this, text = i_who + ip_what](const QSet<QString>& i_ids) {
                QStringList ids = i_ids.values();
                ids.sort();
                _log.push_back(text + ' ' + ids.join(QLatin1Char(',')).toStdString() + " of " +
                               std::to_string(_storage.GetAllCommands().size()));
            };
        };
        QObject::connect(ip_sender, &T::BeforeCommandsAdded, &_context, log("+?"));
        QObject::connect(ip_sender, &T::CommandsAdded, &_context, log("+"));
        QObject::connect(ip_sender, &T::BeforeCommandsRemoved, &_context, log("-?"));
        QObject::connect(ip_sender, &T::CommandsRemoved, &_context, log("-"));
    }

    bool _Add(const char* ip_id) { return _storage.AddCommand(std::make_shared<TestCommand>(QLatin1String(ip_id))); }
    Log _Take() { return std::exchange(_log, {}); }

    TestStorage _storage;
    QObject _context;
    Log _log;
};

TEST_F(CommandsStorageTest, AnnouncesAdditionsOnceToEachSide)
{
    EXPECT_TRUE(_Add("a"));
    EXPECT_THAT(_Take(), UnorderedElementsAre("container +? a of 0", "factory +? a of 0", "container + a of 1",
                                              "factory + a of 1"));
    auto* first = _storage.GetCommand(QStringLiteral("a"));
    ASSERT_TRUE(first);
    EXPECT_FALSE(_Add("a"));
    EXPECT_FALSE(_storage.AddCommand(nullptr));
    EXPECT_EQ(_Take(), Log{});
    EXPECT_EQ(_storage.GetCommand(QStringLiteral("a")), first);
    EXPECT_EQ(_storage.GetCommand(QStringLiteral("b")), nullptr);
}

TEST_F(CommandsStorageTest, AnnouncesRemovalsEvenOfWhatIsNotThereAndClearingOnlyOfSomething)
{
    _storage.Clear();
    EXPECT_EQ(_Take(), Log{});
    _Add("a");
    _Add("b");
    _Take();
    _storage.RemoveCommand(QStringLiteral("x"));
    EXPECT_THAT(_Take(), UnorderedElementsAre("container -? x of 2", "factory -? x of 2", "container - x of 2",
                                              "factory - x of 2"));
    _storage.Clear();
    EXPECT_THAT(_Take(), UnorderedElementsAre("container -? a,b of 2", "factory -? a,b of 2", "container - a,b of 0",
                                              "factory - a,b of 0"));
}

TEST_F(CommandsStorageTest, IsSilentAsFactoryWithinBracketsThatNest)
{
    _storage._BeginCommandsUpdate();
    {
        const BaseCommandsStorageScopedSignalBlocker blocker(_storage._GetBlockDepth());
        _storage._BeginCommandsUpdate();
        _Add("a");
        _storage._EndCommandsUpdate();
    }
    _Add("b");
    EXPECT_EQ(_Take(), (Log{"container +? a of 0", "container + a of 1", "container +? b of 1", "container + b of 2"}));
    _storage._EndCommandsUpdate();
    _storage._EndCommandsUpdate();
    _storage.RemoveCommand(QStringLiteral("a"));
    EXPECT_EQ(_Take().size(), 4U);
}

TEST(ActiveSceneContextTest, ReportsWhatTheActiveSceneHolds)
{
    TestSupport::Host host;
    const ActiveSceneContext context;
    TestCommand command(QStringLiteral("a"));
    const auto isEnabled = [&] {
        command.Update(context);
        return command.IsEnabled();
    };
    EXPECT_FALSE(isEnabled());
    host.scene->SetSliceStackCount(1);
    EXPECT_TRUE(isEnabled());
    host.scene->SetSliceStackCount(0);
    host.scene->SetHybridCorePartCount(1);
    EXPECT_TRUE(isEnabled());
    host.scene->SetHybridCorePartCount(0);
    host.scene->GetParts().push_back(TestSupport::MakePart(L"a"));
    EXPECT_TRUE(isEnabled());
    host.GetDatabase().SetActiveDataSet(nullptr);
    EXPECT_FALSE(isEnabled());
}

} // namespace
