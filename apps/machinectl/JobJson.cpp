#include "machinectl/JobJson.h"

#include <QDateTime>
#include <QJsonDocument>

namespace MachineCtl {

namespace {

using namespace Hosting;

QJsonValue Text(const std::string& i_text)
{
    return QString::fromStdString(i_text);
}

/// Ids, which are null where there is none.
QJsonValue TextOrNull(const std::string& i_text)
{
    return i_text.empty() ? QJsonValue() : Text(i_text);
}

QJsonValue Number(const std::optional<double>& i_number)
{
    return i_number ? QJsonValue(*i_number) : QJsonValue();
}

QJsonValue Whole(std::int64_t i_number)
{
    return static_cast<qint64>(i_number);
}

QJsonArray TextArray(const std::vector<std::string>& i_texts)
{
    QJsonArray array;
    for (const auto& text : i_texts)
        array.append(Text(text));
    return array;
}

QJsonObject ToJson(const Jobs::File& i_file)
{
    return {{QStringLiteral("name"), Text(i_file.name)},
            {QStringLiteral("size"), Whole(static_cast<std::int64_t>(i_file.size))},
            {QStringLiteral("sha256"), Text(i_file.sha256)}};
}

QJsonObject ToJson(const Jobs::Needs& i_needs)
{
    return {{QStringLiteral("model"), Text(i_needs.model)},     {QStringLiteral("material"), Text(i_needs.material)},
            {QStringLiteral("nozzle"), Number(i_needs.nozzle)}, {QStringLiteral("width"), Number(i_needs.width)},
            {QStringLiteral("depth"), Number(i_needs.depth)},   {QStringLiteral("height"), Number(i_needs.height)}};
}

} // namespace

QString FormatTime(Jobs::Time i_time)
{
    return QDateTime::fromMSecsSinceEpoch(i_time.time_since_epoch().count(), Qt::UTC).toString(Qt::ISODateWithMs);
}

QJsonObject ToJson(const Jobs::Job& i_job)
{
    QJsonObject settings;
    for (const auto& [name, value] : i_job.settings)
        settings.insert(QString::fromStdString(name), Text(value));
    return {{QStringLiteral("id"), Text(i_job.id)},
            {QStringLiteral("number"), Whole(i_job.number)},
            {QStringLiteral("name"), Text(i_job.name)},
            {QStringLiteral("owner"), Text(i_job.owner)},
            {QStringLiteral("state"), Text(i_job.state)},
            {QStringLiteral("reasons"), TextArray(i_job.reasons)},
            {QStringLiteral("detail"), Text(i_job.detail)},
            {QStringLiteral("phase"), Text(i_job.phase)},
            {QStringLiteral("machine"), Text(i_job.machine)},
            {QStringLiteral("machineId"), TextOrNull(i_job.machineId)},
            {QStringLiteral("target"), QJsonObject{{QStringLiteral("machine"), TextOrNull(i_job.target.machine)},
                                                   {QStringLiteral("model"), Text(i_job.target.model)},
                                                   {QStringLiteral("material"), Text(i_job.target.material)}}},
            {QStringLiteral("priority"), i_job.priority},
            {QStringLiteral("copies"), i_job.copies},
            {QStringLiteral("copiesDone"), i_job.copiesDone},
            {QStringLiteral("percent"), i_job.percent},
            {QStringLiteral("stage"), Text(i_job.stage)},
            {QStringLiteral("created"), FormatTime(i_job.created)},
            {QStringLiteral("changed"), FormatTime(i_job.changed)},
            {QStringLiteral("version"), Whole(i_job.version)},
            {QStringLiteral("needs"), ToJson(i_job.needs)},
            {QStringLiteral("estimates"),
             QJsonObject{{QStringLiteral("seconds"), Number(i_job.estimates.seconds)},
                         {QStringLiteral("cubicCentimetres"), Number(i_job.estimates.cubicCentimetres)},
                         {QStringLiteral("grams"), Number(i_job.estimates.grams)}}},
            {QStringLiteral("settings"), settings},
            {QStringLiteral("platform"), ToJson(i_job.platform)},
            {QStringLiteral("machineFile"), i_job.machineFile ? QJsonValue(ToJson(*i_job.machineFile)) : QJsonValue()},
            {QStringLiteral("hasPicture"), i_job.hasPicture},
            {QStringLiteral("draft"), i_job.isDraft},
            {QStringLiteral("actions"), TextArray(i_job.actions)}};
}

QJsonObject ToJson(const Jobs::HistoryEntry& i_entry)
{
    return {{QStringLiteral("time"), FormatTime(i_entry.time)},
            {QStringLiteral("actor"), Text(i_entry.actor)},
            {QStringLiteral("event"), Text(i_entry.event)},
            {QStringLiteral("phase"), Text(i_entry.phase)},
            {QStringLiteral("detail"), Text(i_entry.detail)}};
}

QJsonObject ToJson(const Jobs::Candidate& i_candidate)
{
    return {{QStringLiteral("machine"), Text(i_candidate.machine)},
            {QStringLiteral("name"), Text(i_candidate.name)},
            {QStringLiteral("refusal"), Text(i_candidate.refusal)},
            {QStringLiteral("canBeAcknowledged"), i_candidate.canBeAcknowledged}};
}

QJsonObject ToJson(const Jobs::Loaded& i_loaded)
{
    return {{QStringLiteral("material"), Text(i_loaded.material)},
            {QStringLiteral("nozzle"), Number(i_loaded.nozzle)},
            {QStringLiteral("plate"), Text(i_loaded.plate)}};
}

QJsonObject ToJson(const Jobs::Machine& i_machine)
{
    const auto printer = QJsonDocument::fromJson(QByteArray::fromStdString(i_machine.printer));
    return {{QStringLiteral("id"), Text(i_machine.id)},
            {QStringLiteral("name"), Text(i_machine.name)},
            {QStringLiteral("model"), Text(i_machine.model)},
            {QStringLiteral("offered"), i_machine.isOffered},
            {QStringLiteral("state"), Text(i_machine.state)},
            {QStringLiteral("reasons"), TextArray(i_machine.reasons)},
            {QStringLiteral("waiting"), Whole(i_machine.waiting)},
            {QStringLiteral("paused"), i_machine.isPaused},
            {QStringLiteral("pauseReason"), Text(i_machine.pauseReason)},
            {QStringLiteral("loaded"), ToJson(i_machine.loaded)},
            {QStringLiteral("printer"), printer.isObject() ? QJsonValue(printer.object()) : QJsonValue()},
            {QStringLiteral("currentJob"), i_machine.current ? QJsonValue(ToJson(*i_machine.current)) : QJsonValue()},
            {QStringLiteral("seen"), FormatTime(i_machine.seen)}};
}

QString FormatJson(const QJsonObject& i_object, bool i_is_compact)
{
    const QJsonDocument document(i_object);
    if (i_is_compact)
        return QString::fromUtf8(document.toJson(QJsonDocument::Compact)) + QLatin1Char('\n');
    return QString::fromUtf8(document.toJson());
}

QString FormatJson(const QJsonArray& i_array)
{
    return QString::fromUtf8(QJsonDocument(i_array).toJson());
}

} // namespace MachineCtl
