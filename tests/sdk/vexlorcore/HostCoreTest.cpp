#include "tavam/FileError.h"
#include "vexlorcore/Application.h"
#include "vexlorcore/Base64.h"
#include "vexlorcore/ScopedTemporaryFile.h"
#include "vexlorcore/Time.h"

#include <gtest/gtest.h>

#include <QString>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace {

using namespace VexlorCore;

TEST(TimeTest, WritesAndReadsIso8601)
{
    const std::pair<long long, const wchar_t*> rows[] = {
        {0, L"1970-01-01T00:00:00Z"},
        {951'827'696, L"2000-02-29T12:34:56Z"},
        {-62'135'596'800, L"0001-01-01T00:00:00Z"},
        {253'402'300'799, L"9999-12-31T23:59:59Z"},
    };
    for (const auto& [seconds, text] : rows) {
        EXPECT_EQ(GetUtcTimeAsIso8601WString(seconds), text);
        EXPECT_EQ(GetUtcTimeFromIso8601String(text), seconds);
    }
    EXPECT_EQ(GetUtcTimeFromIso8601String(L"2000-02-29T14:34:56.789+02:00"), 951'827'696);
    EXPECT_EQ(GetUtcTimeFromIso8601String(L"2000-02-29T10:04:56-02:30"), 951'827'696);
    EXPECT_THROW(GetUtcTimeAsIso8601WString(253'402'300'800), std::out_of_range);
    for (const auto* text :
         {L"", L"2000-02-30T00:00:00Z", L"2000-02-29T24:00:00Z", L"2000-02-29T12:34:56", L"2000-02-29T12:34:56Zx",
          L"2000-02-29T12:34:56.Z", L"2000-2-29T12:34:56Z", L"0000-01-01T00:00:00Z"})
        EXPECT_THROW(GetUtcTimeFromIso8601String(text), std::invalid_argument) << std::wstring(text).size();
}

TEST(Base64Test, AcceptsOnlyWhatItWouldWrite)
{
    std::string bytes;
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(DecodeBase64(EncodeBase64(bytes)), bytes);
        bytes += static_cast<char>(255 - i);
    }
    EXPECT_EQ(EncodeBase64("light w"), "bGlnaHQgdw==");
    EXPECT_EQ(DecodeBase64("bGln\r\naHQg\tdw==\n"), "light w");
    for (const auto* text : {"bGlnaHQgdw=", "bGlnaHQgdw", "bGlnaHQgdx==", "bGl=aHQg", "bG ln", "bGl-", "=", "ab==cd=="})
        EXPECT_FALSE(DecodeBase64(text)) << text;
}

TEST(ScopedTemporaryFileTest, IsPrivateWhateverTheUmaskAndGoesWithTheObject)
{
    const auto former = ::umask(0777);
    std::filesystem::path path;
    {
        const ScopedTemporaryFile file(L"Plattform ü", L".TavAMX");
        path = QString::fromStdWString(file.GetPath()).toStdString();
        struct stat status = {};
        ASSERT_EQ(::stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0600U);
        EXPECT_EQ(path.extension(), ".TavAMX");
        EXPECT_NE(ScopedTemporaryFile(L"Plattform ü", L".TavAMX").GetPath(), file.GetPath());
    }
    ::umask(former);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_THROW(ScopedTemporaryFile(L"../x", L".xml"), std::invalid_argument);
}

/// Names the kinds of notifications that it hears.
class KindListener final : public MListener
{
public:
    KindListener() { StartListening(); }
    std::vector<std::string> Take() { return std::exchange(_kinds, {}); }

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
    }
    std::vector<std::string> _kinds;
};

using Kinds = std::vector<std::string>;

class DatabaseTest : public ::testing::Test
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

} // namespace
