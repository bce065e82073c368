#pragma once

#include "machinemanager/printers/Description.h"
#include "machinemanager/printers/JsonPointer.h"

#include <QJsonValue>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace MachineService::MachineManager {

/// Who is spoken to.
struct HttpPlace
{
    bool isSecure = true;
    std::string host; ///< a name or a number, without brackets
    int port = 0;
    std::filesystem::path authority; ///< file of certificates that are trusted; empty: those of this computer

    /// As an address is written, without a path.
    std::string GetAddress() const;
    /// Host and port as the header Host has them.
    std::string GetHostAndPort() const;
};

/// A header that goes with every request.
struct HttpHeader
{
    std::string name;
    std::string value;
    std::filesystem::path file; ///< holds the value, unless empty
};

/// Method, path and body are texts with places, see OrderTemplate.h.
struct HttpStep
{
    std::string method;
    std::string path;
    QJsonValue body = QJsonValue(QJsonValue::Undefined); ///< a text is a form's; other values are sent as JSON

    bool TellsOrder() const;
};

/// What a printer's own word for its state means.
enum class HttpState
{
    Idle, ///< it does nothing
    Printing,
    Stopped,
    Printed,
    Failed,
};

/// The steps by which a printer is reached over HTTP, as an operator described them; see docs/printers.md.
struct HttpSteps
{
    HttpPlace place;
    std::vector<HttpHeader> headers;

    HttpStep upload;
    std::string formField; ///< the file is sent as this field of a form; empty: it is the body
    std::string hashHeader;

    HttpStep start;
    int confirmedStatus = 0; ///< of an answer that says that the printer has begun; 0: none says it
    std::optional<JsonPointer> confirmedPointer;
    std::string confirmedValue;

    HttpStep state;
    JsonPointer statePointer;
    std::map<std::string, HttpState> values;
    std::optional<JsonPointer> percentPointer;
    std::optional<JsonPointer> detailPointer;
    std::optional<JsonPointer> jobPointer;

    HttpStep cancel;
};

/// \throws ManagerError BadInput with a sentence that names the field.
HttpSteps ReadHttpSteps(const Description& i_description);

/// The headers with the values that their files hold now.
/// \throws std::runtime_error with a sentence that names the file.
std::vector<HttpHeader> ReadHeaderFiles(std::vector<HttpHeader> i_headers);

} // namespace MachineService::MachineManager
