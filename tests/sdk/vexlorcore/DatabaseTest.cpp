#include "vexlorcore/Database.h"
#include "support/Test.h"

#include "vexlorcore/Application.h"

namespace {

using namespace VexlorCore;

/// Names the kinds of notifications that it hears.
class KindListener final : public MListener
{
public:
    KindListener() { StartListening(); }
    std::vector<std::string> Take() { return std::exchange(_kinds, {}); }
    std::function<void(const std::string& i_kind)> on;

private:
    void ExecuteSelf(const INotification& i_notification) override
    {
        if (dynamic_cast<const DataSetActivated*>(&i_notification))
            _kinds.emplace_back("activated");
        else if (dynamic_cast<const DataSetCopied*>(&i_notification))
            _kinds.emplace_back("copied");
        else if (dynamic_cast<const DataSetClosing*>(&i_notification))
            _kinds.emplace_back("closing");
        else if (dynamic_cast<const SelectionChanged*>(&i_notification))
            _kinds.emplace_back("selection");
        else if (dynamic_cast<const BeforeExecuteOperation*>(&i_notification))
            _kinds.emplace_back("before");
        else if (dynamic_cast<const AfterExecuteOperation*>(&i_notification))
            _kinds.emplace_back("after");
        else if (const auto* completed = dynamic_cast<const OperationCompleted*>(&i_notification))
            _kinds.emplace_back(completed->HasDatabaseAction(DatabaseAction::PlatformChanged) ? "completed 4096"
                                                                                              : "completed");
        if (on)
            on(_kinds.back());
    }
    std::vector<std::string> _kinds;
};

using Kinds = std::vector<std::string>;

class DatabaseTest : public testing::Test
{
protected:
    DatabaseTest()
    {
        _application.CreateDatabase().AddListener(&_listener);
        _application.GetOperationManager()->AddListener(&_listener);
    }
    Application _application;
    KindListener _listener;
};

TEST_F(DatabaseTest, AnnouncesWhatHappensToScenes)
{
    auto& database = *_application.GetDatabase();
    auto* scene = database.CreateDataSet();
    database.SetActiveDataSet(scene);
    database.SetActiveDataSet(scene);
    EXPECT_EQ(_listener.Take(), Kinds{"activated"});

    scene->GetParts().emplace_back();
    scene->SetFileName(L"/a/b.TavAMX");
    scene->GetPropertyCollection().Set(L"k", std::make_unique<SimplePropertyValue<int, 1>>(7));
    scene->SetSelection({scene->GetParts()[0].GetRevisionId()});
    EXPECT_EQ(_listener.Take(), Kinds{"selection"});

    auto* copy = database.CopyDataSet(scene);
    EXPECT_EQ(_listener.Take(), Kinds{"copied"});
    EXPECT_EQ(copy->GetParts().size(), 1U);
    EXPECT_EQ(copy->GetFileName(), L"/a/b.TavAMX");
    auto* value = dynamic_cast<SimplePropertyBase<int>*>(copy->GetPropertyCollection().Get(L"k"));
    ASSERT_TRUE(value);
    value->SetValue(8);
    EXPECT_EQ(dynamic_cast<SimplePropertyBase<int>*>(scene->GetPropertyCollection().Get(L"k"))->GetValue(), 7);

    scene->SetPlatform({});
    EXPECT_TRUE(scene->GetSelection().empty());
    EXPECT_EQ(_listener.Take(), Kinds{"selection"});

    const auto kept = scene->shared_from_this();
    database.CloseDataSet(scene);
    database.CloseDataSet(scene);
    EXPECT_EQ(_listener.Take(), (Kinds{"closing", "activated"}));
    EXPECT_EQ(database.GetActiveDataSet(), nullptr);
    EXPECT_FALSE(database.Contains(scene));
    EXPECT_EQ(kept->GetDatabase(), nullptr);
    EXPECT_THROW(database.SetActiveDataSet(scene), std::invalid_argument);
}

TEST_F(DatabaseTest, ExecutesUndoesAndPurgesOperations)
{
    auto& operations = *_application.GetOperationManager();
    int value = 0;
    const auto set = [&](int i_to) {
        operations.Execute(
            L"set", 4096, [&, i_to] { value = i_to; }, [&, i_from = value] { value = i_from; });
    };
    set(1);
    EXPECT_EQ(_listener.Take(), (Kinds{"before", "after", "completed 4096"}));
    set(2);
    set(3);
    operations.PurgeLastOperation();
    EXPECT_EQ(value, 3);
    EXPECT_THROW(operations.Execute(L"bad", 1, [] { throw std::out_of_range("x"); }), std::out_of_range);
    EXPECT_EQ(operations.GetHistory().size(), 2U);
    _listener.Take();
    EXPECT_THROW(operations.Execute(L"bad", 1, [] { throw std::out_of_range("x"); }), std::out_of_range);
    EXPECT_EQ(_listener.Take(), (Kinds{"before", "after"}));
    EXPECT_TRUE(operations.Undo());
    EXPECT_EQ(value, 1);
    EXPECT_TRUE(operations.Undo());
    EXPECT_FALSE(operations.Undo());
    EXPECT_EQ(value, 0);
}

TEST_F(DatabaseTest, MayBeClosedByWhateverItTellsOrRuns)
{
    const auto close = [this] {
        _application.CloseDatabase();
    };
    const auto nothing = [] {
    };
    const auto fail = [&] {
        close();
        throw std::out_of_range("x");
    };
    using Operations = OperationManagerBase;
    const std::tuple<const char*, const char*, std::function<void(Database&, Operations&)>> rows[] = {
        {"copying", "copied",
         [](Database& io_database, Operations&) {
             EXPECT_EQ(io_database.CopyDataSet(io_database.CreateDataSet()), nullptr);
         }},
        {"closing", "closing",
         [](Database& io_database, Operations&) {
             io_database.CloseDataSet(io_database.CreateDataSet());
         }},
        {"before", "before",
         [](Database&, Operations& io_operations) {
             EXPECT_THROW(io_operations.Execute(L"a", 1, [] { FAIL(); }), std::runtime_error);
         }},
        {"during", "",
         [&](Database&, Operations& io_operations) {
             io_operations.Execute(L"a", 1, close);
         }},
        {"failing", "",
         [&](Database&, Operations& io_operations) {
             EXPECT_THROW(io_operations.Execute(L"a", 1, fail), std::out_of_range);
         }},
        {"after", "after",
         [&](Database&, Operations& io_operations) {
             io_operations.Execute(L"a", 1, nothing);
         }},
        {"completed", "completed",
         [&](Database&, Operations& io_operations) {
             io_operations.Execute(L"a", 1, nothing);
         }},
        {"undoing", "",
         [&](Database&, Operations& io_operations) {
             io_operations.Execute(L"a", 1, nothing, close);
             EXPECT_TRUE(io_operations.Undo());
         }},
    };
    for (const auto& [name, kind, act] : rows) {
        SCOPED_TRACE(name);
        KindListener listener;
        listener.on = [&, wanted = std::string(kind)](const std::string& i_kind) {
            if (i_kind == wanted)
                close();
        };
        close();
        _application.CreateDatabase().AddListener(&listener);
        _application.GetOperationManager()->AddListener(&listener);
        act(*_application.GetDatabase(), *_application.GetOperationManager());
        EXPECT_EQ(_application.GetDatabase(), nullptr);
    }
}

} // namespace
