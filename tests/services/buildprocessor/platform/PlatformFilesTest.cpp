#include "services/ServiceFixture.h"

#include "buildprocessor/platform/PlatformFiles.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <chrono>

using namespace MachineService;
using namespace MachineService::BuildProcessor;

namespace {

using namespace Testing;

TEST(PlatformFiles, WhatIsToldOfManyPartsCostsInProportionAndCanBeStopped)
{
    constexpr int count = 16'000;
    const ScopedTempDir folder;
    CommandParameters parameters;
    parameters.inputFile = folder.GetAbsoluteDir() / "input.TavAMX";
    auto platform = Testing::MakePlatform({});
    boost::uuids::random_generator makeId;
    const auto box = ToRepresentation(MakeBox(0, 0, 0, 1, 1, 1));
    for (int index = 0; index < count; ++index) {
        platform.GetParts().push_back(MakePart(L"part", box));
        platform.GetParts().back().SetRevisionId(makeId());
        PartParameters told;
        told.globalId = boost::uuids::to_string(platform.GetParts().back().GetRevisionId());
        told.strategies = {{"part", "s" + std::to_string(index)}};
        parameters.parts.push_back(std::move(told));
    }
    parameters.parts.push_back({});
    parameters.parts.back().globalId = "nobody's";
    TavAM::AMXFileWriter().WriteFile(parameters.inputFile, platform);

    const auto measure = [&] {
        const auto begin = std::chrono::steady_clock::now();
        const auto read = ReadPlatform(parameters, {});
        const auto time = std::chrono::steady_clock::now() - begin;
        EXPECT_EQ(read->GetParts().size(), static_cast<std::size_t>(count));
        return std::pair(read, time);
    };
    const auto [told, withParameters] = measure();
    EXPECT_EQ(told->GetParts().back().GetStrategies()->at(L"part"), L"s" + std::to_wstring(count - 1));
    parameters.parts.clear();
    const auto [plain, without] = measure();
    EXPECT_FALSE(plain->GetParts().back().GetStrategies());
    // Looking each part up among all of them takes several times as long as the file does.
    EXPECT_LT(withParameters, 3 * without + std::chrono::milliseconds(200));

    std::stop_source stop;
    stop.request_stop();
    EXPECT_EQ(GetFailure([&] { ReadPlatform(parameters, stop.get_token()); }).code, ErrorCode::ProcessingAborted);
}

} // namespace
