#include "hosting/HostingError.h"
#include "hosting/InterruptWatcher.h"
#include "machinectl/Backup.h"
#include "machinectl/CommandTable.h"
#include "machinectl/Commands.h"
#include "machinectl/JobJson.h"
#include "machinectl/JobViews.h"
#include "machinectl/Session.h"
#include "machinectl/TextWidth.h"
#include "tavsdk/Path.h"

#include <QCoreApplication>

#include <algorithm>
#include <map>
#include <numeric>
#include <set>

namespace MachineCtl::Commands {

namespace {

using namespace Hosting;

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(MachineCtl::BackupCommands)
};

QString ShowShare(std::uint64_t i_done, std::uint64_t i_all)
{
    const auto percent = i_all == 0 ? 100 : std::min<std::uint64_t>(i_done * 100 / i_all, 100);
    return QStringLiteral("%1 %  %2").arg(percent).arg(FormatSize(i_all));
}

/// While it is there, the manager removes no file.
class Hold
{
public:
    explicit Hold(const JobsClient& i_client)
        : contents(i_client.BeginBackup())
        , _client(i_client)
    {}
    ~Hold()
    {
        // Without it the manager gives up waiting by itself.
        try {
            _client.EndBackup(contents.id);
        } catch (const std::exception&) {
        } catch (const Interruption&) {
        }
    }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

    Jobs::BackupContents contents;

private:
    const JobsClient& _client;
};

std::uint64_t SumUp(const Jobs::BackupContents& i_contents)
{
    return std::accumulate(i_contents.files.begin(), i_contents.files.end(), i_contents.store.size,
                           [](std::uint64_t i_sum, const Jobs::StoredFile& i_file) { return i_sum + i_file.size; });
}

/// Fetches what the backup holds; files that are damaged at the manager become missing ones.
void FetchFiles(Session& io_session, Jobs::BackupContents& io_contents, IBackupWriter& io_writer)
{
    const auto& client = io_session.GetClient();
    const auto all = SumUp(io_contents);
    std::uint64_t done = 0;
    const auto fetch = [&](const Jobs::StoredFile& i_file) {
        if (io_writer.Has(i_file)) {
            done += i_file.size;
            return true;
        }
        io_writer.Begin(i_file);
        const bool isGood = client.FetchFile(i_file, [&](std::string_view i_bytes) {
            io_writer.Write(i_bytes);
            done += i_bytes.size();
            io_session.GetConsole().ShowProgress(ShowShare(done, all));
        });
        io_writer.End(isGood);
        return isGood;
    };
    if (!fetch(io_contents.store))
        throw JobsError(JobsError::Kind::Server,
                        Texts::tr("The copy of the job store came damaged; look after the manager's disk, then try "
                                  "again."));
    std::vector<Jobs::StoredFile> good;
    for (const auto& file : io_contents.files) {
        if (fetch(file))
            good.push_back(file);
        else
            io_contents.missing.push_back(file.sha256);
    }
    io_contents.files = std::move(good);
}

/// Sends files of a backup.
void SendFiles(Session& io_session, const IBackupReader& i_reader, const std::map<std::string, std::uint64_t>& i_files)
{
    const auto all = std::accumulate(i_files.begin(), i_files.end(), std::uint64_t(0),
                                     [](std::uint64_t i_sum, const auto& i_file) { return i_sum + i_file.second; });
    std::uint64_t done = 0;
    i_reader.ForEach([&](const std::string& i_name, std::uint64_t i_size, const std::function<std::string()>& i_read) {
        const auto hash = FindHash(i_name);
        if (i_files.count(hash) == 0)
            return;
        io_session.GetClient().SendFile({hash, i_size}, [&] {
            auto piece = i_read();
            done += piece.size();
            io_session.GetConsole().ShowProgress(ShowShare(done, all));
            return piece;
        });
    });
}

/// Files of the backup that the manager has not.
std::map<std::string, std::uint64_t> FindMissing(const JobsClient& i_client, const Jobs::BackupContents& i_contents)
{
    std::map<std::string, std::uint64_t> there;
    for (const auto& file : i_client.ListFiles())
        there[file.sha256] = file.size;
    auto needed = i_contents.files;
    needed.push_back(i_contents.store);
    std::map<std::string, std::uint64_t> missing;
    for (const auto& file : needed) {
        const auto found = there.find(file.sha256);
        if (found == there.end() || found->second != file.size)
            missing[file.sha256] = file.size;
    }
    return missing;
}

struct Checked
{
    std::vector<Jobs::Finding> findings;
    std::int64_t files = 0;
};

Checked CheckAll(Session& io_session, bool i_is_whole)
{
    const auto& client = io_session.GetClient();
    Checked checked{client.CheckStore(), 0};
    for (std::optional<std::int64_t> next = 0; next;) {
        auto page = client.CheckFiles(*next, i_is_whole);
        std::move(page.findings.begin(), page.findings.end(), std::back_inserter(checked.findings));
        checked.files += page.files;
        io_session.GetConsole().ShowProgress(Texts::tr("files: %1").arg(checked.files));
        next = page.next;
    }
    return checked;
}

QJsonObject ToJson(const Jobs::Finding& i_finding)
{
    return {{QStringLiteral("kind"), QString::fromStdString(i_finding.kind)},
            {QStringLiteral("number"),
             i_finding.number == 0 ? QJsonValue() : QJsonValue(static_cast<qint64>(i_finding.number))},
            {QStringLiteral("job"), QString::fromStdString(i_finding.job)},
            {QStringLiteral("file"), QString::fromStdString(i_finding.file)},
            {QStringLiteral("sha256"), QString::fromStdString(i_finding.sha256)},
            {QStringLiteral("detail"), QString::fromStdString(i_finding.detail)}};
}

QString Translate(const std::string& i_kind)
{
    if (i_kind == "store")
        return Texts::tr("store");
    if (i_kind == "missing")
        return Texts::tr("missing");
    if (i_kind == "damaged")
        return Texts::tr("damaged");
    if (i_kind == "unreadable")
        return Texts::tr("unreadable");
    if (i_kind == "unneeded")
        return Texts::tr("not needed");
    return CleanText(i_kind);
}

Table MakeTable(const std::vector<Jobs::Finding>& i_findings)
{
    Table table({{Texts::tr("Fault"), 8, 9},
                 {Texts::tr("Job"), 4, 8, true},
                 {Texts::tr("File"), 10, 5},
                 {Texts::tr("What to do"), 20, 7}});
    for (const auto& finding : i_findings)
        table.AddRow({{Translate(finding.kind), finding.kind == "unneeded" ? Look::Plain : Look::Bad},
                      finding.number == 0 ? QString() : QString::number(finding.number),
                      CleanText(finding.file.empty() ? finding.sha256 : finding.file),
                      CleanText(finding.detail)});
    return table;
}

/// Gives a manager back the files that it lost, and nothing else.
ExitStatus MendFiles(Session& io_session, const IBackupReader& i_reader, const Jobs::BackupContents& i_contents)
{
    std::map<std::string, std::uint64_t> there;
    for (const auto& file : i_contents.files)
        there[file.sha256] = file.size;
    std::map<std::string, std::uint64_t> lost;
    std::set<std::string> gone;
    for (const auto& finding : CheckAll(io_session, true).findings) {
        const auto found = there.find(finding.sha256);
        if (finding.kind == "unneeded" || finding.kind == "store")
            continue;
        if (found != there.end())
            lost.insert(*found);
        else
            gone.insert(finding.sha256);
    }
    SendFiles(io_session, i_reader, lost);
    auto& console = io_session.GetConsole();
    console.Print(io_session.WantsJson()
                      ? FormatJson(QJsonObject{{QStringLiteral("files"), static_cast<qint64>(lost.size())},
                                               {QStringLiteral("missing"), static_cast<qint64>(gone.size())}})
                      : Texts::tr("Files that were lost and are there again: %1").arg(lost.size()) + QLatin1Char('\n'));
    if (gone.empty())
        return Succeeded;
    console.Tell(
        Texts::tr("Files that are lost and not in the backup: %1; machinectl check names them.").arg(gone.size()));
    return Unsound;
}

} // namespace

ExitStatus Backup(Session& io_session)
{
    const std::filesystem::path target = TavSDK::PathFromUtf8(io_session.GetOperand(0));
    auto& console = io_session.GetConsole();
    const auto& client = io_session.GetClient();
    const auto writer = MakeBackupWriter(target);
    Hold hold(client);
    auto& contents = hold.contents;
    FetchFiles(io_session, contents, *writer);
    writer->Commit(contents);
    const auto size = SumUp(contents);
    console.Print(
        io_session.WantsJson()
            ? FormatJson(QJsonObject{{QStringLiteral("jobs"), static_cast<qint64>(contents.jobs)},
                                     {QStringLiteral("files"), static_cast<qint64>(contents.files.size())},
                                     {QStringLiteral("missing"), static_cast<qint64>(contents.missing.size())},
                                     {QStringLiteral("bytes"), static_cast<qint64>(size)}})
            : Texts::tr("Jobs: %1, files: %2, %3").arg(contents.jobs).arg(contents.files.size()).arg(FormatSize(size)) +
                  QLatin1Char('\n'));
    if (contents.missing.empty())
        return Succeeded;
    console.Tell(
        Texts::tr("Files that the manager has lost, and that the backup lacks: %1; machinectl check names them.")
            .arg(contents.missing.size()));
    return Unsound;
}

ExitStatus Restore(Session& io_session)
{
    const auto& line = io_session.GetLine();
    if (line.Has("files") && line.Has("replace"))
        throw UsageError(Texts::tr("--files replaces no jobs; leave --replace out."));
    const std::filesystem::path source = TavSDK::PathFromUtf8(io_session.GetOperand(0));
    auto& console = io_session.GetConsole();
    const auto reader = OpenBackup(source);
    const auto contents = CheckBackup(
        *reader, source,
        [&](std::uint64_t i_done) { console.ShowProgress(Texts::tr("reading: %1").arg(FormatSize(i_done))); },
        io_session.GetStopToken());
    const auto& client = io_session.GetClient();
    const Hold hold(client);
    if (line.Has("files"))
        return MendFiles(io_session, *reader, contents);
    // Said before hours of sending.
    if (hold.contents.jobs > 0 && !line.Has("replace"))
        throw JobsError(JobsError::Kind::Conflict,
                        Texts::tr("The manager has jobs already, %1 of them. With --replace they are set aside, in a "
                                  "folder of the manager.")
                            .arg(hold.contents.jobs));
    SendFiles(io_session, *reader, FindMissing(client, contents));
    const auto restored = client.Restore(contents.store.sha256, line.Has("replace"), !contents.missing.empty());
    if (io_session.WantsJson()) {
        console.Print(FormatJson(QJsonObject{{QStringLiteral("jobs"), static_cast<qint64>(restored.jobs)},
                                             {QStringLiteral("held"), static_cast<qint64>(restored.held)},
                                             {QStringLiteral("aside"), QString::fromStdString(restored.aside)}}));
        return Succeeded;
    }
    console.Print(Texts::tr("Restored jobs: %1").arg(restored.jobs) + QLatin1Char('\n'));
    if (restored.held > 0)
        console.Tell(
            Texts::tr("Jobs that waited when the backup was made, and are held now: %1. Release those that were not "
                      "printed since.")
                .arg(restored.held));
    if (!restored.aside.empty())
        console.Tell(Texts::tr("What was there before is set aside in the manager's folder %1, as a backup.")
                         .arg(CleanText(restored.aside)));
    return Succeeded;
}

ExitStatus Check(Session& io_session)
{
    const auto checked = CheckAll(io_session, !io_session.GetLine().Has("quick"));
    const bool isSound = std::all_of(checked.findings.begin(), checked.findings.end(),
                                     [](const Jobs::Finding& i_finding) { return i_finding.kind == "unneeded"; });
    auto& console = io_session.GetConsole();
    if (io_session.WantsJson()) {
        QJsonArray findings;
        for (const auto& finding : checked.findings)
            findings.append(ToJson(finding));
        console.Print(FormatJson(QJsonObject{{QStringLiteral("sound"), isSound},
                                             {QStringLiteral("files"), static_cast<qint64>(checked.files)},
                                             {QStringLiteral("findings"), findings}}));
        return isSound ? Succeeded : Unsound;
    }
    if (!checked.findings.empty())
        console.Print(MakeTable(checked.findings).Format(console.GetWidth(), console.IsColoured()));
    if (isSound)
        console.Tell(Texts::tr("The store is sound, and so is each file of its jobs; files: %1.").arg(checked.files));
    return isSound ? Succeeded : Unsound;
}

} // namespace MachineCtl::Commands
