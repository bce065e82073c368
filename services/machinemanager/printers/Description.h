#pragma once

#include <QJsonObject>
#include <QJsonValue>

#include <initializer_list>
#include <string>

namespace MachineService::MachineManager {

/// One object of what an operator said of a printer, read with names that tell where a field stands.
///
/// Thread: one at a time.
/// Errors: ManagerError BadInput with a sentence that names the field.
class Description
{
public:
    /// \param i_place the field that holds the object, as "upload"; empty for the outermost.
    explicit Description(QJsonObject i_object, std::string i_place = {});

    /// The whole, given as JSON.
    static Description Parse(const std::string& i_json);

    /// Refuses every other field: a name that is misspelt would be passed over otherwise.
    void AllowOnly(std::initializer_list<const char*> i_names) const;
    bool Has(const char* ip_name) const;
    QJsonValue GetValue(const char* ip_name) const;
    const QJsonObject& GetObject() const { return _object; }
    Description GetDescription(const char* ip_name) const;
    /// A text of at least one character on one line.
    std::string GetText(const char* ip_name) const;
    /// The same; empty when it is not there.
    std::string FindText(const char* ip_name) const;
    /// A whole number.
    int GetNumber(const char* ip_name, int i_smallest, int i_largest) const;

    /// \param i_reason goes on after the field's name.
    [[noreturn]] void Refuse(const std::string& i_name, const std::string& i_reason) const;
    [[noreturn]] static void Refuse(const std::string& i_reason);

private:
    std::string _GetFullName(const std::string& i_name) const;

    const QJsonObject _object;
    const std::string _place;
};

} // namespace MachineService::MachineManager
