#pragma once

#include "machinemanager/JobDesk.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace MachineService::MachineManager {

// How jobs and machines are told to people.

/// A state as word and shape, so that nobody needs the colour.
struct StateWords
{
    const char* word;  ///< English, of the table of texts
    const char* style; ///< class of the style sheet
    const char* mark;  ///< path of the shape, in a square of 16
};

StateWords GetWords(JobState i_state);
/// \param i_state "idle", "processing", "stopped".
StateWords GetMachineWords(std::string_view i_state);

/// A sentence in English, of the table of texts.
const char* GetPhaseSentence(JobPhase i_phase);
/// Of a keyword that stands beside that of the phase; the keyword itself where there is no sentence.
std::string DescribeReason(const std::string& i_keyword, std::string_view i_language);
/// Of an event of the history; the event itself where there are no words.
std::string DescribeEvent(const std::string& i_event, std::string_view i_language);

/// "3 min", "2 h 5 min", "4 d".
std::string DescribeSpan(std::chrono::milliseconds i_span, std::string_view i_language);
/// Date and time where the manager runs.
std::string DescribeTime(Time i_time, std::string_view i_language);
/// "3.4 MB".
std::string DescribeSize(std::uint64_t i_bytes, std::string_view i_language);
/// At most so many decimals.
std::string DescribeNumber(double i_number, int i_decimals, std::string_view i_language);

} // namespace MachineService::MachineManager
