#include "buildprocessor/commands/BuildReport.h"

#include "tavam/PropertyNames.h"

#include <QDateTime>
#include <QString>

#include <algorithm>
#include <cmath>
#include <optional>

namespace MachineService::BuildProcessor {

namespace {

namespace Names = TavAM::PropertyNames::Print3D;

const QString Dash = QString(QChar(0x2013));

/// Text from outside as it may stand between tags and in attributes with double quotes.
QString Escape(QString i_text)
{
    for (QChar& character : i_text) {
        // Control characters are not allowed in HTML.
        if (character.category() == QChar::Other_Control && character != QLatin1Char('\n') &&
            character != QLatin1Char('\t'))
            character = QChar(QChar::ReplacementCharacter);
    }
    return i_text.toHtmlEscaped();
}

/// A name keeps its own direction: what follows a name written from right to left stays where it is.
QString Name(const QString& i_text)
{
    return QStringLiteral("<bdi>") + Escape(i_text) + QStringLiteral("</bdi>");
}

QString ToText(const std::string& i_text)
{
    return QString::fromStdString(i_text);
}

QString Number(double i_value, int i_digits)
{
    return QString::number(i_value, 'f', i_digits);
}

std::optional<double> GetNumber(const TavAM::PersistentProperties& i_properties, const wchar_t* ip_name)
{
    const auto text = i_properties.GetText(ip_name);
    if (!text || text->size() > 40)
        return std::nullopt;
    bool isNumber = false;
    const double value = QString::fromStdWString(*text).toDouble(&isNumber);
    return isNumber && std::isfinite(value) && value >= 0 ? std::optional(value) : std::nullopt;
}

QString Estimate(const TavAM::PersistentProperties& i_properties, const wchar_t* ip_name, int i_digits)
{
    const auto value = GetNumber(i_properties, ip_name);
    return value ? Number(*value, i_digits) : Dash;
}

QString Row(const QString& i_title, const QString& i_value)
{
    return QStringLiteral("<tr><th scope=\"row\">") + i_title + QStringLiteral("</th><td>") + i_value +
           QStringLiteral("</td></tr>\n");
}

QString Cell(const QString& i_value, const char* ip_class = "n")
{
    return QStringLiteral("<td class=\"") + QLatin1String(ip_class) + QStringLiteral("\">") + i_value +
           QStringLiteral("</td>");
}

/// The bed from above with the boxes of the parts; y points up, as on the bed.
QString MakePicture(const ReportInput& i_input)
{
    const Bed& bed = i_input.profile.bed;
    TavAM::BoundingBox box;
    QString outline;
    for (const BedPoint& point : bed.outline) {
        box.Add(TavAM::Point3d{point.x, point.y, 0});
        outline += Number(point.x, 2) + QLatin1Char(',') + Number(-point.y, 2) + QLatin1Char(' ');
    }
    constexpr double margin = 5;
    const double width = box.max.x - box.min.x + 2 * margin;
    const double depth = box.max.y - box.min.y + 2 * margin;
    QString picture = QStringLiteral("<svg role=\"img\" aria-label=\"The bed from above\" width=\"420\" viewBox=\"") +
                      Number(box.min.x - margin, 2) + QLatin1Char(' ') + Number(-box.max.y - margin, 2) +
                      QLatin1Char(' ') + Number(width, 2) + QLatin1Char(' ') + Number(depth, 2) +
                      QStringLiteral("\">\n<polygon class=\"bed\" points=\"") + outline.trimmed() +
                      QStringLiteral("\"/>\n");
    const auto& boxes = i_input.scene.boxes;
    for (std::size_t index = 0; index < boxes.size(); ++index) {
        const auto& [min, max] = boxes[index];
        if (boxes[index].IsEmpty())
            continue;
        picture += QStringLiteral("<rect class=\"part\" x=\"") + Number(min.x, 2) + QStringLiteral("\" y=\"") +
                   Number(-max.y, 2) + QStringLiteral("\" width=\"") + Number(max.x - min.x, 2) +
                   QStringLiteral("\" height=\"") + Number(max.y - min.y, 2) + QStringLiteral("\"/><text x=\"") +
                   Number((min.x + max.x) / 2, 2) + QStringLiteral("\" y=\"") + Number(-(min.y + max.y) / 2, 2) +
                   QStringLiteral("\" font-size=\"") + Number(std::max(width, depth) / 30, 2) + QStringLiteral("\">") +
                   QString::number(index + 1) + QStringLiteral("</text>\n");
    }
    return picture + QStringLiteral("</svg>\n");
}

QString MakePartRow(const ReportInput& i_input, std::size_t i_index)
{
    const TavAM::Part& part = i_input.scene.platform.GetParts()[i_index];
    const TavAM::BoundingBox& box = i_input.scene.boxes[i_index];
    const auto& properties = part.GetAMXProperties();
    QString size = Dash;
    if (!box.IsEmpty()) {
        size = Number(box.max.x - box.min.x, 1) + QStringLiteral(" &times; ") + Number(box.max.y - box.min.y, 1) +
               QStringLiteral(" &times; ") + Number(box.max.z - box.min.z, 1);
    }
    QString strategies;
    for (const auto& [role, id] : part.GetStrategies().value_or(TavAM::Part::Strategies())) {
        const auto isThis = [&wantedRole = role, &wantedId = id](const PrintStrategy& i_known) {
            return ToText(i_known.id).toStdWString() == wantedId && ToText(i_known.role).toStdWString() == wantedRole;
        };
        const auto known = std::find_if(i_input.profile.strategies.begin(), i_input.profile.strategies.end(), isThis);
        const QString name =
            known != i_input.profile.strategies.end() ? ToText(known->name) : QString::fromStdWString(id);
        strategies += (strategies.isEmpty() ? QString() : QStringLiteral(", ")) + Name(QString::fromStdWString(role)) +
                      QStringLiteral(": ") + Name(name);
    }
    return QStringLiteral("<tr>") + Cell(QString::number(i_index + 1)) +
           Cell(Name(QString::fromStdWString(part.GetName())), "t") + Cell(size) +
           Cell(part.HasSupports() ? QStringLiteral("yes") : QStringLiteral("no"), "t") +
           Cell(strategies.isEmpty() ? Dash : strategies, "t") + Cell(Estimate(properties, Names::LayerCount, 0)) +
           Cell(Estimate(properties, Names::MaterialMillimetres, 1)) +
           Cell(Estimate(properties, Names::MaterialCubicCentimetres, 2)) +
           Cell(Estimate(properties, Names::MaterialGrams, 2)) + QStringLiteral("</tr>\n");
}

QString MakeTotals(const ReportInput& i_input)
{
    const auto& properties = i_input.scene.platform.GetAMXProperties();
    const auto seconds = GetNumber(properties, Names::PrintTimeSeconds);
    QString totals = Row(QStringLiteral("Parts"), QString::number(i_input.scene.platform.GetParts().size()));
    totals += Row(QStringLiteral("Layers"), Estimate(properties, Names::LayerCount, 0));
    totals += Row(QStringLiteral("Time"), seconds ? ToText(FormatDuration(*seconds)) : Dash);
    if (i_input.profile.technology == Technology::Fff)
        totals += Row(QStringLiteral("Filament, mm"), Estimate(properties, Names::MaterialMillimetres, 1));
    totals += Row(QStringLiteral("Material, cm&sup3;"), Estimate(properties, Names::MaterialCubicCentimetres, 2));
    totals += Row(QStringLiteral("Material, g"), Estimate(properties, Names::MaterialGrams, 2));
    if (const auto file = properties.GetText(Names::MachineFile))
        totals += Row(QStringLiteral("Machine file"), Name(QString::fromStdWString(*file)));
    if (!seconds)
        totals += QStringLiteral("<tr><td colspan=\"2\">The platform has no estimates yet: build it, or estimate its "
                                 "consumption, and make the report again.</td></tr>\n");
    return totals;
}

QString MakeJob(const ReportInput& i_input, const QString& i_date)
{
    const MachineProfile& profile = i_input.profile;
    QString job = Row(QStringLiteral("Date"), i_date);
    job += Row(QStringLiteral("Printer"), Name(ToText(profile.name)));
    if (!profile.manufacturer.empty())
        job += Row(QStringLiteral("Manufacturer"), Name(ToText(profile.manufacturer)));
    job += Row(QStringLiteral("Material"), Name(ToText(i_input.material.name)) + QStringLiteral(", ") +
                                               Number(i_input.material.density, 2) + QStringLiteral(" g/cm&sup3;"));
    return job + Row(QStringLiteral("Layer height"), QString::number(i_input.layerHeight) + QStringLiteral(" mm"));
}

} // namespace

std::string FormatDuration(double i_seconds)
{
    const auto seconds = static_cast<long long>(std::llround(std::clamp(i_seconds, 0.0, 1e12)));
    if (seconds < 60)
        return std::to_string(seconds) + " s";
    const long long minutes = (seconds + 30) / 60;
    std::string text;
    if (minutes >= 24 * 60)
        text += std::to_string(minutes / (24 * 60)) + " d ";
    if (minutes >= 60)
        text += std::to_string(minutes / 60 % 24) + " h ";
    return text + std::to_string(minutes % 60) + " min";
}

std::string MakeBuildReport(const ReportInput& i_input)
{
    const TavAM::Platform& platform = i_input.scene.platform;
    const auto job = platform.GetAMXProperties().GetText(Names::JobName);
    const QString title = QString::fromStdWString(job && !job->empty() ? *job : platform.GetName());
    const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(i_input.time.time_since_epoch());
    const QString date = QDateTime::fromMSecsSinceEpoch(time.count(), Qt::UTC).toString(Qt::ISODate);

    QString page = QStringLiteral("<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
                                  "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
                                  "style-src 'unsafe-inline'\">\n<title>Build report: ");
    page += Escape(title);
    page += QStringLiteral(
        "</title>\n<style>\nbody{font:14px/1.5 sans-serif;margin:2em;color:#222}\n"
        "table{border-collapse:collapse;margin:.5em 0 1.5em}\nth,td{border:1px solid #bbb;padding:.2em .6em;"
        "text-align:start;vertical-align:top}\nth{background:#f0f0f0}\n.n{text-align:right}\n"
        ".bed{fill:#f6f6f6;stroke:#888;stroke-width:.5}\n.part{fill:#4a7fb5;fill-opacity:.6;stroke:#24507c;"
        "stroke-width:.3}\ntext{text-anchor:middle;dominant-baseline:central;font-family:sans-serif}\n"
        "</style></head>\n<body>\n<h1>Build report: ");
    page += Name(title) + QStringLiteral("</h1>\n<table>\n") + MakeJob(i_input, date);
    page += QStringLiteral("</table>\n<h2>Totals</h2>\n<table>\n") + MakeTotals(i_input);
    page += QStringLiteral("</table>\n<h2>Bed</h2>\n") + MakePicture(i_input);
    page += QStringLiteral("<h2>Parts</h2>\n<table>\n<tr><th>No.</th><th>Name</th><th>Size, mm</th><th>Supports</th>"
                           "<th>Strategies</th><th>Layers</th><th>Filament, mm</th><th>Material, cm&sup3;</th>"
                           "<th>Material, g</th></tr>\n");
    for (std::size_t index = 0; index < platform.GetParts().size(); ++index)
        page += MakePartRow(i_input, index);
    page += QStringLiteral("</table>\n</body></html>\n");
    return page.toStdString();
}

} // namespace MachineService::BuildProcessor
