#include "platform/ProcessorOutput.h"

#include "support/Failures.h"
#include "support/HostFixture.h"
#include "support/ScriptedProvider.h"

namespace {

using namespace MachineService;
using namespace TestSupport;

using Files = std::vector<std::wstring>;
using Log = std::vector<std::string>;

class ProcessorOutputTest : public HostFixture
{
protected:
    int _calls = 0;
    ScriptedProvider _provider{_host.provider};

    void _Load(int i_format, const Files& i_files)
    {
        LoadProcessorOutput(
            _host.scene, static_cast<DataFormat>(i_format), i_files,
            [this]() -> IVexlorApiProvider& { return _provider; },
            [this](const std::shared_ptr<TavAM::Platform>&) { ++_calls; });
    }
};

TEST_F(ProcessorOutputTest, DispatchesByFormatAndLeavesTheCallbackToTheHost)
{
    for (int format = 1; format <= 8; ++format) {
        const std::string what = format <= 5 ? "load " + std::to_string(format) : "open";
        _provider.log.clear();
        _calls = 0;
        _Load(format, {L"a", L"b"});
        _Load(format, {});
        EXPECT_EQ(_provider.log, (Log{what + " a b", what}));
        EXPECT_EQ(_calls, format <= 5 ? 2 : 0);
    }
}

TEST_F(ProcessorOutputTest, RefusesWhatItDoesNotKnowAndAHostThatIsNotThere)
{
    for (const int format : {-1, 0, 9, 1000})
        EXPECT_EQ(GetFailure([&] { _Load(format, {L"a"}); }),
                  (Failure{ErrorCode::UnsupportedOutputFormat, "Unsupported input file format."}));
    EXPECT_TRUE(_provider.log.empty());
    for (const DataFormat format : {DataFormat::Platform, DataFormat::Document})
        EXPECT_THROW(LoadProcessorOutput(_host.scene, format, {}, {}, {}), std::bad_function_call);
}

} // namespace
