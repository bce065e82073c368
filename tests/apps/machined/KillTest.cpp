#include "apps/machined/KillDriver.h"
#include "support/Test.h"

#include <cstdio>
#include <cstdlib>

namespace {

/// A number of the environment, which tools/torture sets.
unsigned long Get(const char* ip_name, unsigned long i_otherwise)
{
    const char* const text = std::getenv(ip_name);
    return text ? std::strtoul(text, nullptr, 10) : i_otherwise;
}

bool HasEngine()
{
    return std::system("command -v prusa-slicer >/dev/null 2>&1") == 0;
}

TEST(KillTest, ADaemonThatStandsStillIsLostAndItsRunGoesOn)
{
    if (!HasEngine())
        GTEST_SKIP() << "the package prusa-slicer is not installed";
    TestSupport::KillDriver driver(1);
    driver.Prepare();
    if (HasFatalFailure())
        return;
    driver.StandStill();
    driver.Finish();
}

TEST(KillTest, WhateverDiesDuringABuildLeavesAWholeResultOrASentence)
{
    if (!HasEngine())
        GTEST_SKIP() << "the package prusa-slicer is not installed";
    const auto seed = static_cast<std::uint32_t>(Get("KILL_SEED", std::random_device()()));
    std::printf("KILL_SEED=%u\n", seed);
    TestSupport::KillDriver driver(seed);
    driver.Prepare();
    if (HasFatalFailure())
        return;
    const int rounds = static_cast<int>(Get("KILL_ROUNDS", 50));
    for (int round = 0; round < rounds && !HasFailure(); ++round)
        driver.DoRound(round);
    driver.Finish();
    std::printf("%d rounds: %s", rounds, driver.GetFigures().c_str());
}

} // namespace
