#include "machinemanager/store/JobRows.h"

#include "tavsdk/Text.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <vector>

namespace MachineService::MachineManager {

namespace {

/// One column of the table.
struct Column
{
    const char* name;
    QVariant (*get)(const Job&);
    /// Null: the column only repeats what others say, so that the database can search by it.
    void (*set)(Job&, const QVariant&);
};

[[noreturn]] void RefuseRow(const std::string& i_what)
{
    throw ManagerError(ManagerError::Kind::Storage, "The job store holds " + i_what +
                                                        ", which this version does not know. Let it be checked, or use "
                                                        "the version that wrote it.");
}

template <auto Member>
QVariant GetText(const Job& i_job)
{
    return ToText(i_job.*Member);
}

template <auto Member>
void SetText(Job& io_job, const QVariant& i_value)
{
    io_job.*Member = i_value.toString().toStdString();
}

template <auto Member>
QVariant GetInteger(const Job& i_job)
{
    return static_cast<qlonglong>(i_job.*Member);
}

template <auto Member>
void SetInteger(Job& io_job, const QVariant& i_value)
{
    io_job.*Member = static_cast<std::decay_t<decltype(io_job.*Member)>>(i_value.toLongLong());
}

template <auto Member>
QVariant GetTime(const Job& i_job)
{
    return ToNumber(i_job.*Member);
}

template <auto Member>
void SetTime(Job& io_job, const QVariant& i_value)
{
    io_job.*Member = ToTime(i_value);
}

/// Of a part of the job, such as its needs.
template <auto Part, auto Member>
QVariant GetPartText(const Job& i_job)
{
    return ToText((i_job.*Part).*Member);
}

template <auto Part, auto Member>
void SetPartText(Job& io_job, const QVariant& i_value)
{
    (io_job.*Part).*Member = i_value.toString().toStdString();
}

template <auto Part, auto Member>
QVariant GetPartNumber(const Job& i_job)
{
    return ToValue((i_job.*Part).*Member);
}

template <auto Part, auto Member>
void SetPartNumber(Job& io_job, const QVariant& i_value)
{
    (io_job.*Part).*Member = ToOptionalNumber(i_value);
}

template <auto File>
QVariant GetFileName(const Job& i_job)
{
    return i_job.*File ? QVariant(ToText((i_job.*File)->name)) : QVariant(QVariant::String);
}

template <auto File>
QVariant GetFileHash(const Job& i_job)
{
    return i_job.*File ? QVariant(ToText((i_job.*File)->hash)) : QVariant(QVariant::String);
}

template <auto File>
QVariant GetFileSize(const Job& i_job)
{
    return i_job.*File ? QVariant(static_cast<qlonglong>((i_job.*File)->size)) : QVariant(QVariant::LongLong);
}

/// Comes first of the three, so that the others have something to fill.
template <auto File>
void SetFileHash(Job& io_job, const QVariant& i_value)
{
    if (!i_value.isNull())
        io_job.*File = KeptFile{{}, i_value.toString().toStdString(), 0};
}

template <auto File>
void SetFileName(Job& io_job, const QVariant& i_value)
{
    if (io_job.*File)
        (io_job.*File)->name = i_value.toString().toStdString();
}

template <auto File>
void SetFileSize(Job& io_job, const QVariant& i_value)
{
    if (io_job.*File)
        (io_job.*File)->size = static_cast<std::uint64_t>(i_value.toLongLong());
}

QVariant GetSettings(const Job& i_job)
{
    QJsonObject settings;
    for (const auto& [name, value] : i_job.settings)
        settings.insert(ToText(name), ToText(value));
    return QString::fromUtf8(QJsonDocument(settings).toJson(QJsonDocument::Compact));
}

void SetSettings(Job& io_job, const QVariant& i_value)
{
    const auto settings = QJsonDocument::fromJson(i_value.toString().toUtf8()).object();
    for (auto entry = settings.begin(); entry != settings.end(); ++entry)
        io_job.settings.emplace(entry.key().toStdString(), entry.value().toString().toStdString());
}

void SetPhase(Job& io_job, const QVariant& i_value)
{
    const auto name = i_value.toString().toStdString();
    const auto phase = FindPhase(name);
    if (!phase)
        RefuseRow("a job in the phase " + TavSDK::Quote(name));
    io_job.phase = *phase;
}

QVariant GetNumberOf(const std::optional<Time>& i_time)
{
    return i_time ? QVariant(ToNumber(*i_time)) : QVariant(QVariant::LongLong);
}

constexpr auto MachineFile = &Job::machineFile;
constexpr auto Picture = &NewJob::picture;
constexpr auto Platform = &NewJob::platform;
constexpr auto Needs = &NewJob::needs;
constexpr auto Estimates = &NewJob::estimates;
constexpr auto Target = &NewJob::target;

constexpr Column Columns[] = {
    {"id", [](const Job& i_job) { return QVariant(ToText(i_job.id)); },
     [](Job& io_job, const QVariant& i_value) {
         io_job.id = ToUuid(i_value.toString());
     }},
    {"name", GetText<&NewJob::name>, SetText<&NewJob::name>},
    {"name_folded", [](const Job& i_job) { return QVariant(Fold(i_job.name)); }, nullptr},
    {"owner", GetText<&NewJob::owner>, SetText<&NewJob::owner>},
    {"target_machine", [](const Job& i_job) { return QVariant(ToText(i_job.target.machine)); },
     [](Job& io_job, const QVariant& i_value) {
         io_job.target.machine = ToUuid(i_value.toString());
     }},
    {"target_model", GetPartText<Target, &JobTarget::model>, SetPartText<Target, &JobTarget::model>},
    {"target_material", GetPartText<Target, &JobTarget::material>, SetPartText<Target, &JobTarget::material>},
    {"queue",
     [](const Job& i_job) {
         return QVariant(i_job.target.IsGroup() ? GetQueue(i_job.target.model) : GetQueue(i_job.target.machine));
     },
     nullptr},
    {"priority", GetInteger<&NewJob::priority>, SetInteger<&NewJob::priority>},
    {"copies", GetInteger<&NewJob::copies>, SetInteger<&NewJob::copies>},
    {"is_draft", GetInteger<&NewJob::isDraft>, SetInteger<&NewJob::isDraft>},
    {"platform_hash", GetPartText<Platform, &KeptFile::hash>, SetPartText<Platform, &KeptFile::hash>},
    {"platform_name", GetPartText<Platform, &KeptFile::name>, SetPartText<Platform, &KeptFile::name>},
    {"platform_size", [](const Job& i_job) { return QVariant(static_cast<qlonglong>(i_job.platform.size)); },
     [](Job& io_job, const QVariant& i_value) {
         io_job.platform.size = static_cast<std::uint64_t>(i_value.toLongLong());
     }},
    {"picture_hash", GetFileHash<Picture>, SetFileHash<Picture>},
    {"picture_name", GetFileName<Picture>, SetFileName<Picture>},
    {"picture_size", GetFileSize<Picture>, SetFileSize<Picture>},
    {"needs_model", GetPartText<Needs, &JobNeeds::model>, SetPartText<Needs, &JobNeeds::model>},
    {"needs_material", GetPartText<Needs, &JobNeeds::material>, SetPartText<Needs, &JobNeeds::material>},
    {"needs_nozzle", GetPartNumber<Needs, &JobNeeds::nozzle>, SetPartNumber<Needs, &JobNeeds::nozzle>},
    {"needs_width", GetPartNumber<Needs, &JobNeeds::width>, SetPartNumber<Needs, &JobNeeds::width>},
    {"needs_depth", GetPartNumber<Needs, &JobNeeds::depth>, SetPartNumber<Needs, &JobNeeds::depth>},
    {"needs_height", GetPartNumber<Needs, &JobNeeds::height>, SetPartNumber<Needs, &JobNeeds::height>},
    {"estimated_seconds", GetPartNumber<Estimates, &JobEstimates::seconds>,
     SetPartNumber<Estimates, &JobEstimates::seconds>},
    {"estimated_volume", GetPartNumber<Estimates, &JobEstimates::cubicCentimetres>,
     SetPartNumber<Estimates, &JobEstimates::cubicCentimetres>},
    {"estimated_mass", GetPartNumber<Estimates, &JobEstimates::grams>, SetPartNumber<Estimates, &JobEstimates::grams>},
    {"settings", GetSettings, SetSettings},
    {"machine_order", GetText<&Job::order>, SetText<&Job::order>},
    {"phase", [](const Job& i_job) { return QVariant(QString::fromLatin1(GetInfo(i_job.phase).name)); }, SetPhase},
    {"state", [](const Job& i_job) { return QVariant(static_cast<qlonglong>(i_job.GetState())); }, nullptr},
    {"deadline", [](const Job& i_job) { return GetNumberOf(GetDeadline(i_job)); }, nullptr},
    {"wait_reason", GetText<&Job::waitReason>, SetText<&Job::waitReason>},
    {"detail", GetText<&Job::detail>, SetText<&Job::detail>},
    {"created", GetTime<&Job::created>, SetTime<&Job::created>},
    {"changed", GetTime<&Job::changed>, SetTime<&Job::changed>},
    {"phase_since", GetTime<&Job::phaseSince>, SetTime<&Job::phaseSince>},
    {"version", GetInteger<&Job::version>, SetInteger<&Job::version>},
    {"machine", [](const Job& i_job) { return QVariant(ToText(i_job.machine)); },
     [](Job& io_job, const QVariant& i_value) {
         io_job.machine = ToUuid(i_value.toString());
     }},
    {"machine_name", GetText<&Job::machineName>, SetText<&Job::machineName>},
    {"percent", GetInteger<&Job::percent>, SetInteger<&Job::percent>},
    {"stage", GetText<&Job::stage>, SetText<&Job::stage>},
    {"attempts", GetInteger<&Job::attempts>, SetInteger<&Job::attempts>},
    {"copies_done", GetInteger<&Job::copiesDone>, SetInteger<&Job::copiesDone>},
    {"is_acknowledged", GetInteger<&Job::isAcknowledged>, SetInteger<&Job::isAcknowledged>},
    {"machine_file_hash", GetFileHash<MachineFile>, SetFileHash<MachineFile>},
    {"machine_file_name", GetFileName<MachineFile>, SetFileName<MachineFile>},
    {"machine_file_size", GetFileSize<MachineFile>, SetFileSize<MachineFile>},
    {"not_before", [](const Job& i_job) { return GetNumberOf(i_job.notBefore); },
     [](Job& io_job, const QVariant& i_value) {
         if (!i_value.isNull())
             io_job.notBefore = ToTime(i_value);
     }},
    {"claimant", GetText<&Job::claimant>, SetText<&Job::claimant>},
    {"fence", GetInteger<&Job::fence>, SetInteger<&Job::fence>},
};

} // namespace

const QString& GetJobSelect()
{
    static const QString mgp_select = []() -> QString {
        // A job that nobody moved stands where it arrived.
        QString text = QStringLiteral("SELECT number, COALESCE(position, number)");
        for (const Column& column : Columns) {
            if (column.set)
                text += QStringLiteral(", ") + QLatin1String(column.name);
        }
        return text + QStringLiteral(" FROM jobs ");
    }();
    return mgp_select;
}

Job ReadJob(const Rows& i_rows)
{
    Job job;
    int index = 0;
    job.number = i_rows[index++].toLongLong();
    job.position = i_rows[index++].toDouble();
    for (const Column& column : Columns) {
        if (column.set)
            column.set(job, i_rows[index++]);
    }
    return job;
}

std::optional<std::int64_t> InsertJob(Connection& io_connection, const Job& i_job)
{
    static const QString mgp_insert = [] {
        QStringList names;
        QStringList places;
        for (const Column& column : Columns) {
            names.append(QLatin1String(column.name));
            places.append(QStringLiteral("?"));
        }
        return QStringLiteral("INSERT INTO jobs (%1) VALUES (%2) ON CONFLICT (id) DO NOTHING RETURNING number")
            .arg(names.join(QStringLiteral(", ")), places.join(QStringLiteral(", ")));
    }();
    QVariantList values;
    for (const Column& column : Columns)
        values.append(column.get(i_job));
    Rows rows = io_connection.Select(mgp_insert, values);
    std::optional<std::int64_t> number;
    while (rows.Next())
        number = rows[0].toLongLong();
    return number;
}

void UpdateJob(Connection& io_connection, const Job& i_before, const Job& i_after)
{
    QStringList changes;
    QVariantList values;
    for (const Column& column : Columns) {
        const QVariant value = column.get(i_after);
        const QVariant before = column.get(i_before);
        if (value == before && value.isNull() == before.isNull())
            continue;
        changes.append(QLatin1String(column.name) + QStringLiteral(" = ?"));
        values.append(value);
    }
    if (i_after.position != i_before.position) {
        changes.append(QStringLiteral("position = ?"));
        values.append(i_after.position);
    }
    if (changes.isEmpty())
        return;
    values.append(static_cast<qlonglong>(i_before.number));
    io_connection.Run(QStringLiteral("UPDATE jobs SET %1 WHERE number = ?").arg(changes.join(QStringLiteral(", "))),
                      values);
}

QString GetQueue(const boost::uuids::uuid& i_machine)
{
    return ToText(i_machine);
}

QString GetQueue(const std::string& i_model)
{
    return QStringLiteral("model ") + ToText(i_model);
}

QString Fold(const std::string& i_text)
{
    const auto folded = ToText(i_text).toCaseFolded();
    return folded.isNull() ? QLatin1String("") : folded;
}

QString ToText(const boost::uuids::uuid& i_id)
{
    return i_id.is_nil() ? QLatin1String("") : QString::fromStdString(boost::uuids::to_string(i_id));
}

boost::uuids::uuid ToUuid(const QString& i_text)
{
    if (i_text.isEmpty())
        return {};
    try {
        return boost::uuids::string_generator()(i_text.toStdString());
    } catch (const std::runtime_error&) {
        RefuseRow("the id " + TavSDK::Quote(i_text.toStdString()));
    }
}

qlonglong ToNumber(Time i_time)
{
    return i_time.time_since_epoch().count();
}

Time ToTime(const QVariant& i_value)
{
    return Time(std::chrono::milliseconds(i_value.toLongLong()));
}

QVariant ToValue(const std::optional<double>& i_number)
{
    return i_number ? QVariant(*i_number) : QVariant(QVariant::Double);
}

std::optional<double> ToOptionalNumber(const QVariant& i_value)
{
    return i_value.isNull() ? std::nullopt : std::optional(i_value.toDouble());
}

QString GetNotPutOff()
{
    return QStringLiteral("(not_before IS NULL OR not_before <= ? OR not_before > ?)");
}

QVariantList MakePutOffValues(Time i_now)
{
    return {ToNumber(i_now), ToNumber(i_now + LongestPutOff)};
}

std::optional<Time> GetDeadline(const Job& i_job)
{
    const auto& info = GetInfo(i_job.phase);
    return info.exit == PhaseExit::Deadline ? std::optional(i_job.phaseSince + info.deadline) : std::nullopt;
}

std::string ShowJob(const Job& i_job)
{
    return "The job " + std::to_string(i_job.number) + ' ' + TavSDK::Quote(i_job.name);
}

} // namespace MachineService::MachineManager
