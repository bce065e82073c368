#include "buildprocessor/engine/SettingsCheck.h"

#include "buildprocessor/base/Subprocess.h"
#include "buildprocessor/engine/EngineFailure.h"
#include "buildprocessor/engine/EngineModel.h"
#include "buildprocessor/engine/EngineSettings.h"
#include "buildprocessor/engine/SlicingEngine.h"
#include "client/interface/CommunicationException.h"
#include "client/interface/ScopedTempDir.h"
#include "contract/PrivateFile.h"
#include "hashing/Sha256.h"
#include "tavsdk/Text.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace MachineService::BuildProcessor {

namespace {

constexpr std::chrono::seconds Deadline(5);
constexpr std::size_t MaxSavedBytes = 1'000'000;

std::string_view Trim(std::string_view i_text)
{
    constexpr const char* space = " \t\r\n";
    i_text.remove_prefix(std::min(i_text.find_first_not_of(space), i_text.size()));
    return i_text.substr(0, i_text.find_last_not_of(space) + 1);
}

/// The text that a settings file means: without quotes, and with line breaks in the place of their marks.
std::string Unescape(std::string_view i_text)
{
    std::string_view trimmed = Trim(i_text);
    if (trimmed.size() >= 2 && trimmed.front() == '"' && trimmed.back() == '"')
        trimmed = trimmed.substr(1, trimmed.size() - 2);
    std::string text;
    for (std::size_t index = 0; index < trimmed.size(); ++index) {
        const char next = index + 1 < trimmed.size() ? trimmed[index + 1] : '\0';
        if (trimmed[index] == '\\' && (next == 'n' || next == '\\' || next == '"')) {
            text += next == 'n' ? '\n' : next;
            ++index;
        } else {
            text += trimmed[index];
        }
    }
    return std::string(Trim(text));
}

struct Quantity
{
    double value = 0;
    bool isPercent = false;
};

std::optional<Quantity> ReadQuantity(std::string_view i_text)
{
    i_text = Trim(i_text);
    const bool isPercent = i_text.ends_with('%');
    if (isPercent)
        i_text.remove_suffix(1);
    const auto value = TavSDK::ParseNumber(i_text);
    return value ? std::optional(Quantity{*value, isPercent}) : std::nullopt;
}

bool IsSameQuantity(std::string_view i_given, std::string_view i_made)
{
    const auto given = ReadQuantity(i_given);
    const auto made = ReadQuantity(i_made);
    return given && made && given->isPercent == made->isPercent &&
           std::abs(given->value - made->value) <= 1e-6 * std::max(1.0, std::abs(given->value));
}

/// "abc" of "… K: abc".
std::string_view FindBehind(std::string_view i_text, std::string_view i_mark)
{
    const std::size_t at = i_text.find(i_mark);
    if (at == std::string_view::npos)
        return {};
    const std::string_view rest = i_text.substr(at + i_mark.size());
    return Trim(rest.substr(0, rest.find('\n')));
}

/// What the engine's last words say of settings; empty when they say nothing of them.
std::optional<SettingsFault> ReadFault(std::string_view i_output)
{
    constexpr std::string_view templates = "invalid custom G-code sections:";
    if (const std::size_t at = i_output.find(templates); at != std::string_view::npos) {
        const std::string_view rest = Trim(i_output.substr(at + templates.size()));
        const std::string_view name = Trim(rest.substr(0, rest.find_first_of(",\n ")));
        return SettingsFault{"engine." + std::string(name),
                             "is not understood by the slicing engine: " + CleanEngineText(rest.substr(name.size()))};
    }
    if (const auto rest = FindBehind(i_output, "Invalid value provided for parameter "); !rest.empty())
        return SettingsFault{"engine." + std::string(rest.substr(0, rest.find(':'))),
                             "has a value that the slicing engine does not know"};
    if (const auto name = FindBehind(i_output, "Value out of range: "); !name.empty())
        return SettingsFault{"engine." + std::string(name), "has a value that the slicing engine does not allow"};
    if (const auto reason = FindBehind(i_output, " is not valid: "); !reason.empty())
        return SettingsFault{"engine", "is refused by the slicing engine: " + CleanEngineText(reason)};
    return std::nullopt;
}

/// Runs of the engine in a folder of their own.
class Probe
{
public:
    Probe(std::string i_engine, const std::stop_token& i_stop)
        : _engine(std::move(i_engine))
        , _stop(i_stop)
    {}

    /// Compares what the engine makes of the settings with the values that were given.
    std::optional<SettingsFault> CheckValues(const EngineConfiguration& i_configuration, const EngineSettings& i_given)
    {
        const auto saved = _dir.GetAbsoluteFileNameInTempDir("saved.ini");
        const auto result = _Run(i_configuration, {"--save", saved.string()});
        if (result.code != 0)
            return ReadFault(result.tail);
        const auto text = ReadBoundedFile(saved, MaxSavedBytes);
        if (!text)
            return std::nullopt;
        std::filesystem::remove(saved);
        const std::string content = '\n' + *text;
        for (const auto& [name, given] : i_given) {
            const std::string mark = '\n' + name + " = ";
            const std::size_t at = content.find(mark);
            if (at == std::string::npos)
                return SettingsFault{"engine." + name, "is not known to the slicing engine"};
            const std::size_t begin = at + mark.size();
            const std::string made = content.substr(begin, content.find('\n', begin) - begin);
            if (!IsSameSetting(given, made))
                return SettingsFault{"engine." + name, "is '" + given.substr(0, 100) +
                                                           "', of which the slicing engine would make '" +
                                                           CleanEngineText(made.substr(0, 100)) + '\''};
        }
        return std::nullopt;
    }

    /// Slices a small box, so that the templates of G-code are filled in.
    std::optional<SettingsFault> CheckTemplates(const EngineConfiguration& i_configuration)
    {
        const auto model = _dir.GetAbsoluteFileNameInTempDir("probe.3mf");
        WriteEngineModel({MakeProbePart()}, model, _stop);
        const auto result =
            _Run(i_configuration, {"--export-gcode", "--output",
                                   _dir.GetAbsoluteFileNameInTempDir("probe.gcode").string(), model.string()});
        return result.code == 0 ? std::nullopt : ReadFault(result.tail);
    }

private:
    static PartGeometry MakeProbePart()
    {
        PartGeometry part;
        part.name = "probe";
        for (int corner = 0; corner < 8; ++corner) {
            part.vertices.push_back(
                {(corner & 4) != 0 ? 5.0 : 0.0, (corner & 2) != 0 ? 5.0 : 0.0, (corner & 1) != 0 ? 3.0 : 0.0});
        }
        part.triangles = {{0, 1, 3}, {0, 3, 2}, {4, 6, 7}, {4, 7, 5}, {0, 4, 5}, {0, 5, 1},
                          {2, 3, 7}, {2, 7, 6}, {0, 2, 6}, {0, 6, 4}, {1, 5, 7}, {1, 7, 3}};
        return part;
    }

    SubprocessResult _Run(const EngineConfiguration& i_configuration, const std::vector<std::string>& i_arguments)
    {
        const auto settings = _dir.GetAbsoluteFileNameInTempDir("settings.ini");
        WriteEngineConfiguration(i_configuration, settings);
        SubprocessOptions options;
        options.command = {
            _engine,  "--loglevel",     "1", "--datadir", _dir.GetAbsoluteFileNameInTempDir("engine").string(),
            "--load", settings.string()};
        options.command.insert(options.command.end(), i_arguments.begin(), i_arguments.end());
        options.tempDir = _dir.GetAbsoluteDir();
        options.deadline = Deadline;
        auto result = RunSubprocess(options, _stop);
        if (result.end == SubprocessResult::End::Stopped)
            throw CommunicationException(ErrorCode::ProcessingAborted);
        // Whatever else it died of tells nothing of the settings.
        if (result.end != SubprocessResult::End::Exited)
            throw CommunicationException(ErrorCode::InternalError, "the engine does not answer");
        return result;
    }

    const std::string _engine;
    const std::stop_token& _stop;
    const ScopedTempDir _dir;
};

bool HasTemplates(const EngineSettings& i_settings)
{
    return std::any_of(i_settings.begin(), i_settings.end(), [](const auto& i_setting) {
        return (i_setting.first == "start_gcode" || i_setting.first == "end_gcode") &&
               i_setting.second.find_first_of("[{") != std::string::npos;
    });
}

EngineConfiguration Merge(EngineConfiguration i_configuration, const EngineSettings& i_settings)
{
    for (const auto& [name, value] : i_settings)
        i_configuration[name] = value;
    return i_configuration;
}

/// The given values as the settings file has them: the end of the machine file with what is added to it.
EngineSettings GetGiven(const EngineConfiguration& i_configuration, EngineSettings i_settings)
{
    for (auto& [name, value] : i_settings)
        value = i_configuration.at(name);
    return i_settings;
}

std::optional<SettingsFault> AskEngine(const MachineProfile& i_profile, const std::string& i_engine,
                                       const std::stop_token& i_stop)
{
    Probe probe(i_engine, i_stop);
    const auto whole = MakeEngineConfiguration(i_profile);
    if (auto fault = probe.CheckValues(whole, GetGiven(whole, i_profile.engineSettings)))
        return fault;
    if (HasTemplates(i_profile.engineSettings)) {
        if (auto fault = probe.CheckTemplates(whole))
            return fault;
    }
    for (std::size_t index = 0; index < i_profile.strategies.size(); ++index) {
        const EngineSettings& own = i_profile.strategies[index].engineSettings;
        if (own.empty())
            continue;
        if (auto fault = probe.CheckValues(Merge(whole, own), own)) {
            fault->field = "strategies[" + std::to_string(index) + "]." + fault->field;
            return fault;
        }
    }
    if (i_profile.technology == Technology::Fff && !CanEndSafely(whole.at("gcode_flavor")))
        return SettingsFault{"engine.gcode_flavor",
                             "is '" + whole.at("gcode_flavor") +
                                 "', a dialect in which it is not known how heaters and steppers are turned off"};
    return std::nullopt;
}

std::string MakeKey(const MachineProfile& i_profile, const std::string& i_stamp)
{
    Sha256 hash;
    hash.AddText("settings 1");
    hash.AddText(i_stamp);
    hash.AddText(ToText(MakeEngineConfiguration(i_profile)));
    for (const PrintStrategy& strategy : i_profile.strategies)
        hash.AddText(ToText(Merge({}, strategy.engineSettings)));
    return hash.GetHex();
}

} // namespace

bool IsSameSetting(const std::string& i_given, const std::string& i_made)
{
    const std::string given = Unescape(i_given);
    const std::string made = Unescape(i_made);
    if (given == made)
        return true;
    std::string_view left = given;
    std::string_view right = made;
    while (true) {
        const std::size_t leftEnd = std::min(left.find(','), left.size());
        const std::size_t rightEnd = std::min(right.find(','), right.size());
        if (!IsSameQuantity(left.substr(0, leftEnd), right.substr(0, rightEnd)))
            return false;
        if (leftEnd == left.size() || rightEnd == right.size())
            return leftEnd == left.size() && rightEnd == right.size();
        left.remove_prefix(leftEnd + 1);
        right.remove_prefix(rightEnd + 1);
    }
}

std::optional<SettingsFault> FindSettingsFault(const MachineProfile& i_profile,
                                               const std::optional<std::string>& i_engine_setting,
                                               const ContentCache& i_memory, const std::stop_token& i_stop)
{
    try {
        const std::string engine = FindEngine(i_engine_setting);
        const std::string key = MakeKey(i_profile, GetEngineStamp(engine));
        if (const auto known = i_memory.FindText(key)) {
            const std::size_t end = known->find('\n');
            return end == std::string::npos
                       ? std::nullopt
                       : std::optional(SettingsFault{known->substr(0, end), known->substr(end + 1)});
        }
        const auto fault = AskEngine(i_profile, engine, i_stop);
        i_memory.Keep(key, fault ? fault->field + '\n' + fault->reason : std::string(), {}, i_stop);
        return fault;
    } catch (const CommunicationException& failure) {
        if (failure.code() == ErrorCode::ProcessingAborted)
            throw;
        return std::nullopt;
    }
}

} // namespace MachineService::BuildProcessor
