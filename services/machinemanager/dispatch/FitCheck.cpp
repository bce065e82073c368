#include "machinemanager/dispatch/MachineBoard.h"

#include "tavsdk/Text.h"

#include <cmath>

namespace MachineService::MachineManager {

namespace {

using Refusal = std::optional<FitRefusal>;

constexpr const char* NotReady = "resources-are-not-ready";
constexpr std::size_t MaxShown = 100;

Refusal CheckService(const BoardMachine& i_machine)
{
    const auto name = TavSDK::Quote(i_machine.entry.name, MaxShown);
    if (!i_machine.isOffered)
        return FitRefusal{"service-off-line", "The machine " + name + " is not offered by its service now."};
    if (i_machine.buildCommand.is_nil())
        return FitRefusal{NotReady, "The machine " + name + " has no command to build; move the job to another one."};
    return {};
}

Refusal CheckQueue(const BoardMachine& i_machine)
{
    const auto name = TavSDK::Quote(i_machine.entry.name, MaxShown);
    if (i_machine.entry.isPaused)
        return FitRefusal{"printer-stopped",
                          "The queue of " + name + " is paused" +
                              (i_machine.entry.pauseReason.empty()
                                   ? std::string("; resume it.")
                                   : ": " + TavSDK::Quote(i_machine.entry.pauseReason, MaxShown) + '.')};
    if (!i_machine.canBuild)
        return FitRefusal{"printer-stopped", i_machine.whyNot.empty()
                                                 ? "The machine " + name + " does not take jobs now; look at it."
                                                 : i_machine.whyNot};
    return {};
}

std::string InMillimetres(double i_length)
{
    return TavSDK::NumberToText(std::round(i_length * 10) / 10) + " mm";
}

Refusal CheckPlatform(const Job& i_job, const BoardMachine& i_machine)
{
    const auto name = TavSDK::Quote(i_machine.entry.name, MaxShown);
    if (!i_job.needs.model.empty() && !i_machine.data.modelId.empty() && i_job.needs.model != i_machine.data.modelId)
        return FitRefusal{NotReady, "The platform was prepared for the model " +
                                        TavSDK::Quote(i_job.needs.model, MaxShown) + ", and " + name +
                                        " is another one."};
    const auto& volume = i_machine.data.buildVolume;
    if (!volume)
        return {};
    constexpr double slack = 0.01;
    const auto exceeds = [&](const std::optional<double>& i_needed, double i_there) {
        return i_needed && *i_needed > i_there + slack;
    };
    const double width = volume->maxX - volume->minX;
    const double depth = volume->maxY - volume->minY;
    if (exceeds(i_job.needs.width, width) || exceeds(i_job.needs.depth, depth))
        return FitRefusal{NotReady, "The parts need " + InMillimetres(i_job.needs.width.value_or(0)) + " by " +
                                        InMillimetres(i_job.needs.depth.value_or(0)) + ", and the bed of " + name +
                                        " has " + InMillimetres(width) + " by " + InMillimetres(depth) + '.'};
    if (exceeds(i_job.needs.height, volume->height))
        return FitRefusal{NotReady, "The parts are " + InMillimetres(*i_job.needs.height) + " high, and " + name +
                                        " builds " + InMillimetres(volume->height) + '.'};
    return {};
}

/// Only what both sides told is compared.
Refusal CheckLoaded(const Job& i_job, const BoardMachine& i_machine)
{
    if (i_job.isAcknowledged)
        return {};
    const auto name = TavSDK::Quote(i_machine.entry.name, MaxShown);
    const auto& loaded = i_machine.entry.loaded;
    const auto& material = i_job.target.material.empty() ? i_job.needs.material : i_job.target.material;
    if (!material.empty() && !loaded.material.empty() && material != loaded.material)
        return FitRefusal{NotReady,
                          "The job needs " + TavSDK::Quote(material, MaxShown) + ", and " + name + " has " +
                              TavSDK::Quote(loaded.material, MaxShown) + " loaded.",
                          true};
    constexpr double slack = 0.001;
    if (i_job.needs.nozzle && loaded.nozzle && std::abs(*i_job.needs.nozzle - *loaded.nozzle) > slack)
        return FitRefusal{NotReady,
                          "The job needs a nozzle of " + TavSDK::NumberToText(*i_job.needs.nozzle) + " mm, and " +
                              name + " has one of " + TavSDK::NumberToText(*loaded.nozzle) + " mm.",
                          true};
    return {};
}

} // namespace

bool IsFor(const Job& i_job, const BoardMachine& i_machine)
{
    return i_job.target.IsGroup() ? i_job.target.model == i_machine.entry.model
                                  : i_job.target.machine == i_machine.entry.id;
}

std::optional<FitRefusal> FindRefusal(const Job& i_job, const BoardMachine& i_machine)
{
    if (auto refusal = CheckService(i_machine))
        return refusal;
    if (auto refusal = CheckQueue(i_machine))
        return refusal;
    if (auto refusal = CheckPlatform(i_job, i_machine))
        return refusal;
    return CheckLoaded(i_job, i_machine);
}

} // namespace MachineService::MachineManager
