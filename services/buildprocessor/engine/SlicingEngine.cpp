#include "buildprocessor/engine/SlicingEngine.h"

#include "buildprocessor/base/Subprocess.h"
#include "buildprocessor/engine/EngineFailure.h"
#include "buildprocessor/engine/EngineSettings.h"
#include "client/interface/ScopedTempDir.h"
#include "contract/Failure.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

namespace MachineService::BuildProcessor {

namespace {

constexpr std::string_view ExportedMark = "Slicing result exported to";

/// Where a stage stands on the way from 0 to 100. The engine's own percentages jump back and forth between parts.
struct Stage
{
    std::string_view text;
    int percent;
};

constexpr std::array FffStages{Stage{"Processing triangulated mesh", 10},
                               Stage{"Generating perimeters", 25},
                               Stage{"Preparing infill", 40},
                               Stage{"Infilling layers", 55},
                               Stage{"Generating support material", 65},
                               Stage{"Generating skirt", 80},
                               Stage{"Exporting G-code", 90}};

/// Throws unless the engine ended by itself, with whatever status.
void CheckExit(const SubprocessResult& i_result, std::chrono::seconds i_deadline)
{
    switch (i_result.end) {
    case SubprocessResult::End::Stopped:
        throw CommunicationException(ErrorCode::ProcessingAborted);
    case SubprocessResult::End::DeadlinePassed:
        Fail(ErrorCode::InternalError, "The slicing engine did not finish within " +
                                           std::to_string(i_deadline.count()) + " seconds and was ended.");
    case SubprocessResult::End::Signalled:
    case SubprocessResult::End::Exited:
        break;
    }
}

/// Empty for a program that ended well.
std::string DescribeEnd(const SubprocessResult& i_result)
{
    if (i_result.end == SubprocessResult::End::Signalled)
        return "The slicing engine was ended by signal " + std::to_string(i_result.code);
    return i_result.code == 0 ? std::string()
                              : "The slicing engine failed with status " + std::to_string(i_result.code);
}

/// "55 => Infilling layers" or " 55% => Rasterizing layers".
void ReportProgress(const std::string& i_line, const EngineRun& i_run, int& io_highest)
{
    const std::size_t arrow = i_line.find(" => ");
    if (arrow == std::string::npos)
        return;
    std::string text = i_line.substr(arrow + 4);
    int percent = io_highest;
    if (i_run.profile.technology == Technology::Sla) {
        percent = std::atoi(i_line.c_str());
    } else {
        for (const Stage& stage : FffStages) {
            if (!text.starts_with(stage.text))
                continue;
            percent = stage.percent;
            // Without what follows, such as a path that means nothing to the user.
            text = stage.text;
            break;
        }
    }
    io_highest = std::clamp(percent, io_highest, 100);
    if (i_run.onProgress)
        i_run.onProgress(io_highest, CleanEngineText(text));
}

} // namespace

std::string FindEngine(const std::optional<std::string>& i_setting)
{
    if (i_setting && !i_setting->empty()) {
        if (access(i_setting->c_str(), X_OK) == 0 && std::filesystem::is_regular_file(*i_setting))
            return *i_setting;
        Fail(ErrorCode::InternalError,
             "The slicing engine '" + *i_setting +
                 "' of the setting engine.path is not a program; correct the setting or install the "
                 "package prusa-slicer and remove it.");
    }
    const char* const path = std::getenv("PATH");
    std::string_view rest = path ? path : "/usr/bin:/bin";
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(':'), rest.size());
        const auto candidate = std::filesystem::path(rest.substr(0, end)) / "prusa-slicer";
        rest.remove_prefix(std::min(end + 1, rest.size()));
        std::error_code ignored;
        if (candidate.is_absolute() && access(candidate.c_str(), X_OK) == 0 &&
            std::filesystem::is_regular_file(candidate, ignored))
            return candidate.string();
    }
    Fail(ErrorCode::InternalError, "The slicing engine was not found: install the package prusa-slicer (for example "
                                   "'apt-get install prusa-slicer') and try again.");
}

std::string GetEngineStamp(const std::string& i_engine)
{
    struct stat info = {};
    if (stat(i_engine.c_str(), &info) != 0)
        Fail(ErrorCode::InternalError, "The slicing engine '" + i_engine + "' cannot be read.");
    return i_engine + '|' + std::to_string(info.st_ino) + '|' + std::to_string(info.st_size) + '|' +
           std::to_string(info.st_mtim.tv_sec) + '|' + std::to_string(info.st_mtim.tv_nsec) + '|' +
           std::to_string(info.st_ctim.tv_sec);
}

void RunEngine(const EngineRun& i_run, std::stop_token i_stop)
{
    const auto settings = i_run.workDir / "settings.ini";
    WriteEngineConfiguration(MakeEngineConfiguration(i_run.profile), settings);
    bool exported = false;
    int highest = 0;
    SubprocessOptions options;
    // Into a pipe the engine would write its progress in one piece at the end. The parts stand where the user put them,
    // also above the bed: nothing is moved.
    options.command = {"stdbuf",
                       "-oL",
                       FindEngine(i_run.enginePath),
                       i_run.profile.technology == Technology::Sla ? "--export-sla" : "--export-gcode",
                       "--dont-arrange",
                       "--no-ensure-on-bed",
                       "--loglevel",
                       "2",
                       "--datadir",
                       (i_run.workDir / "engine").string(),
                       "--load",
                       settings.string(),
                       "--output",
                       i_run.output.string(),
                       i_run.model.string()};
    options.tempDir = i_run.workDir;
    options.deadline = i_run.profile.engineDeadline;
    options.onLine = [&](const std::string& i_line) {
        exported = exported || i_line.starts_with(ExportedMark);
        ReportProgress(i_line, i_run, highest);
    };
    const SubprocessResult result = RunSubprocess(options, i_stop);
    CheckExit(result, i_run.profile.engineDeadline);
    std::string fault = DescribeEnd(result);
    std::error_code ignored;
    if (fault.empty() && (!exported || !std::filesystem::is_regular_file(i_run.output, ignored)))
        fault = "The slicing engine ended without a machine file";
    if (!fault.empty())
        FailWithEngineReason(fault, result.tail, i_run.profile, i_run.parts);
}

std::string GetEngineVersion(const std::optional<std::string>& i_setting, std::stop_token i_stop)
{
    const std::string engine = FindEngine(i_setting);
    const ScopedTempDir workDir;
    constexpr std::chrono::seconds deadline(10);
    constexpr std::string_view mark = "PrusaSlicer-";
    std::string version;
    SubprocessOptions options;
    options.command = {engine, "--help"};
    options.tempDir = workDir.GetAbsoluteDir();
    options.deadline = deadline;
    options.onLine = [&](const std::string& i_line) {
        if (version.empty() && i_line.starts_with(mark))
            version = i_line.substr(mark.size(), i_line.find(' ') - mark.size());
    };
    const SubprocessResult result = RunSubprocess(options, i_stop);
    CheckExit(result, deadline);
    if (const std::string fault = DescribeEnd(result); !fault.empty())
        FailWithEngineReason(fault, result.tail, {}, {});
    if (version.empty())
        Fail(ErrorCode::InternalError, "The slicing engine does not tell its version.");
    return version;
}

} // namespace MachineService::BuildProcessor
