#include "machinemanager/page/views/Words.h"

#include "machinemanager/page/views/Texts.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <map>

namespace MachineService::MachineManager {

namespace {

constexpr const char* Clock = "M8 1a7 7 0 1 0 0 14A7 7 0 0 0 8 1zm0 1.6a5.4 5.4 0 1 1 0 10.8A5.4 5.4 0 0 1 8 2.6zM7.2 "
                              "4h1.6v3.7l2.5 1.5-.8 1.3-3.3-2z";
constexpr const char* Bars = "M3 2h3.5v12H3zm6.5 0H13v12H9.5z";
constexpr const char* Arrow = "M3 1.5 14 8 3 14.5z";
constexpr const char* Warning = "M8 1 15.5 15H.5zM7.2 6v4.5h1.6V6zm0 5.5V13h1.6v-1.5z";
constexpr const char* Cross = "m3.4 2 4.6 4.6L12.6 2 14 3.4 9.4 8l4.6 4.6-1.4 1.4L8 9.4 3.4 14 2 12.6 6.6 8 2 3.4z";
constexpr const char* Octagon = "M5 1h6l4 4v6l-4 4H5l-4-4V5zm2.2 3v5.5h1.6V4zm0 7v1.6h1.6V11z";
constexpr const char* Check = "M13.3 2.6 15 4.2 6.2 14 1 8.8l1.6-1.6 3.5 3.5z";
constexpr const char* Ring = "M8 1a7 7 0 1 0 0 14A7 7 0 0 0 8 1zm0 1.6a5.4 5.4 0 1 1 0 10.8A5.4 5.4 0 0 1 8 2.6z";

constexpr std::array PhaseSentences = {
    std::pair{JobPhase::Incoming, "Its platform file is on its way here."},
    std::pair{JobPhase::Held, "It is held until somebody releases it."},
    std::pair{JobPhase::Waiting, "It waits for a machine."},
    std::pair{JobPhase::Building, "Its machine file is being made."},
    std::pair{JobPhase::Sending, "Its machine file goes to the printer."},
    std::pair{JobPhase::Starting, "The printer is being told to begin."},
    std::pair{JobPhase::Printing, "It is being printed."},
    std::pair{JobPhase::Unconfirmed, "The printer was told to begin, and nobody knows whether it did. Look at it."},
    std::pair{JobPhase::Stopped, "The printer began and stands still, or is out of reach."},
    std::pair{JobPhase::Canceling, "It is being cancelled."},
    std::pair{JobPhase::Canceled, "Somebody cancelled it."},
    std::pair{JobPhase::Aborted, "It failed."},
    std::pair{JobPhase::Completed, "It is done."},
};

const std::map<std::string, const char*, std::less<>> ReasonSentences = {
    {"resources-are-not-ready", "No machine is set up for it now."},
    {"service-off-line", "The machine cannot be reached now."},
    {"printer-stopped", "The machine takes no jobs now."},
};

const std::map<std::string, const char*, std::less<>> EventWords = {
    {"submit", "Handed in"},
    {"announce", "Announced"},
    {"copy", "Copied"},
    {"move", "Moved"},
    {"priority", "Priority changed"},
    {"place", "Placed elsewhere in the queue"},
    {"acknowledge", "What is loaded will do"},
    {"received", "Platform file received"},
    {"received-draft", "Draft received"},
    {"upload-timed-out", "The platform file did not come"},
    {"hold", "Held"},
    {"release", "Released"},
    {"claim", "Taken for a machine"},
    {"claim-for-sending", "Taken for a machine, to be sent"},
    {"claim-lost", "The daemon that had it was gone"},
    {"give-back", "Waits again"},
    {"build-failed", "Making the machine file failed"},
    {"built", "Machine file made"},
    {"kept", "Machine file kept"},
    {"send-failed", "Sending failed too often"},
    {"sent", "Sent to the printer"},
    {"start-refused", "The printer did not begin"},
    {"start-confirmed", "The printer began"},
    {"start-timed-out", "The printer did not say that it began"},
    {"printer-stopped", "The printer stands still"},
    {"printer-lost", "The printer is out of reach"},
    {"printer-went-on", "The printer goes on"},
    {"copy-printed", "One copy printed"},
    {"printed", "Printed"},
    {"print-failed", "Printing failed"},
    {"start-again", "Somebody said: nothing was started"},
    {"confirm-done", "Somebody said: it is printed"},
    {"cancel", "Cancelled"},
    {"cancel-done", "Cancelling done"},
    {"cancel-timed-out", "The printer did not answer to cancelling"},
};

} // namespace

StateWords GetWords(JobState i_state)
{
    switch (i_state) {
    case JobState::Pending:
        return {"Queued", "waiting", Clock};
    case JobState::PendingHeld:
        return {"Held", "held", Bars};
    case JobState::Processing:
        return {"In progress", "busy", Arrow};
    case JobState::ProcessingStopped:
        return {"Stopped", "warn", Warning};
    case JobState::Canceled:
        return {"Cancelled", "ended", Cross};
    case JobState::Aborted:
        return {"Failed", "bad", Octagon};
    case JobState::Completed:
        return {"Done", "good", Check};
    }
    return {"Failed", "bad", Octagon};
}

StateWords GetMachineWords(std::string_view i_state)
{
    if (i_state == "processing")
        return {"Working", "busy", Arrow};
    if (i_state == "stopped")
        return {"Takes no job", "warn", Warning};
    return {"Idle", "good", Ring};
}

const char* GetPhaseSentence(JobPhase i_phase)
{
    return std::find_if(PhaseSentences.begin(), PhaseSentences.end(),
                        [&](const auto& i_row) { return i_row.first == i_phase; })
        ->second;
}

std::string DescribeReason(const std::string& i_keyword, std::string_view i_language)
{
    const auto found = ReasonSentences.find(i_keyword);
    return found == ReasonSentences.end() ? i_keyword : Translate(found->second, i_language);
}

std::string DescribeEvent(const std::string& i_event, std::string_view i_language)
{
    const auto found = EventWords.find(i_event);
    return found == EventWords.end() ? i_event : Translate(found->second, i_language);
}

std::string DescribeSpan(std::chrono::milliseconds i_span, std::string_view i_language)
{
    const auto minutes = std::chrono::floor<std::chrono::minutes>(i_span).count();
    if (minutes < 1)
        return Translate("under 1 min", i_language);
    if (minutes < 60)
        return Translate("%1 min", i_language, std::to_string(minutes));
    if (minutes < 48 * 60)
        return Translate("%1 h %2 min", i_language, std::to_string(minutes / 60), std::to_string(minutes % 60));
    return Translate("%1 d", i_language, std::to_string(minutes / 60 / 24));
}

std::string DescribeTime(Time i_time, std::string_view i_language)
{
    const auto time = std::chrono::system_clock::to_time_t(i_time);
    std::tm parts = {};
    ::localtime_r(&time, &parts);
    std::array<char, 64> text = {};
    const auto size = i_language == "de" ? std::strftime(text.data(), text.size(), "%d.%m.%Y %H:%M", &parts)
                                         : std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M", &parts);
    return {text.data(), size};
}

std::string DescribeNumber(double i_number, int i_decimals, std::string_view i_language)
{
    // Of the host's locale only the decimal sign could come in.
    double factor = 1;
    for (int decimal = 0; decimal < i_decimals; ++decimal)
        factor *= 10;
    const auto scaled = static_cast<std::int64_t>(std::clamp(i_number, -1e12, 1e12) * factor + 0.5);
    auto text = std::to_string(scaled / static_cast<std::int64_t>(factor));
    if (i_decimals > 0) {
        auto decimals = std::to_string(scaled % static_cast<std::int64_t>(factor));
        decimals.insert(0, static_cast<std::size_t>(i_decimals) - decimals.size(), '0');
        decimals.erase(decimals.find_last_not_of('0') + 1);
        if (!decimals.empty())
            text += (i_language == "de" ? "," : ".") + decimals;
    }
    return text;
}

std::string DescribeSize(std::uint64_t i_bytes, std::string_view i_language)
{
    constexpr std::array Units = {"B", "kB", "MB", "GB", "TB", "PB", "EB"};
    auto size = static_cast<double>(i_bytes);
    std::size_t unit = 0;
    for (; size >= 999.5 && unit + 1 < Units.size(); ++unit)
        size /= 1000;
    return DescribeNumber(size, unit == 0 || size >= 99.5 ? 0 : 1, i_language) + ' ' + Units[unit];
}

} // namespace MachineService::MachineManager
