#include "machinemanager/printers/HttpSteps.h"

#include "machinemanager/printers/OrderTemplate.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <QJsonArray>
#include <QString>

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <utility>

namespace MachineService::MachineManager {

namespace {

constexpr std::size_t LongestHeader = 4'000;
constexpr std::size_t LongestShown = 200;

bool IsPrintable(std::string_view i_text)
{
    return std::all_of(i_text.begin(), i_text.end(),
                       [](char i_character) { return i_character > ' ' && i_character < '\x7f'; });
}

bool IsToken(std::string_view i_text)
{
    constexpr std::string_view separators = "()<>@,;:\\\"/[]?={}";
    return !i_text.empty() && IsPrintable(i_text) && i_text.find_first_of(separators) == std::string_view::npos;
}

bool IsHeaderValue(std::string_view i_text)
{
    return !i_text.empty() && i_text.size() <= LongestHeader &&
           std::all_of(i_text.begin(), i_text.end(),
                       [](char i_character) { return i_character >= ' ' && i_character < '\x7f'; });
}

/// Those that are ours to write: an operator's would contradict them.
bool IsOwnHeader(const std::string& i_name)
{
    constexpr std::array<const char*, 7> names = {"host",       "content-length", "content-type",   "transfer-encoding",
                                                  "connection", "expect",         "accept-encoding"};
    const auto name = QString::fromStdString(i_name).toLower();
    return std::any_of(names.begin(), names.end(), [&](const char* ip_own) { return name == QLatin1String(ip_own); });
}

/// \return false when it is no such address.
bool ReadAddress(std::string_view i_text, HttpPlace& o_place)
{
    constexpr std::string_view secure = "https://";
    constexpr std::string_view plain = "http://";
    o_place.isSecure = i_text.substr(0, secure.size()) == secure;
    if (!o_place.isSecure && i_text.substr(0, plain.size()) != plain)
        return false;
    i_text.remove_prefix(o_place.isSecure ? secure.size() : plain.size());
    const auto colon = i_text.rfind(':');
    if (colon == std::string_view::npos)
        return false;
    const auto* const end = i_text.data() + i_text.size();
    const auto read = std::from_chars(i_text.data() + colon + 1, end, o_place.port);
    if (read.ec != std::errc() || read.ptr != end || o_place.port < 1 || o_place.port > 65'535)
        return false;
    auto host = i_text.substr(0, colon);
    const bool isBracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    if (isBracketed)
        host = host.substr(1, host.size() - 2);
    o_place.host = host;
    return !host.empty() && IsPrintable(host) && host.find_first_of("/@?#[]%\\\"'") == std::string_view::npos &&
           (host.find(':') != std::string_view::npos) == isBracketed;
}

HttpPlace ReadPlace(const Description& i_description)
{
    HttpPlace place;
    if (!ReadAddress(i_description.GetText("address"), place))
        i_description.Refuse("address", "is https://HOST:PORT or http://HOST:PORT, without a path.");
    if (!i_description.Has("authorityFile"))
        return place;
    if (!place.isSecure)
        i_description.Refuse("authorityFile", "is for https only; change 'address' or leave it out.");
    try {
        place.authority = TavSDK::PathFromUtf8(i_description.GetText("authorityFile"));
        if (!place.authority.is_absolute())
            i_description.Refuse("authorityFile", "is the absolute name of a file.");
        TavSDK::InputFile file(place.authority);
    } catch (const TavSDK::FileError& failure) {
        i_description.Refuse("authorityFile", "cannot be read: " + std::string(failure.what()) + '.');
    }
    return place;
}

HttpHeader ReadHeader(const Description& i_headers, const std::string& i_name)
{
    if (!IsToken(i_name))
        i_headers.Refuse(i_name, "is no name of a header.");
    if (IsOwnHeader(i_name))
        i_headers.Refuse(i_name, "is a header that the manager writes itself; leave it out.");
    HttpHeader header;
    header.name = i_name;
    if (i_headers.GetValue(i_name.c_str()).isObject()) {
        const auto source = i_headers.GetDescription(i_name.c_str());
        source.AllowOnly({"file"});
        try {
            header.file = TavSDK::PathFromUtf8(source.GetText("file"));
            if (!header.file.is_absolute())
                source.Refuse("file", "is the absolute name of a file.");
            ReadHeaderFiles({header});
        } catch (const TavSDK::FileError& failure) {
            source.Refuse("file", "cannot be used: " + std::string(failure.what()));
        }
        return header;
    }
    header.value = i_headers.GetText(i_name.c_str());
    if (!IsHeaderValue(header.value))
        i_headers.Refuse(i_name, "is a text of at most 4000 letters of ASCII, or {\"file\": PATH}.");
    return header;
}

HttpStep ReadStep(const Description& i_step, const char* ip_usual_method)
{
    HttpStep step;
    step.method = i_step.FindText("method");
    if (step.method.empty())
        step.method = ip_usual_method;
    constexpr std::array<const char*, 5> methods = {"GET", "POST", "PUT", "PATCH", "DELETE"};
    if (std::find(methods.begin(), methods.end(), step.method) == methods.end())
        i_step.Refuse("method", "is GET, POST, PUT, PATCH or DELETE.");
    step.path = i_step.GetText("path");
    if (step.path.front() != '/' || !IsPrintable(step.path) || step.path.find('#') != std::string::npos)
        i_step.Refuse("path", "begins with a slash and has neither spaces nor '#'; percent-encode them.");
    if (const auto fault = FindTemplateFault(step.path); !fault.empty())
        i_step.Refuse("path", fault);
    if (!i_step.Has("body"))
        return step;
    step.body = i_step.GetValue("body");
    if (const auto fault = FindTemplateFault(step.body); !fault.empty())
        i_step.Refuse("body", fault);
    if (!step.body.isObject() && !step.body.isArray() && !step.body.isString())
        i_step.Refuse("body", "is an object, an array or a text.");
    if (step.method == "GET")
        i_step.Refuse("body", "goes with no GET; choose another 'method'.");
    return step;
}

JsonPointer ReadPointer(const Description& i_place, const char* ip_name)
{
    auto pointer = JsonPointer::Parse(i_place.Has(ip_name) ? i_place.GetText(ip_name) : std::string());
    if (!pointer || !i_place.Has(ip_name))
        i_place.Refuse(ip_name, "is a JSON pointer such as /job/state.");
    return *std::move(pointer);
}

std::optional<JsonPointer> FindPointer(const Description& i_place, const char* ip_name)
{
    return i_place.Has(ip_name) ? std::optional(ReadPointer(i_place, ip_name)) : std::nullopt;
}

void ReadUpload(const Description& i_upload, HttpSteps& o_steps)
{
    i_upload.AllowOnly({"method", "path", "as", "hashHeader"});
    o_steps.upload = ReadStep(i_upload, "POST");
    if (o_steps.upload.method != "POST" && o_steps.upload.method != "PUT")
        i_upload.Refuse("method", "is POST or PUT.");
    if (i_upload.GetValue("as").isObject()) {
        const auto form = i_upload.GetDescription("as");
        form.AllowOnly({"form"});
        o_steps.formField = form.GetText("form");
        if (!IsToken(o_steps.formField))
            form.Refuse("form", "is the name of a field, of letters, digits and '-', '_' or '.'.");
    } else if (i_upload.GetValue("as").toString() != QLatin1String("body")) {
        i_upload.Refuse("as", "is \"body\" or {\"form\": FIELD}.");
    }
    o_steps.hashHeader = i_upload.FindText("hashHeader");
    if (i_upload.Has("hashHeader") && (!IsToken(o_steps.hashHeader) || IsOwnHeader(o_steps.hashHeader)))
        i_upload.Refuse("hashHeader", "is the name of a header that is not the manager's own.");
}

void ReadStart(const Description& i_start, HttpSteps& o_steps)
{
    i_start.AllowOnly({"method", "path", "body", "confirmed"});
    o_steps.start = ReadStep(i_start, "POST");
    if (!i_start.Has("confirmed"))
        return;
    const auto confirmed = i_start.GetDescription("confirmed");
    if (confirmed.Has("status")) {
        confirmed.AllowOnly({"status"});
        o_steps.confirmedStatus = confirmed.GetNumber("status", 200, 299);
        return;
    }
    confirmed.AllowOnly({"status", "pointer", "value"});
    o_steps.confirmedPointer = ReadPointer(confirmed, "pointer");
    const auto value = ShowScalar(confirmed.GetValue("value"));
    if (!value)
        confirmed.Refuse("value", "is a text, a number, true or false.");
    o_steps.confirmedValue = *value;
}

void ReadState(const Description& i_state, HttpSteps& o_steps)
{
    i_state.AllowOnly({"path", "pointer", "values", "percentPointer", "detailPointer", "jobPointer"});
    o_steps.state = ReadStep(i_state, "GET");
    o_steps.statePointer = ReadPointer(i_state, "pointer");
    o_steps.percentPointer = FindPointer(i_state, "percentPointer");
    o_steps.detailPointer = FindPointer(i_state, "detailPointer");
    o_steps.jobPointer = FindPointer(i_state, "jobPointer");

    const auto values = i_state.GetDescription("values");
    values.AllowOnly({"idle", "printing", "stopped", "printed", "failed"});
    constexpr std::array<std::pair<const char*, HttpState>, 5> kinds = {{{"idle", HttpState::Idle},
                                                                         {"printing", HttpState::Printing},
                                                                         {"stopped", HttpState::Stopped},
                                                                         {"printed", HttpState::Printed},
                                                                         {"failed", HttpState::Failed}}};
    for (const auto& [name, state] : kinds) {
        if (values.Has(name) && !values.GetValue(name).isArray())
            values.Refuse(name, "is a list of the printer's words.");
        for (const auto& entry : values.GetValue(name).toArray()) {
            const auto word = ShowScalar(entry);
            if (!word || word->empty())
                values.Refuse(name, "is a list of the printer's words.");
            if (!o_steps.values.emplace(*word, state).second)
                values.Refuse(name, "has " + TavSDK::Quote(*word, LongestShown) + ", which was told before.");
        }
    }
    const auto has = [&](HttpState i_state_kind) {
        return std::any_of(o_steps.values.begin(), o_steps.values.end(),
                           [&](const auto& i_value) { return i_value.second == i_state_kind; });
    };
    if (!has(HttpState::Printing))
        values.Refuse("printing", "has at least one word.");
    if (!has(HttpState::Printed) && !has(HttpState::Idle))
        values.Refuse("printed", "or 'state.values.idle' has at least one word: no job would ever end.");
}

} // namespace

std::string HttpPlace::GetAddress() const
{
    return (isSecure ? "https://" : "http://") + GetHostAndPort();
}

std::string HttpPlace::GetHostAndPort() const
{
    const bool isNumeric = host.find(':') != std::string::npos;
    return (isNumeric ? '[' + host + ']' : host) + ':' + std::to_string(port);
}

bool HttpStep::TellsOrder() const
{
    return MachineManager::TellsOrder(path) || MachineManager::TellsOrder(body);
}

HttpSteps ReadHttpSteps(const Description& i_description)
{
    i_description.AllowOnly({"kind", "address", "authorityFile", "headers", "upload", "start", "state", "cancel"});
    HttpSteps steps;
    steps.place = ReadPlace(i_description);
    if (i_description.Has("headers")) {
        const auto headers = i_description.GetDescription("headers");
        for (const QString& name : headers.GetObject().keys())
            steps.headers.push_back(ReadHeader(headers, name.toStdString()));
    }
    ReadUpload(i_description.GetDescription("upload"), steps);
    ReadStart(i_description.GetDescription("start"), steps);
    ReadState(i_description.GetDescription("state"), steps);
    const auto cancel = i_description.GetDescription("cancel");
    cancel.AllowOnly({"method", "path", "body"});
    steps.cancel = ReadStep(cancel, "POST");
    return steps;
}

std::vector<HttpHeader> ReadHeaderFiles(std::vector<HttpHeader> i_headers)
{
    for (auto& header : i_headers) {
        if (header.file.empty())
            continue;
        const auto file = TavSDK::Quote(TavSDK::ShowPath(header.file));
        try {
            header.value = TavSDK::ReadFile(header.file, LongestHeader);
        } catch (const TavSDK::FileError& failure) {
            throw TavSDK::FileError("The file " + file + " of the header '" + header.name +
                                    "' cannot be read: " + failure.what() + '.');
        }
        // An editor ends a line.
        while (!header.value.empty() && (header.value.back() == '\n' || header.value.back() == '\r'))
            header.value.pop_back();
        if (!IsHeaderValue(header.value))
            throw TavSDK::FileError("The file " + file + " of the header '" + header.name +
                                    "' does not hold one line of ASCII, at most 4000 letters.");
    }
    return i_headers;
}

} // namespace MachineService::MachineManager
