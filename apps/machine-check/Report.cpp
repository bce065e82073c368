#include "machine-check/Report.h"

#include "machine-check/Rules.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QXmlStreamWriter>

#include <algorithm>

namespace MachineCheck {

bool Report::HasFindings() const
{
    return !GetFoundRules().empty();
}

std::vector<std::string> Report::GetFoundRules() const
{
    std::vector<std::string> found;
    for (const auto& [rule, findings] : _findings) {
        if (!findings.empty())
            found.push_back(rule);
    }
    return found;
}

std::string Report::ToTable() const
{
    std::string table;
    for (const Rule& rule : GetRules()) {
        const auto found = _findings.find(rule.id);
        const char* outcome = found == _findings.end() ? "not looked at" : found->second.empty() ? "holds" : "BROKEN";
        std::string line = rule.id;
        line.resize(std::max<std::size_t>(line.size() + 1, 5), ' ');
        line += outcome;
        line.resize(std::max<std::size_t>(line.size() + 1, 20), ' ');
        table += line + rule.sentence + '\n';
        if (found == _findings.end())
            continue;
        for (const auto& finding : found->second)
            table += "                      " + finding + '\n';
    }
    return table;
}

std::string Report::ToJson() const
{
    QJsonArray rules;
    for (const Rule& rule : GetRules()) {
        const auto found = _findings.find(rule.id);
        QJsonArray findings;
        if (found != _findings.end()) {
            for (const auto& finding : found->second)
                findings.append(QString::fromStdString(finding));
        }
        rules.append(QJsonObject{{QStringLiteral("rule"), QLatin1String(rule.id)},
                                 {QStringLiteral("sentence"), QLatin1String(rule.sentence)},
                                 {QStringLiteral("lookedAt"), found != _findings.end()},
                                 {QStringLiteral("findings"), findings}});
    }
    return QJsonDocument(QJsonObject{{QStringLiteral("rules"), rules}}).toJson().toStdString();
}

std::string Report::ToJUnit() const
{
    QString text;
    QXmlStreamWriter xml(&text);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("testsuite"));
    xml.writeAttribute(QStringLiteral("name"), QStringLiteral("machine-check"));
    xml.writeAttribute(QStringLiteral("tests"), QString::number(GetRules().size()));
    xml.writeAttribute(QStringLiteral("failures"), QString::number(GetFoundRules().size()));
    for (const Rule& rule : GetRules()) {
        const auto found = _findings.find(rule.id);
        xml.writeStartElement(QStringLiteral("testcase"));
        xml.writeAttribute(QStringLiteral("classname"), QStringLiteral("protocol"));
        xml.writeAttribute(QStringLiteral("name"),
                           QLatin1String(rule.id) + QLatin1String(": ") + QLatin1String(rule.sentence));
        if (found == _findings.end())
            xml.writeEmptyElement(QStringLiteral("skipped"));
        else if (!found->second.empty()) {
            xml.writeStartElement(QStringLiteral("failure"));
            for (const auto& finding : found->second)
                xml.writeCharacters(QString::fromStdString(finding) + QLatin1Char('\n'));
            xml.writeEndElement();
        }
        xml.writeEndElement();
    }
    xml.writeEndElement();
    xml.writeEndDocument();
    return text.toStdString();
}

} // namespace MachineCheck
