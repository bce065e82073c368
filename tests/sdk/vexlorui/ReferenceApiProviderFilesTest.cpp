#include "support/Files.h"
#include "support/HostFixture.h"
#include "support/Texts.h"
#include "tavam/AMXFileReader.h"
#include "tavam/AMXFileWriter.h"
#include "tavam/FileError.h"
#include "tavam/PropertyNames.h"
#include "vexlorcore/SceneFile.h"

#include <QFile>
#include <QTimer>

#include <boost/uuid/uuid_io.hpp>

#include <chrono>
#include <stdexcept>
#include <sys/stat.h>

namespace {

namespace Names = TavAM::PropertyNames::Print3D;
using TestSupport::MakePart;
using TestSupport::ReadFile;

class ReferenceApiProviderFilesTest : public TestSupport::HostFixture
{
protected:
    ReferenceApiProviderFilesTest()
    {
        auto& platform = _host.scene->GetPlatform();
        platform.SetName(L"Plattform");
        platform.GetAMXProperties().SetText(Names::SelectedQueueID, L"attached");
        platform.GetAMXProperties().SetText(L"own", L"kept");
        platform.GetParts() = {MakePart(L"first"), MakePart(L"second", 20)};
        platform.GetParts()[0].SetStrategies(TavAM::Part::Strategies{{L"part", L"old"}});
        platform.GetParts()[0].GetAMXProperties().SetText(L"own", L"kept");
    }

    /// What a machine would make of the first part, beside a part that the scene does not know.
    TavAM::Platform _MakeOutput() const
    {
        TavAM::Platform output;
        output.SetName(L"processed");
        output.GetAMXProperties().SetText(Names::LayerCount, L"12");
        auto first = _host.scene->GetParts()[0];
        first.SetName(L"renamed");
        first.SetPlacement(TavAM::Transform::Translation(1, 2, 3));
        first.SetStrategies(TavAM::Part::Strategies{{L"part", L"new"}});
        first.GetAMXProperties(true).SetText(Names::LayerCount, L"7");
        output.GetParts() = {first, MakePart(L"unknown", 50)};
        return output;
    }

    std::wstring _Write(const std::string& i_name, const TavAM::Platform& i_platform)
    {
        const auto path = _host.GetDir() / i_name;
        TavAM::AMXFileWriter().WriteFile(path, i_platform);
        return QString::fromStdString(path.string()).toStdWString();
    }

    void _Load(const std::vector<std::wstring>& i_files, std::int32_t i_kind,
               const std::function<void(std::shared_ptr<TavAM::Platform>)>& i_callback = {})
    {
        _host.provider.RunJob(QStringLiteral("load"), [&](VexlorCore::IJobProgress&) {
            _host.provider.LoadProcessorFiles(_host.scene, i_files, i_kind, i_callback, 0);
            return true;
        });
    }

    std::vector<std::wstring> _GetNames() const
    {
        std::vector<std::wstring> names;
        for (const auto& part : _host.scene->GetParts())
            names.push_back(part.GetName());
        return names;
    }

    /// Everything that loading could change, as text.
    std::string _Describe()
    {
        const auto path = _host.GetDir() / "description.xml";
        _host.provider.SaveProcessorInput(_host.scene, 8, path);
        return ReadFile(path);
    }
};

TEST_F(ReferenceApiProviderFilesTest, TakesInWhatTheImportKindNamesAndCanUndoIt)
{
    const auto file = _Write("output.TavAMX", _MakeOutput());
    const struct
    {
        std::int32_t kind;
        std::vector<std::wstring> names;
        bool isPlaced;
        bool hasFigures;
        bool hasStrategy;
    } rows[] = {
        {1, {L"renamed", L"second", L"unknown"}, true, true, true},
        {2, {L"first", L"second"}, true, false, false},
        {3, {L"first", L"second"}, false, true, false},
        {4, {L"first", L"second"}, false, false, true},
        {5, {L"first", L"second", L"renamed", L"unknown"}, false, false, false},
    };
    const auto former = _Describe();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.kind);
        int platforms = 0;
        _Load({file}, row.kind, [&](const std::shared_ptr<TavAM::Platform>& i_platform) {
            EXPECT_EQ(i_platform->GetName(), L"processed");
            EXPECT_TRUE(VexlorCore::UiThread::IsCurrent());
            ++platforms;
        });
        EXPECT_EQ(platforms, 1);
        EXPECT_EQ(_GetNames(), row.names);
        auto& platform = _host.scene->GetPlatform();
        const auto& first = platform.GetParts()[0];
        EXPECT_EQ(first.GetPlacement() == TavAM::Transform::Translation(1, 2, 3), row.isPlaced);
        EXPECT_EQ(first.GetAMXProperties().GetText(Names::LayerCount) == L"7", row.hasFigures);
        EXPECT_EQ(platform.GetAMXProperties().GetText(Names::LayerCount) == L"12", row.hasFigures);
        EXPECT_EQ(first.GetStrategies()->at(L"part") == L"new", row.hasStrategy);
        EXPECT_EQ(platform.GetAMXProperties().GetText(Names::SelectedQueueID), L"attached");
        EXPECT_EQ(first.GetAMXProperties().Has(L"own"), row.kind != 1);
        EXPECT_NE(platform.GetParts()[0].GetRevisionId(), platform.GetParts().back().GetRevisionId());
        EXPECT_EQ(platform.FindPart(first.GetRevisionId()), &first);
        ASSERT_EQ(_host.application.GetOperationManager()->GetHistory().size(), 1U);
        EXPECT_TRUE(_host.application.GetOperationManager()->Undo());
        EXPECT_EQ(_Describe(), former);
    }
}

TEST_F(ReferenceApiProviderFilesTest, LeavesTheAttachmentAsItIsByNow)
{
    auto output = _MakeOutput();
    output.GetAMXProperties().SetText(Names::SelectedQueueID, L"other");
    output.GetAMXProperties().SetText(Names::MachineInformationTimestamp, L"then");
    const auto file = _Write("output.TavAMX", output);
    auto& scene = *_host.scene;
    for (const std::int32_t kind : {1, 3}) {
        scene.GetPlatform().GetAMXProperties().SetText(Names::SelectedQueueID, L"attached");
        _Load({file}, kind);
        EXPECT_EQ(scene.GetPlatform().GetAMXProperties().GetText(Names::SelectedQueueID), L"attached");
        EXPECT_FALSE(scene.GetPlatform().GetAMXProperties().Has(Names::MachineInformationTimestamp));
        // Detached after loading: undoing the load does not attach again.
        scene.GetPlatform().GetAMXProperties().Remove(Names::SelectedQueueID);
        EXPECT_TRUE(_host.application.GetOperationManager()->Undo());
        EXPECT_FALSE(scene.GetPlatform().GetAMXProperties().Has(Names::SelectedQueueID));
    }
}

TEST_F(ReferenceApiProviderFilesTest, LeavesTheSceneAloneWhenAnythingFails)
{
    const auto good = _Write("good.TavAMX", _MakeOutput());
    const auto bad = QString::fromStdString((_host.GetDir() / "bad.TavAMX").string()).toStdWString();
    std::ofstream(_host.GetDir() / "bad.TavAMX") << "not a package";
    const auto former = _Describe();
    EXPECT_THROW(_Load({good, bad}, 1), TavAM::FileError);
    EXPECT_THROW(_Load({good, bad}, 5), TavAM::FileError);
    EXPECT_THROW(_Load({good}, 6), std::runtime_error);
    _Load({}, 1);
    EXPECT_EQ(_Describe(), former);
    EXPECT_TRUE(_host.application.GetOperationManager()->GetHistory().empty());
}

TEST_F(ReferenceApiProviderFilesTest, StopsWhileMeshesAreReadAndLeavesTheSceneAlone)
{
    const auto slow = _host.GetDir() / "slow.obj";
    TestSupport::WriteFile(slow, TestSupport::MakeSlowObj());
    const auto former = _Describe();
    std::chrono::steady_clock::time_point cancelled;
    QTimer::singleShot(50, [&] {
        cancelled = std::chrono::steady_clock::now();
        _host.provider.CancelCurrentJob();
    });
    EXPECT_THROW(_Load({_Write("good.TavAMX", _MakeOutput()), QString::fromStdString(slow.string()).toStdWString()}, 5),
                 VexlorCore::JobCancelled);
    EXPECT_LT(std::chrono::steady_clock::now() - cancelled, std::chrono::seconds(5));
    EXPECT_EQ(_Describe(), former);
}

TEST_F(ReferenceApiProviderFilesTest, SaysThatTheSceneWasClosed)
{
    const auto file = _Write("output.TavAMX", _MakeOutput());
    auto* scene = _host.scene;
    _host.GetDatabase().CloseDataSet(scene);
    const auto any = [](const std::shared_ptr<TavAM::Platform>&) {
        ADD_FAILURE();
    };
    const std::function<void()> calls[] = {
        [&] { _host.provider.LoadProcessorFiles(scene, {file}, 1, any, 0); },
        [&] { _host.provider.LoadPlatformFile(scene, 1, {file}, {}, _host.GetProviderGetter(), {}, any, true, false); },
        [&] { _host.provider.OpenProcessorFiles(scene, {file}); },
        [&] { _host.provider.SaveProcessorInput(scene, 1, _host.GetDir() / "x.TavAMX"); },
        [&] { _host.provider.PrepareScene(scene); },
    };
    for (const auto& call : calls) {
        EXPECT_THAT(call, ThrowsMessage<std::runtime_error>("The scene was closed."));
    }
    EXPECT_FALSE(std::filesystem::exists(_host.GetDir() / "documents"));
    EXPECT_FALSE(std::filesystem::exists(_host.GetDir() / "x.TavAMX"));
}

TEST_F(ReferenceApiProviderFilesTest, SavesTheSceneInTheFormOfTheFormat)
{
    for (std::int32_t format = 1; format <= 5; ++format) {
        const auto path = _host.GetDir() / "input.TavAMX";
        _host.provider.SaveProcessorInput(_host.scene, format, path);
        TavAM::Database database;
        TavAM::AMXFileReader reader;
        ASSERT_TRUE(reader.ReadFile(path, database)) << reader.GetError();
        EXPECT_EQ(database.GetPlatform(0)->GetParts().size(), 2U);
    }
    auto& part = _host.scene->GetParts()[1];
    part.SetName(L"<Winkel> \x05\x4e2d");
    part.SetHasSupports(true);
    part.SetStrategies(TavAM::Part::Strategies{{L"support", L"fine"}});
    part.GetAMXProperties().SetUndefined(L"later");
    const auto path = _host.GetDir() / "input.xml";
    _host.provider.SaveProcessorInput(_host.scene, 6, path);
    for (const std::string& text : {"<Part id=\"" + boost::uuids::to_string(part.GetRevisionId()) +
                                        "\" name=\"&lt;Winkel&gt; \xEF\xBF\xBD\xE4\xB8\xAD\" supports=\"true\"",
                                    std::string(">1 0 0 20 0 1 0 0 0 0 1 0</Placement>"),
                                    std::string("<BoundingBox min=\"20 0 0\" max=\"30 10 10\""),
                                    std::string("<Strategy role=\"support\" id=\"fine\""),
                                    std::string("<Property name=\"later\" undefined=\"true\"")})
        EXPECT_THAT(ReadFile(path), HasSubstr(text));
    struct stat status = {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    for (const std::int32_t format : {-1, 0, 9})
        EXPECT_THROW(_host.provider.SaveProcessorInput(_host.scene, format, path), std::runtime_error);
    EXPECT_THROW(_host.provider.SaveProcessorInput(_host.scene, 6, _host.GetDir() / "no" / "input.xml"),
                 TavAM::FileError);
}

TEST_F(ReferenceApiProviderFilesTest, CopiesDocumentsUnderFreeSafeNames)
{
    std::vector<std::filesystem::path> opened;
    _host.provider.SetOpenDocumentHandler([&](VexlorCore::DataSet& i_scene, const std::filesystem::path& i_path) {
        EXPECT_EQ(&i_scene, _host.scene);
        opened.push_back(i_path);
    });
    const auto source = _host.GetDir() / "source";
    std::filesystem::create_directory(source);
    const auto write = [&](const QString& i_name, const char* ip_text) {
        QFile file(QString::fromStdString(source.string()) + QLatin1Char('/') + i_name);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(ip_text);
        return file.fileName().toStdWString();
    };
    const auto report = write(QStringLiteral("report.txt"), "one");
    _host.provider.OpenProcessorFiles(_host.scene, {report});
    write(QStringLiteral("report.txt"), "two");
    _host.provider.OpenProcessorFiles(_host.scene,
                                      {report, write(QStringLiteral(".\u202Egpj.<x>"), "three"),
                                       write(QString(120, QChar(0x4e2d)).left(80) + QStringLiteral(".html"), "four")});
    ASSERT_EQ(opened.size(), 4U);
    EXPECT_EQ(opened[0].filename(), "report.txt");
    EXPECT_EQ(ReadFile(opened[0]), "one");
    EXPECT_EQ(opened[1].filename(), "report (2).txt");
    EXPECT_EQ(ReadFile(opened[1]), "two");
    EXPECT_EQ(opened[2].filename(), "gpj._x_");
    EXPECT_LE(opened[3].filename().string().size(), 200U);
    EXPECT_EQ(opened[3].extension(), ".html");

    // One that is missing or no file: none is copied.
    std::filesystem::create_symlink("/etc/passwd", source / "link.txt");
    for (const auto& bad : {source / "missing.txt", source / "link.txt", source})
        EXPECT_THROW(_host.provider.OpenProcessorFiles(_host.scene,
                                                       {report, QString::fromStdString(bad.string()).toStdWString()}),
                     TavAM::FileError);
    const std::filesystem::directory_iterator documents(_host.GetDir() / "documents");
    EXPECT_EQ(std::distance(begin(documents), end(documents)), 4);
    EXPECT_EQ(opened.size(), 4U);
}

TEST_F(ReferenceApiProviderFilesTest, LoadsAPlatformIntoTheSceneAsAWhole)
{
    const auto file = _Write("output.TavAMX", _MakeOutput());
    for (const bool keepParts : {false, true}) {
        for (const bool showProgress : {false, true}) {
            std::string order;
            _host.provider.LoadPlatformFile(
                _host.scene, 1, {file}, QStringLiteral("load"), _host.GetProviderGetter(),
                [&](VexlorCore::DataSet* ip_scene) { order += ip_scene == _host.scene ? "scene " : "other "; },
                [&](const std::shared_ptr<TavAM::Platform>&) { order += "platform"; }, showProgress, keepParts);
            EXPECT_EQ(order, "scene platform");
            EXPECT_EQ(_host.scene->GetPlatform().GetName(), L"processed");
            EXPECT_EQ(_GetNames(), keepParts ? (std::vector<std::wstring>{L"first", L"second", L"unknown"})
                                             : (std::vector<std::wstring>{L"renamed", L"unknown"}));
            EXPECT_TRUE(_host.application.GetOperationManager()->GetHistory().back().actions & 4096U);
            EXPECT_TRUE(_host.application.GetOperationManager()->Undo());
            EXPECT_EQ(_GetNames(), (std::vector<std::wstring>{L"first", L"second"}));
        }
    }
    EXPECT_THROW(_host.provider.LoadPlatformFile(_host.scene, 1, {file, file}, {}, {}, {}, {}, false, false),
                 TavAM::FileError);
    EXPECT_THROW(_host.provider.LoadPlatformFile(_host.scene, 6, {file}, {}, {}, {}, {}, false, false),
                 std::runtime_error);
}

} // namespace
