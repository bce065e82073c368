#include "platform/ProcessorOutput.h"

#include "client/interface/CommunicationException.h"

#include "vexlorcore/IVexlorApiProvider.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace MachineService {
namespace {

using ::testing::_;

using OnLoaded = std::function<void(std::shared_ptr<TavAM::Platform>)>;
using Files = std::vector<std::wstring>;

class MockProvider : public IVexlorApiProvider
{
public:
    MOCK_METHOD(bool, RunJobWithTitle, (const QString&, const VexlorCore::Job&), (override));
    MOCK_METHOD(bool, RunJob, (const QString&, const VexlorCore::Job&), (override));
    MOCK_METHOD(bool, ConfirmSubmission, (const QString&, const QString&), (override));
    MOCK_METHOD(void, InvokeOnUiThread, (const std::function<void()>&), (override));
    MOCK_METHOD(void, UpdateCommands, (), (override));
    MOCK_METHOD(void, SaveProcessorInput, (VexlorCore::DataSet*, std::int32_t, const std::filesystem::path&),
                (override));
    MOCK_METHOD(bool, PrepareScene, (VexlorCore::DataSet*), (override));
    MOCK_METHOD(void, LoadProcessorFiles,
                (VexlorCore::DataSet*, const Files&, const std::int32_t&, OnLoaded, std::int32_t), (override));
    MOCK_METHOD(void, OpenProcessorFiles, (VexlorCore::DataSet*, const Files&), (override));
    MOCK_METHOD(void, LoadPlatformFile,
                (VexlorCore::DataSet*, std::int32_t, const Files&, const QString&, std::function<IVexlorApiProvider&()>,
                 std::function<void(VexlorCore::DataSet*)>, OnLoaded, bool, bool),
                (override));
};

class ProcessorOutputTest : public ::testing::TestWithParam<int>
{
protected:
    // Only passed on, never looked into.
    VexlorCore::DataSet* const _dataSet = reinterpret_cast<VexlorCore::DataSet*>(this);
    ::testing::StrictMock<MockProvider> _provider;
    int _calls = 0;

    void _Load(const Files& i_files)
    {
        LoadProcessorOutput(
            _dataSet, static_cast<DataFormat>(GetParam()), i_files,
            [this]() -> IVexlorApiProvider& { return _provider; },
            [this](std::shared_ptr<TavAM::Platform>) { ++_calls; });
    }
};

TEST_P(ProcessorOutputTest, DispatchesByFormat)
{
    const int format = GetParam();
    for (const Files& files : {Files{L"a", L"\u00e4"}, Files{}}) {
        if (format >= 1 && format <= 5)
            EXPECT_CALL(_provider, LoadProcessorFiles(_dataSet, files, format, _, 0))
                .WillOnce([](VexlorCore::DataSet*, const Files&, const std::int32_t&, const OnLoaded& i_on_loaded,
                             std::int32_t) { i_on_loaded(nullptr); });
        else if (format >= 6 && format <= 8)
            EXPECT_CALL(_provider, OpenProcessorFiles(_dataSet, files));

        _calls = 0;
        if (format >= 1 && format <= 8) {
            _Load(files);
            EXPECT_EQ(format <= 5 ? 1 : 0, _calls) << "the callback is the host's to call";
            continue;
        }
        try {
            _Load(files);
            ADD_FAILURE() << "format " << format << " was accepted";
        } catch (const CommunicationException& exception) {
            EXPECT_EQ(ErrorCode::UnsupportedOutputFormat, exception.code());
            EXPECT_STREQ("Unsupported input file format.", exception.what());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, ProcessorOutputTest, ::testing::Values(-1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 1000));

TEST(ProcessorOutput, NeedsAProviderAndReleasesTheCallbackOnEveryPath)
{
    const auto guard = std::make_shared<int>();
    for (const DataFormat format : {DataFormat::Platform, DataFormat::Document, DataFormat::None}) {
        const auto on_loaded = [guard](std::shared_ptr<TavAM::Platform>) {
        };
        if (format == DataFormat::None)
            EXPECT_THROW(LoadProcessorOutput(nullptr, format, {}, {}, on_loaded), CommunicationException);
        else
            EXPECT_THROW(LoadProcessorOutput(nullptr, format, {}, {}, on_loaded), std::bad_function_call);
    }
    EXPECT_EQ(1, guard.use_count());
}

} // namespace
} // namespace MachineService
