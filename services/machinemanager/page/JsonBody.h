#pragma once

#include "machinemanager/jobs/Job.h"

#include <QJsonObject>

#include <boost/uuid/uuid.hpp>

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace MachineService::MachineManager {

/// The fields of a JSON object that came with a request.
///
/// Read every field, then call Finish(): it refuses those that nobody asked for, so that a mistyped name is found.
/// Names in messages are full paths ("platform.size").
///
/// Errors: HttpError 400 for what is no JSON object, 422 for a field.
class JsonBody
{
public:
    /// \param i_text may be empty where every field may be missing.
    explicit JsonBody(std::string_view i_text);

    /// UTF-8 of at most so many bytes, without control characters.
    std::string Text(const char* ip_name, std::size_t i_longest = LongestText);
    /// The same, and at least one character.
    std::string RequiredText(const char* ip_name, std::size_t i_longest = LongestText);
    /// Nil when it is missing or null.
    boost::uuids::uuid Id(const char* ip_name);
    boost::uuids::uuid RequiredId(const char* ip_name);
    int Number(const char* ip_name, int i_least, int i_most, std::optional<int> i_default = {});
    std::optional<double> Length(const char* ip_name, double i_most);
    std::uint64_t Size(const char* ip_name);
    bool Flag(const char* ip_name);
    bool Has(const char* ip_name) const { return _object.contains(QLatin1String(ip_name)); }
    /// Empty object when it is missing or null.
    JsonBody Object(const char* ip_name);
    /// The same as compact JSON; an empty text when it is missing or null.
    std::string ObjectText(const char* ip_name);
    std::string ArrayText(const char* ip_name);
    /// All fields, each a text.
    std::map<std::string, std::string> Texts();
    void Finish() const;
    [[noreturn]] void Refuse(const std::string& i_name, const std::string& i_requirement) const;

    static constexpr std::size_t LongestText = 200;

private:
    JsonBody(const QJsonObject& i_object, std::string i_path);
    QJsonValue _Take(const char* ip_name);

    QJsonObject _object;
    std::string _path;
    std::set<std::string> _read;
};

/// Text of a field, checked.
/// \throws HttpError 422.
/// \param i_name for the message.
std::string CheckText(std::string i_text, const std::string& i_name, std::size_t i_longest = JsonBody::LongestText);
/// Lower-case or not; empty when it is none.
std::optional<boost::uuids::uuid> ParseId(std::string_view i_text);

// Requests of the interface.

NewJob ParseNewJob(std::string_view i_body);
JobTarget ParseTarget(JsonBody i_target);
LoadedMaterial ParseLoaded(std::string_view i_body);

} // namespace MachineService::MachineManager
