#include "machinemanager/page/JsonBody.h"

#include "machinemanager/page/JsonKeys.h"
#include "machinemanager/page/http/Http.h"
#include "tavsdk/Text.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cmath>

namespace MachineService::MachineManager {

namespace {

constexpr std::size_t MostSettings = 200;
constexpr std::size_t LongestSetting = 1'000;
constexpr double LargestSize = 1e15; // whole numbers up to there are exact in JSON
constexpr double LargestLength = 100'000;
constexpr double LargestAmount = 1e12;

int ParseDigit(char i_character)
{
    if (i_character >= '0' && i_character <= '9')
        return i_character - '0';
    if (i_character >= 'a' && i_character <= 'f')
        return i_character - 'a' + 10;
    return i_character >= 'A' && i_character <= 'F' ? i_character - 'A' + 10 : -1;
}

KeptFile ParseFile(JsonBody i_file)
{
    KeptFile file;
    file.name = i_file.RequiredText("name");
    if (file.name.find_first_of("/\\") != std::string::npos || file.name == "." || file.name == "..")
        i_file.Refuse("name", "must be the name of a file without folders");
    file.size = i_file.Size("size");
    file.hash = i_file.RequiredText("sha256");
    const bool isHash = file.hash.size() == 64 && file.hash.find_first_not_of("0123456789abcdef") == std::string::npos;
    if (!isHash)
        i_file.Refuse("sha256", "must be 64 hexadecimal digits with small letters");
    i_file.Finish();
    return file;
}

JobNeeds ParseNeeds(JsonBody i_needs)
{
    JobNeeds needs;
    needs.model = i_needs.Text("model");
    needs.material = i_needs.Text("material");
    needs.nozzle = i_needs.Length("nozzle", LargestLength);
    needs.width = i_needs.Length("width", LargestLength);
    needs.depth = i_needs.Length("depth", LargestLength);
    needs.height = i_needs.Length("height", LargestLength);
    i_needs.Finish();
    return needs;
}

JobEstimates ParseEstimates(JsonBody i_estimates)
{
    JobEstimates estimates;
    estimates.seconds = i_estimates.Length("seconds", LargestAmount);
    estimates.cubicCentimetres = i_estimates.Length("cubicCentimetres", LargestAmount);
    estimates.grams = i_estimates.Length("grams", LargestAmount);
    i_estimates.Finish();
    return estimates;
}

} // namespace

std::optional<boost::uuids::uuid> ParseId(std::string_view i_text)
{
    boost::uuids::uuid id = {};
    if (i_text.size() != 36)
        return std::nullopt;
    std::size_t digits = 0;
    for (std::size_t place = 0; place < i_text.size(); ++place) {
        const bool isDash = place == 8 || place == 13 || place == 18 || place == 23;
        const int digit = isDash ? -1 : ParseDigit(i_text[place]);
        if (isDash ? i_text[place] != '-' : digit < 0)
            return std::nullopt;
        if (!isDash) {
            auto& byte = id.data[digits / 2];
            byte = static_cast<std::uint8_t>(byte << 4 | digit);
            ++digits;
        }
    }
    return id;
}

std::string CheckText(std::string i_text, const std::string& i_name, std::size_t i_longest)
{
    const bool hasControls = std::any_of(i_text.begin(), i_text.end(), [](char i_character) {
        const auto byte = static_cast<unsigned char>(i_character);
        return byte < 0x20 || byte == 0x7f;
    });
    if (hasControls)
        throw HttpError(422, "The field '" + i_name + "' must have no control characters.");
    if (i_text.size() > i_longest)
        throw HttpError(422, "The field '" + i_name + "' must have at most " + std::to_string(i_longest) + " bytes.");
    return i_text;
}

JsonBody::JsonBody(std::string_view i_text)
{
    if (i_text.empty())
        return;
    CheckJsonKeys(i_text);
    QJsonParseError error;
    const auto document = QJsonDocument::fromJson(QByteArray(i_text.data(), static_cast<int>(i_text.size())), &error);
    if (!document.isObject()) {
        const auto reason = error.error == QJsonParseError::NoError
                                ? std::string("it is no object")
                                : error.errorString().toStdString() + " at byte " + std::to_string(error.offset);
        throw HttpError(400, "The request must carry a JSON object: " + reason + '.');
    }
    _object = document.object();
}

JsonBody::JsonBody(const QJsonObject& i_object, std::string i_path)
    : _object(i_object)
    , _path(std::move(i_path))
{}

void JsonBody::Refuse(const std::string& i_name, const std::string& i_requirement) const
{
    throw HttpError(422, "The field " + TavSDK::Quote(_path + i_name, 200) + ' ' + i_requirement + '.');
}

QJsonValue JsonBody::_Take(const char* ip_name)
{
    _read.insert(ip_name);
    return _object.value(QLatin1String(ip_name));
}

std::string JsonBody::Text(const char* ip_name, std::size_t i_longest)
{
    const auto value = _Take(ip_name);
    if (value.isUndefined() || value.isNull())
        return {};
    if (!value.isString())
        Refuse(ip_name, "must be a text");
    return CheckText(value.toString().toStdString(), _path + ip_name, i_longest);
}

std::string JsonBody::RequiredText(const char* ip_name, std::size_t i_longest)
{
    auto text = Text(ip_name, i_longest);
    if (text.empty())
        Refuse(ip_name, "is missing");
    return text;
}

boost::uuids::uuid JsonBody::Id(const char* ip_name)
{
    const auto text = Text(ip_name);
    if (text.empty())
        return {};
    const auto id = ParseId(text);
    if (!id)
        Refuse(ip_name, "must be a UUID");
    return *id;
}

boost::uuids::uuid JsonBody::RequiredId(const char* ip_name)
{
    const auto id = Id(ip_name);
    if (id.is_nil())
        Refuse(ip_name, "must be a UUID that is not all zeros");
    return id;
}

int JsonBody::Number(const char* ip_name, int i_least, int i_most, std::optional<int> i_default)
{
    const auto value = _Take(ip_name);
    if (value.isUndefined() && i_default)
        return *i_default;
    const double number = value.toDouble(std::nan(""));
    if (!(number >= i_least && number <= i_most) || number != std::floor(number))
        Refuse(ip_name, "must be a whole number from " + std::to_string(i_least) + " to " + std::to_string(i_most));
    return static_cast<int>(number);
}

std::optional<double> JsonBody::Length(const char* ip_name, double i_most)
{
    const auto value = _Take(ip_name);
    if (value.isUndefined() || value.isNull())
        return std::nullopt;
    const double number = value.toDouble(std::nan(""));
    if (!(number >= 0 && number <= i_most))
        Refuse(ip_name, "must be a number from 0 to " + TavSDK::NumberToText(i_most));
    return number;
}

std::uint64_t JsonBody::Size(const char* ip_name)
{
    const double number = _Take(ip_name).toDouble(std::nan(""));
    if (!(number >= 0 && number <= LargestSize) || number != std::floor(number))
        Refuse(ip_name, "must be a number of bytes");
    return static_cast<std::uint64_t>(number);
}

bool JsonBody::Flag(const char* ip_name)
{
    const auto value = _Take(ip_name);
    if (!value.isUndefined() && !value.isBool())
        Refuse(ip_name, "must be true or false");
    return value.toBool();
}

JsonBody JsonBody::Object(const char* ip_name)
{
    const auto value = _Take(ip_name);
    if (!value.isUndefined() && !value.isNull() && !value.isObject())
        Refuse(ip_name, "must be an object");
    return {value.toObject(), _path + ip_name + '.'};
}

std::string JsonBody::ObjectText(const char* ip_name)
{
    const auto value = _Take(ip_name);
    if (value.isUndefined() || value.isNull())
        return {};
    if (!value.isObject())
        Refuse(ip_name, "must be an object");
    return QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact).toStdString();
}

std::string JsonBody::ArrayText(const char* ip_name)
{
    const auto value = _Take(ip_name);
    if (value.isUndefined() || value.isNull())
        return {};
    if (!value.isArray())
        Refuse(ip_name, "must be an array");
    return QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact).toStdString();
}

std::map<std::string, std::string> JsonBody::Texts()
{
    std::map<std::string, std::string> texts;
    for (auto field = _object.begin(); field != _object.end(); ++field) {
        const auto name = CheckText(field.key().toStdString(), _path + "…");
        if (!field.value().isString())
            Refuse(name, "must be a text");
        texts[name] = CheckText(field.value().toString().toStdString(), _path + name, LongestSetting);
        _read.insert(name);
    }
    if (texts.size() > MostSettings)
        Refuse("…", "must be one of at most " + std::to_string(MostSettings));
    return texts;
}

void JsonBody::Finish() const
{
    for (const auto& name : _object.keys()) {
        if (_read.count(name.toStdString()) == 0)
            Refuse(name.toStdString(), "is unknown here");
    }
}

JobTarget ParseTarget(JsonBody i_target)
{
    JobTarget target;
    target.machine = i_target.Id("machine");
    target.model = i_target.Text("model");
    target.material = i_target.Text("material");
    i_target.Finish();
    if (target.machine.is_nil() && target.model.empty())
        i_target.Refuse("machine", "is missing, or else 'model'");
    return target;
}

NewJob ParseNewJob(std::string_view i_body)
{
    JsonBody body(i_body);
    NewJob job;
    job.id = body.RequiredId("id");
    job.name = body.RequiredText("name");
    job.owner = body.Text("owner");
    job.target = ParseTarget(body.Object("target"));
    job.priority = body.Number("priority", 1, 100, job.priority);
    job.copies = body.Number("copies", 1, 999, job.copies);
    job.isDraft = body.Flag("draft");
    job.platform = ParseFile(body.Object("platform"));
    job.needs = ParseNeeds(body.Object("needs"));
    job.estimates = ParseEstimates(body.Object("estimates"));
    job.settings = body.Object("settings").Texts();
    job.order = body.ArrayText("order");
    body.Finish();
    return job;
}

LoadedMaterial ParseLoaded(std::string_view i_body)
{
    JsonBody body(i_body);
    LoadedMaterial loaded;
    loaded.material = body.Text("material");
    loaded.nozzle = body.Length("nozzle", 100);
    loaded.plate = body.Text("plate");
    body.Finish();
    return loaded;
}

} // namespace MachineService::MachineManager
