#include "support/HostFixture.h"

#include "tavam/AMXFileWriter.h"
#include "vexlorcore/HeldScene.h"

#include <QCoreApplication>

namespace {

using VexlorCore::DataSet;
using VexlorCore::IJobProgress;
using VexlorCore::UiThread;

/// Calls back in every step of a job.
class CallingDisplay final : public Vexlor::IProgressDisplay
{
public:
    explicit CallingDisplay(std::function<void(const char*)> i_call)
        : _call(std::move(i_call))
    {}
    void Begin(const QString&) override { _call("begin"); }
    void SetProgress(int, const QString&) override { _call("progress"); }
    void End() override { _call("end"); }

private:
    std::function<void(const char*)> _call;
};

/// The provider's calls out: what they may destroy, close or throw.
class ReferenceApiProviderLifeTest : public testing::Test
{
protected:
    ReferenceApiProviderLifeTest()
    {
        _application.CreateDatabase();
        _scene = _OpenScene();
        TavAM::Platform platform;
        platform.SetName(L"loaded");
        platform.GetParts() = {TestSupport::MakePart(L"part")};
        const std::filesystem::path path = _GetDir() / "output.TavAMX";
        TavAM::AMXFileWriter().WriteFile(path, platform);
        _file = QString::fromStdString(path.string()).toStdWString();
        _MakeProvider();
    }

    std::filesystem::path _GetDir() const { return _dir.path().toStdString(); }

    DataSet* _OpenScene()
    {
        DataSet* const scene = _application.GetDatabase()->CreateDataSet();
        _application.GetDatabase()->SetActiveDataSet(scene);
        return scene;
    }

    void _MakeProvider()
    {
        _provider = std::make_unique<Vexlor::ReferenceApiProvider>(_GetDir() / "documents");
        const auto call = [this](const char* ip_name) {
            if (ip_name == _where && std::exchange(_isArmed, false))
                _act();
        };
        _provider->SetProgressDisplay(std::make_shared<CallingDisplay>(call));
        _provider->SetConfirmHandler([call](const auto&, const auto&) {
            call("confirm");
            return true;
        });
        _provider->SetPrepareSceneHandler([call](DataSet&) {
            call("prepare");
            return true;
        });
        _provider->SetUpdateCommandsHandler([call] { call("update"); });
        _provider->SetOpenDocumentHandler([this, call](DataSet&, const auto&) {
            ++_opened;
            call("open");
        });
        _onScene = [call](DataSet*) {
            call("scene");
        };
        _onPlatform = [call](const auto&) {
            call("platform");
        };
        _job = [call](IJobProgress& io_progress) {
            UiThread::Invoke([&] { call("job"); });
            io_progress.SetProgress(50, "");
            UiThread::Invoke([] {}); // until the display has it
            return true;
        };
    }

    void _LoadPlatform(bool i_show_progress = true)
    {
        auto& provider = *_provider;
        provider.LoadPlatformFile(
            _scene, 1, {_file}, {}, [&]() -> IVexlorApiProvider& { return provider; }, _onScene, _onPlatform,
            i_show_progress, false);
    }

    const UiThread _uiThread;
    QTemporaryDir _dir;
    VexlorCore::Application _application;
    DataSet* _scene = nullptr;
    std::wstring _file;
    std::unique_ptr<Vexlor::ReferenceApiProvider> _provider;
    std::function<void(DataSet*)> _onScene;
    std::function<void(std::shared_ptr<TavAM::Platform>)> _onPlatform;
    VexlorCore::Job _job;
    std::string _where;
    bool _isArmed = false;
    std::function<void()> _act;
    int _opened = 0;
};

TEST_F(ReferenceApiProviderLifeTest, MayBeDestroyedByWhateverItCalls)
{
    const QString title = QStringLiteral("Build");
    const std::pair<std::function<void()>, std::vector<const char*>> rows[] = {
        {[&] { EXPECT_TRUE(_provider->RunJob(title, _job)); }, {"begin", "job", "progress", "end"}},
        {[&] { EXPECT_TRUE(_provider->ConfirmSubmission({}, {})); }, {"confirm"}},
        {[&] { EXPECT_TRUE(_provider->PrepareScene(_scene)); }, {"prepare"}},
        {[&] { _provider->InvokeOnUiThread([&] { _provider.reset(); }); }, {"job"}},
        {[&] { _provider->UpdateCommands(), QCoreApplication::processEvents(); }, {"update"}},
        {[&] {
             _provider->OpenProcessorFiles(_scene, {_file, _file});
         },
         {"open"}},
        {[&] {
             _provider->LoadProcessorFiles(_scene, {_file, _file}, 1, _onPlatform, 0);
         },
         {"platform"}},
        {[&] { _LoadPlatform(); }, {"end", "scene", "platform"}},
    };
    _act = [this] {
        _provider.reset();
    };
    for (const auto& [act, calls] : rows)
        for (const char* const call : calls) {
            SCOPED_TRACE(std::to_string(&act - &rows[0].first) + call);
            _MakeProvider();
            _where = call;
            _isArmed = true;
            act();
            EXPECT_FALSE(_provider);
        }
}

TEST_F(ReferenceApiProviderLifeTest, TakesNoOtherSceneForTheOneThatWasClosed)
{
    _act = [this] {
        _application.GetDatabase()->CloseDataSet(_scene);
        // Memory that was freed is often what comes next.
        for (int scene = 0; scene < 10; ++scene)
            _OpenScene();
    };
    const auto load = [&](IJobProgress& io_progress) {
        _provider->LoadProcessorFiles(_scene, {_file}, 1, {}, 0);
        return _job(io_progress);
    };
    const std::pair<std::function<void()>, const char*> rows[] = {
        {[&] {
             _provider->OpenProcessorFiles(_scene, {_file, _file});
         },
         "open"},
        {[&] { _LoadPlatform(); }, "begin"},
        {[&] { _provider->RunJob(QStringLiteral("Build"), load); }, "job"},
    };
    for (const auto& [act, where] : rows) {
        SCOPED_TRACE(where);
        _scene = _OpenScene();
        _opened = 0;
        _where = where;
        _isArmed = true;
        if (where == std::string("job")) {
            EXPECT_NO_THROW(act()) << "what was loaded before is loaded";
        } else {
            EXPECT_THROW(act(), VexlorCore::SceneClosed);
        }
        EXPECT_LE(_opened, 1);
        for (const DataSet* const scene : _application.GetDatabase()->GetDataSets())
            EXPECT_TRUE(scene->GetParts().empty());
    }
}

TEST_F(ReferenceApiProviderLifeTest, SceneHasItsOldPlatformWholeWhenACallbackFails)
{
    _act = [] {
        throw std::runtime_error("refused");
    };
    _scene->GetPlatform().SetName(L"old");
    _scene->GetParts() = {TestSupport::MakePart(L"kept")};
    _scene->SetSelection({_scene->GetParts()[0].GetRevisionId()});
    const auto selection = _scene->GetSelection();
    for (const char* const where : {"scene", "platform"}) {
        _where = where;
        _isArmed = true;
        EXPECT_THAT([&] { _LoadPlatform(); }, ThrowsMessage<std::runtime_error>("refused"));
        EXPECT_EQ(_scene->GetPlatform().GetName(), L"old");
        EXPECT_EQ(_scene->GetParts().size(), 1U);
        EXPECT_EQ(_scene->GetSelection(), selection);
        EXPECT_TRUE(_application.GetOperationManager()->GetHistory().empty());
    }
}

} // namespace
