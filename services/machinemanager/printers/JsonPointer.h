#pragma once

#include <QJsonValue>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace MachineService::MachineManager {

/// A place in a JSON document (RFC 6901).
///
/// Thread: any; never changes.
class JsonPointer
{
public:
    /// The whole document.
    JsonPointer() = default;
    /// Empty when the text is no pointer.
    static std::optional<JsonPointer> Parse(std::string_view i_text);

    /// Undefined when nothing is there.
    QJsonValue Find(QJsonValue i_document) const;

private:
    std::vector<std::string> _tokens;
};

/// What a text, a number or a truth value says; empty for everything else.
std::optional<std::string> ShowScalar(const QJsonValue& i_value);

} // namespace MachineService::MachineManager
