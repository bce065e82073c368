#include "hosting/jobs/JobsJson.h"

#include "hosting/jobs/JobsError.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>

namespace Hosting::Jobs {

namespace {

constexpr double LargestWhole = 9e15; // whole numbers up to there are exact

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Hosting::JobsJson)
};

[[noreturn]] void Refuse(const QString& i_place)
{
    throw JobsError(
        JobsError::Kind::Server,
        Texts::tr("The answer of the Machine Manager cannot be read at '%1'; it may be of another version than "
                  "this program. Bring both to the same one.")
            .arg(i_place));
}

/// Reads members of one object.
class Members
{
public:
    explicit Members(const QJsonValue& i_value, const char* ip_place)
    {
        if (!i_value.isObject())
            Refuse(QLatin1String(ip_place));
        _object = i_value.toObject();
    }
    explicit Members(const QJsonObject& i_object)
        : _object(i_object)
    {}

    QJsonValue Value(const char* ip_name) const { return _object.value(QLatin1String(ip_name)); }
    std::string Text(const char* ip_name) const
    {
        const auto value = Value(ip_name);
        if (!value.isString())
            Refuse(QLatin1String(ip_name));
        return value.toString().toStdString();
    }
    /// One that may be null or missing.
    std::string TextIfThere(const char* ip_name) const
    {
        const auto value = Value(ip_name);
        return value.isNull() || value.isUndefined() ? std::string() : Text(ip_name);
    }
    std::optional<double> NumberIfThere(const char* ip_name) const
    {
        const auto value = Value(ip_name);
        if (value.isNull() || value.isUndefined())
            return std::nullopt;
        if (!value.isDouble())
            Refuse(QLatin1String(ip_name));
        return value.toDouble();
    }
    std::int64_t Whole(const char* ip_name, double i_least = 0, double i_most = LargestWhole) const
    {
        const auto number = NumberIfThere(ip_name);
        const bool isGood = number && *number >= i_least && *number <= i_most && *number == std::floor(*number);
        if (!isGood)
            Refuse(QLatin1String(ip_name));
        return static_cast<std::int64_t>(*number);
    }
    int Small(const char* ip_name) const { return static_cast<int>(Whole(ip_name, 0, 1'000'000)); }
    bool Flag(const char* ip_name) const
    {
        const auto value = Value(ip_name);
        if (!value.isBool())
            Refuse(QLatin1String(ip_name));
        return value.toBool();
    }
    Time Moment(const char* ip_name) const
    {
        const auto moment = QDateTime::fromString(QString::fromStdString(Text(ip_name)), Qt::ISODateWithMs);
        if (!moment.isValid())
            Refuse(QLatin1String(ip_name));
        return Time(std::chrono::milliseconds(moment.toMSecsSinceEpoch()));
    }
    QJsonArray Array(const char* ip_name) const
    {
        const auto value = Value(ip_name);
        if (!value.isArray())
            Refuse(QLatin1String(ip_name));
        return value.toArray();
    }
    std::vector<std::string> TextList(const char* ip_name) const
    {
        std::vector<std::string> texts;
        for (const auto& value : Array(ip_name)) {
            if (!value.isString())
                Refuse(QLatin1String(ip_name));
            texts.push_back(value.toString().toStdString());
        }
        return texts;
    }
    Members Object(const char* ip_name) const { return Members(Value(ip_name), ip_name); }
    const QJsonObject& Get() const { return _object; }

private:
    QJsonObject _object;
};

template <class Item, class Parse>
std::vector<Item> ParseList(const Members& i_members, const char* ip_name, const Parse& i_parse)
{
    std::vector<Item> items;
    for (const auto& value : i_members.Array(ip_name))
        items.push_back(i_parse(value));
    return items;
}

StoredFile ParseStoredFile(const Members& i_file)
{
    StoredFile file{i_file.Text("sha256"), static_cast<std::uint64_t>(i_file.Whole("size"))};
    const bool isHash =
        file.sha256.size() == 64 && file.sha256.find_first_not_of("0123456789abcdef") == std::string::npos;
    if (!isHash)
        Refuse(QStringLiteral("sha256"));
    return file;
}

File ParseFile(const Members& i_file)
{
    auto file = ParseStoredFile(i_file);
    return {i_file.Text("name"), file.size, std::move(file.sha256)};
}

Needs ParseNeeds(const Members& i_needs)
{
    return {i_needs.TextIfThere("model"),   i_needs.TextIfThere("material"), i_needs.NumberIfThere("nozzle"),
            i_needs.NumberIfThere("width"), i_needs.NumberIfThere("depth"),  i_needs.NumberIfThere("height")};
}

Consumption ParseConsumption(const Members& i_estimates)
{
    return {i_estimates.NumberIfThere("seconds"), i_estimates.NumberIfThere("cubicCentimetres"),
            i_estimates.NumberIfThere("grams")};
}

QJsonValue MakeText(const std::string& i_text)
{
    return QString::fromStdString(i_text);
}

} // namespace

QJsonObject ParseObject(const std::string& i_text)
{
    const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(i_text));
    if (!document.isObject())
        Refuse(QStringLiteral("{}"));
    return document.object();
}

Job ParseJob(const QJsonValue& i_value)
{
    const Members members(i_value, "job");
    Job job;
    job.id = members.Text("id");
    job.number = members.Whole("number");
    job.name = members.Text("name");
    job.owner = members.Text("owner");
    job.state = members.Text("state");
    job.reasons = members.TextList("reasons");
    job.detail = members.Text("detail");
    job.phase = members.Text("phase");
    job.machine = members.Text("machine");
    job.machineId = members.TextIfThere("machineId");
    const auto target = members.Object("target");
    job.target = {target.TextIfThere("machine"), target.TextIfThere("model"), target.TextIfThere("material")};
    job.priority = members.Small("priority");
    job.copies = members.Small("copies");
    job.copiesDone = members.Small("copiesDone");
    job.percent = members.Small("percent");
    job.stage = members.Text("stage");
    job.created = members.Moment("created");
    job.changed = members.Moment("changed");
    job.version = members.Whole("version");
    job.needs = ParseNeeds(members.Object("needs"));
    job.estimates = ParseConsumption(members.Object("estimates"));
    const auto settings = members.Object("settings");
    for (const auto& name : settings.Get().keys())
        job.settings.emplace_back(name.toStdString(), settings.Get().value(name).toString().toStdString());
    job.platform = ParseFile(members.Object("platform"));
    if (members.Value("machineFile").isObject())
        job.machineFile = ParseFile(members.Object("machineFile"));
    job.hasPicture = members.Flag("hasPicture");
    job.isDraft = members.Flag("draft");
    job.actions = members.TextList("actions");
    return job;
}

JobPage ParseJobPage(const QJsonObject& i_object)
{
    const Members members(i_object);
    JobPage page;
    page.jobs = ParseList<Job>(members, "jobs", ParseJob);
    if (members.NumberIfThere("next"))
        page.next = members.Whole("next");
    return page;
}

std::vector<HistoryEntry> ParseHistory(const QJsonObject& i_object)
{
    return ParseList<HistoryEntry>(Members(i_object), "history", [](const QJsonValue& i_value) {
        const Members entry(i_value, "history");
        return HistoryEntry{entry.Moment("time"), entry.Text("actor"), entry.Text("event"), entry.Text("phase"),
                            entry.Text("detail")};
    });
}

std::vector<Candidate> ParseCandidates(const QJsonObject& i_object)
{
    return ParseList<Candidate>(Members(i_object), "candidates", [](const QJsonValue& i_value) {
        const Members candidate(i_value, "candidates");
        return Candidate{candidate.Text("machine"), candidate.Text("name"), candidate.Text("refusal"),
                         candidate.Flag("canBeAcknowledged")};
    });
}

Machine ParseMachine(const QJsonValue& i_value)
{
    const Members members(i_value, "machine");
    Machine machine;
    machine.id = members.Text("id");
    machine.name = members.Text("name");
    machine.model = members.Text("model");
    machine.isOffered = members.Flag("offered");
    machine.state = members.Text("state");
    machine.reasons = members.TextList("reasons");
    machine.waiting = members.Whole("waiting");
    machine.isPaused = members.Flag("paused");
    machine.pauseReason = members.Text("pauseReason");
    const auto loaded = members.Object("loaded");
    machine.loaded = {loaded.TextIfThere("material"), loaded.NumberIfThere("nozzle"), loaded.TextIfThere("plate")};
    if (const auto printer = members.Value("printer"); printer.isObject())
        machine.printer = QJsonDocument(printer.toObject()).toJson(QJsonDocument::Compact).toStdString();
    if (members.Value("currentJob").isObject())
        machine.current = ParseJob(members.Value("currentJob"));
    machine.seen = members.Moment("seen");
    return machine;
}

std::vector<Machine> ParseMachines(const QJsonObject& i_object)
{
    return ParseList<Machine>(Members(i_object), "machines", ParseMachine);
}

Information ParseInformation(const QJsonObject& i_object)
{
    const Members members(i_object);
    Information information;
    information.name = members.Text("name");
    information.version = members.Text("version");
    const auto jobs = members.Object("jobs");
    for (const auto& state : jobs.Get().keys())
        information.jobs[state.toStdString()] = jobs.Whole(state.toLatin1().constData());
    information.diskUse = static_cast<std::uint64_t>(members.Whole("diskUse"));
    information.pageAddress = members.Text("pageAddress");
    information.user = members.Text("user");
    information.role = members.Text("role");
    return information;
}

std::vector<StoredFile> ParseStoredFiles(const QJsonObject& i_object)
{
    return ParseList<StoredFile>(Members(i_object), "files",
                                 [](const QJsonValue& i_value) { return ParseStoredFile(Members(i_value, "file")); });
}

BackupContents ParseBackupContents(const QJsonObject& i_object)
{
    const Members members(i_object);
    BackupContents contents;
    contents.id = members.Text("id");
    contents.made = members.Text("made");
    contents.jobs = members.Whole("jobs");
    contents.store = ParseStoredFile(members.Object("store"));
    contents.files = ParseStoredFiles(i_object);
    contents.missing = members.TextList("missing");
    return contents;
}

Restored ParseRestored(const QJsonObject& i_object)
{
    const Members members(i_object);
    return {members.Whole("jobs"), members.Whole("held"), members.Text("aside")};
}

std::vector<Finding> ParseFindings(const QJsonObject& i_object)
{
    return ParseList<Finding>(Members(i_object), "findings", [](const QJsonValue& i_value) {
        const Members members(i_value, "finding");
        return Finding{members.Text("kind"),   static_cast<std::int64_t>(members.NumberIfThere("number").value_or(0)),
                       members.Text("job"),    members.Text("file"),
                       members.Text("sha256"), members.Text("detail")};
    });
}

CheckedFiles ParseCheckedFiles(const QJsonObject& i_object)
{
    const Members members(i_object);
    CheckedFiles checked{ParseFindings(i_object), members.Whole("files"), std::nullopt};
    if (members.NumberIfThere("next"))
        checked.next = members.Whole("next");
    return checked;
}

std::uint64_t ParseCount(const QJsonObject& i_object, const char* ip_name)
{
    return static_cast<std::uint64_t>(Members(i_object).Whole(ip_name));
}

std::string ParseText(const QJsonObject& i_object, const char* ip_name)
{
    return Members(i_object).Text(ip_name);
}

QJsonObject MakeTarget(const Target& i_target)
{
    QJsonObject target;
    if (!i_target.machine.empty())
        target.insert(QStringLiteral("machine"), MakeText(i_target.machine));
    if (!i_target.model.empty())
        target.insert(QStringLiteral("model"), MakeText(i_target.model));
    if (!i_target.material.empty())
        target.insert(QStringLiteral("material"), MakeText(i_target.material));
    return target;
}

QJsonObject MakeLoaded(const Loaded& i_loaded)
{
    QJsonObject loaded;
    loaded.insert(QStringLiteral("material"), MakeText(i_loaded.material));
    loaded.insert(QStringLiteral("nozzle"), i_loaded.nozzle ? QJsonValue(*i_loaded.nozzle) : QJsonValue());
    loaded.insert(QStringLiteral("plate"), MakeText(i_loaded.plate));
    return loaded;
}

QJsonObject MakeBackupContents(const BackupContents& i_contents)
{
    const auto make = [](const StoredFile& i_file) {
        return QJsonObject{{QStringLiteral("sha256"), MakeText(i_file.sha256)},
                           {QStringLiteral("size"), static_cast<qint64>(i_file.size)}};
    };
    QJsonArray files;
    for (const auto& file : i_contents.files)
        files.append(make(file));
    QJsonArray missing;
    for (const auto& hash : i_contents.missing)
        missing.append(MakeText(hash));
    return {{QStringLiteral("format"), QStringLiteral("machine-manager-backup")},
            {QStringLiteral("version"), 1},
            {QStringLiteral("id"), MakeText(i_contents.id)},
            {QStringLiteral("made"), MakeText(i_contents.made)},
            {QStringLiteral("jobs"), static_cast<qint64>(i_contents.jobs)},
            {QStringLiteral("store"), make(i_contents.store)},
            {QStringLiteral("files"), files},
            {QStringLiteral("missing"), missing}};
}

QJsonObject MakeNewJob(const NewJob& i_job, const File& i_platform)
{
    QJsonObject settings;
    for (const auto& [name, value] : i_job.settings)
        settings.insert(QString::fromStdString(name), MakeText(value));
    return {{QStringLiteral("id"), MakeText(i_job.id)},
            {QStringLiteral("name"), MakeText(i_job.name)},
            {QStringLiteral("target"), MakeTarget(i_job.target)},
            {QStringLiteral("priority"), i_job.priority},
            {QStringLiteral("copies"), i_job.copies},
            {QStringLiteral("draft"), i_job.isDraft},
            {QStringLiteral("settings"), settings},
            {QStringLiteral("platform"), QJsonObject{{QStringLiteral("name"), MakeText(i_platform.name)},
                                                     {QStringLiteral("size"), static_cast<qint64>(i_platform.size)},
                                                     {QStringLiteral("sha256"), MakeText(i_platform.sha256)}}}};
}

} // namespace Hosting::Jobs
