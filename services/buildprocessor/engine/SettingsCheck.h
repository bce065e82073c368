#pragma once

#include "buildprocessor/base/ContentCache.h"
#include "buildprocessor/machines/MachineProfile.h"

#include <optional>
#include <stop_token>
#include <string>

namespace MachineService::BuildProcessor {

/// A value of a profile that the slicing engine would replace by another without a word, or that it refuses.
struct SettingsFault
{
    std::string field;  ///< for example "engine.fill_pattern"
    std::string reason; ///< what is wrong with it, behind "field … "
};

/// Asks the engine what it makes of each setting that the profile and its strategies give it, of the templates of
/// G-code too, and whether it can be told to turn heaters and steppers off at the end.
///
/// The answer is remembered by the settings and the engine, so that it costs time once only. Empty also when the engine
/// is not there or does not answer: then nothing is known of the profile.
///
/// Thread: any, blocking for up to some seconds.
/// \param i_engine_setting as FindEngine has it.
/// \throws CommunicationException ProcessingAborted.
std::optional<SettingsFault> FindSettingsFault(const MachineProfile& i_profile,
                                               const std::optional<std::string>& i_engine_setting,
                                               const ContentCache& i_memory, const std::stop_token& i_stop);

/// True when the engine's value is the one that was given, perhaps written in another way.
bool IsSameSetting(const std::string& i_given, const std::string& i_made);

} // namespace MachineService::BuildProcessor
