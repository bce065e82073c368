#include "hosting/Estimates.h"
#include "hosting/HostingError.h"
#include "hosting/InterruptWatcher.h"
#include "machinectl/CommandTable.h"
#include "machinectl/Commands.h"
#include "machinectl/Groups.h"
#include "machinectl/JobJson.h"
#include "machinectl/JobViews.h"
#include "machinectl/Session.h"
#include "machinectl/TextWidth.h"
#include "tavam/AMXFileReader.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <QCoreApplication>
#include <QUuid>

namespace MachineCtl::Commands {

namespace {

using namespace Hosting;

constexpr std::chrono::hours Long(24);

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(MachineCtl::FileCommands)
};

QString Show(const std::filesystem::path& i_path)
{
    return QString::fromStdString(TavSDK::Quote(TavSDK::ShowPath(i_path)));
}

QString ShowShare(std::uint64_t i_done, std::uint64_t i_all)
{
    const auto percent = i_all == 0 ? 100 : i_done * 100 / i_all;
    return QStringLiteral("%1 %  %2").arg(percent).arg(FormatSize(i_all));
}

Jobs::NewJob MakeJob(const CommandLine& i_line, const std::filesystem::path& i_platform)
{
    Jobs::NewJob job;
    job.name = i_line.Has("name") ? i_line.Get("name") : TavSDK::ShowPath(i_platform.stem());
    job.isDraft = i_line.Has("draft");
    if (i_line.Has("copies"))
        job.copies = ParseNumber(i_line.Get("copies"), QStringLiteral("--copies"), 1, 999);
    if (i_line.Has("priority"))
        job.priority = ParseNumber(i_line.Get("priority"), QStringLiteral("--priority"), 1, 100);
    CheckOneTarget(i_line, i_line.Has("machine"));
    job.id = i_line.Has("id") ? i_line.Get("id") : MakeJobId();
    if (QUuid(QString::fromStdString(job.id)).isNull())
        throw UsageError(Texts::tr("--id is a UUID, not '%1'.").arg(QString::fromStdString(job.id)));
    return job;
}

ExitStatus WaitForEnd(Session& io_session, Jobs::Job i_job)
{
    auto& console = io_session.GetConsole();
    for (std::string told; !i_job.IsFinal();) {
        const bool isNews = i_job.state == "processing-stopped" && i_job.phase + i_job.detail != told;
        told = i_job.phase + i_job.detail;
        if (isNews)
            console.Tell(Texts::tr("The job waits for somebody: %1").arg(CleanText(i_job.detail)));
        console.ShowProgress(FormatProgress(i_job));
        i_job = io_session.GetClient().WaitForChange(i_job, Long);
    }
    console.Print(io_session.WantsJson() ? FormatJson(ToJson(i_job)) : FormatProgress(i_job) + QLatin1Char('\n'));
    return i_job.state == "completed" ? Succeeded : Failed;
}

/// A name for the user's folder of what somebody else named.
std::string MakeFileName(const std::string& i_name)
{
    auto name = CleanText(i_name).replace(QLatin1Char('/'), QLatin1Char('_'));
    while (name.startsWith(QLatin1Char('.')))
        name.remove(0, 1);
    return name.isEmpty() ? std::string("file") : name.toStdString();
}

/// What the job has under the kind of the command line.
std::pair<Jobs::FileKind, std::string> ChooseFile(const CommandLine& i_line, const Jobs::Job& i_job)
{
    const auto kind = i_line.Has("kind") ? i_line.Get("kind") : std::string("machine-file");
    if (kind == "platform")
        return {Jobs::FileKind::Platform, i_job.platform.name};
    if (kind == "picture" && i_job.hasPicture)
        return {Jobs::FileKind::Picture, i_job.name + ".png"};
    if (kind == "machine-file" && i_job.machineFile)
        return {Jobs::FileKind::MachineFile, i_job.machineFile->name};
    throw JobsError(JobsError::Kind::NotFound,
                    Texts::tr("The job %1 has no such file; it is %2.")
                        .arg(QString::fromStdString(TavSDK::Quote(i_job.name)), CleanText(i_job.state)));
}

std::filesystem::path ChooseTarget(const CommandLine& i_line, const std::string& i_name)
{
    std::error_code ignored;
    std::filesystem::path target = TavSDK::PathFromUtf8(i_line.Get("to"));
    const bool isNamed = !target.empty() && !std::filesystem::is_directory(target, ignored);
    if (isNamed)
        return target;
    target /= TavSDK::PathFromUtf8(MakeFileName(i_name));
    // Somebody else chose the name: nothing of the user's goes by it.
    if (std::filesystem::exists(std::filesystem::symlink_status(target, ignored)))
        throw HostingError(Texts::tr("There is a file %1 already; name another one by --to.").arg(Show(target)));
    return target;
}

} // namespace

ExitStatus Submit(Session& io_session)
{
    const auto& line = io_session.GetLine();
    auto& console = io_session.GetConsole();
    const std::filesystem::path platform = TavSDK::PathFromUtf8(io_session.GetOperand(0));
    auto job = MakeJob(line, platform);
    const auto& client = io_session.GetClient();
    if (line.Has("group"))
        job.target = FindGroup(line, client.GetMachines());
    else
        job.target.machine = client.GetMachine(line.Get("machine")).id;
    const auto tellId = [&] {
        console.Tell(
            Texts::tr("The same command with --id %1 goes on with this job.").arg(QString::fromStdString(job.id)));
    };
    try {
        const auto taken = client.Submit(job, platform, [&](std::uint64_t i_done, std::uint64_t i_all) {
            console.ShowProgress(ShowShare(i_done, i_all));
        });
        if (line.Has("wait"))
            return WaitForEnd(io_session, taken);
        console.Print(io_session.WantsJson() ? FormatJson(ToJson(taken)) : FormatProgress(taken) + QLatin1Char('\n'));
        return Succeeded;
    } catch (const Interruption&) {
        tellId();
        throw;
    } catch (const JobsError& failure) {
        if (failure.GetKind() == JobsError::Kind::NotReached)
            tellId();
        throw;
    }
}

ExitStatus Fetch(Session& io_session)
{
    const auto& line = io_session.GetLine();
    const auto kinds = QStringLiteral("machine-file platform picture").split(QLatin1Char(' '));
    if (line.Has("kind") && !kinds.contains(QString::fromStdString(line.Get("kind"))))
        throw UsageError(Texts::tr("--kind is one of %1.").arg(kinds.join(QStringLiteral(", "))));
    auto& console = io_session.GetConsole();
    const auto& client = io_session.GetClient();
    const auto job = client.GetJob(io_session.GetOperand(0));
    const auto [kind, name] = ChooseFile(line, job);
    const auto target = ChooseTarget(line, name);
    client.Download(job.id, kind, target,
                    [&](std::uint64_t i_done, std::uint64_t i_all) { console.ShowProgress(ShowShare(i_done, i_all)); });
    const auto shown = QString::fromStdString(TavSDK::ShowPath(target));
    console.Print(io_session.WantsJson() ? FormatJson(QJsonObject{{QStringLiteral("file"), shown}})
                                         : CleanText(shown) + QLatin1Char('\n'));
    return Succeeded;
}

ExitStatus Estimate(Session& io_session)
{
    const std::filesystem::path file = TavSDK::PathFromUtf8(io_session.GetOperand(0));
    TavAM::Database database;
    TavAM::AMXFileReader::Read(file, database, io_session.GetStopToken());
    std::optional<Estimates> estimates;
    if (database.GetNumPlatforms() > 0)
        estimates = ReadEstimates(*database.GetPlatform(0));
    if (!estimates)
        throw HostingError(
            Texts::tr("The platform %1 carries no estimates; let its machine estimate or build it first.")
                .arg(Show(file)));
    const struct
    {
        const char* name;
        QString title;
        QString value;
        const char* unit;
    } rows[] = {
        {"layers", Texts::tr("Layers"), estimates->layers, ""},
        {"seconds", Texts::tr("Time"), estimates->seconds, " s"},
        {"millimetres", Texts::tr("Material"), estimates->millimetres, " mm"},
        {"cubicCentimetres", Texts::tr("Volume"), estimates->cubicCentimetres, " cm\u00b3"},
        {"grams", Texts::tr("Mass"), estimates->grams, " g"},
    };
    Details details;
    QJsonObject all;
    for (const auto& row : rows) {
        const auto number = TavSDK::ParseNumber(row.value.toStdString());
        all.insert(QLatin1String(row.name), number ? QJsonValue(*number) : QJsonValue());
        if (!row.value.isEmpty())
            details.Add(row.title, CleanText(row.value) + QString::fromUtf8(row.unit));
    }
    auto& console = io_session.GetConsole();
    console.Print(io_session.WantsJson() ? FormatJson(all) : details.Format(console.GetWidth(), console.IsColoured()));
    return Succeeded;
}

} // namespace MachineCtl::Commands
