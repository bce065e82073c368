#include "tour/PostStep.h"

#include "tour/Results.h"
#include "tour/Transcript.h"

#include "hosting/HostingError.h"
#include "hosting/InterruptWatcher.h"
#include "hosting/ResultFiles.h"
#include "hosting/jobs/JobsClient.h"

#include <QCoreApplication>

#include <chrono>

namespace Tour {

namespace {

using Hosting::HostingError;
using Hosting::Jobs::Job;

constexpr std::chrono::milliseconds WaitSlice(500);

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Tour::PostStep)
};

QString Shown(const std::string& i_text)
{
    return QString::fromStdString(i_text);
}

void ShowState(const Job& i_job, Transcript& io_transcript)
{
    const QString reason = i_job.reasons.empty() ? QString() : Shown(i_job.reasons.front());
    io_transcript.Line(QStringLiteral("  %1  %2  %3")
                           .arg(Shown(i_job.state).leftJustified(18), reason.leftJustified(28), Shown(i_job.detail)));
}

Job WaitForEnd(const Hosting::JobsClient& i_client, Job i_job, const Hosting::InterruptWatcher& i_interrupts,
               Transcript& io_transcript)
{
    ShowState(i_job, io_transcript);
    while (!i_job.IsFinal()) {
        auto next = i_client.WaitForChange(i_job, WaitSlice);
        i_interrupts.ThrowIfInterrupted();
        if (next.phase != i_job.phase || next.detail != i_job.detail)
            ShowState(next, io_transcript);
        i_job = std::move(next);
    }
    return i_job;
}

} // namespace

void AwaitJob(const QUrl& i_page, const Hosting::InterruptWatcher& i_interrupts, Results& io_results,
              Transcript& io_transcript)
{
    if (!i_page.isValid())
        throw HostingError(Texts::tr("The Machine Manager did not say where it shows the job."));
    const Hosting::JobsClient client(Hosting::GetOwnManagerAddress(), {}, i_interrupts.GetStopToken());
    auto job = client.GetJob(i_page.path().section(QLatin1Char('/'), -1).toStdString());
    io_transcript.Line(Texts::tr("  number %1, %2").arg(job.number).arg(Shown(job.name)));
    io_transcript.Line(Texts::tr("  page   %1").arg(i_page.toString(QUrl::FullyEncoded)));
    job = WaitForEnd(client, std::move(job), i_interrupts, io_transcript);
    if (job.state != "completed")
        throw HostingError(Texts::tr("The job is %1: %2").arg(Shown(job.state), Shown(job.detail)));
    if (!job.machineFile)
        throw HostingError(Texts::tr("The job has no machine file."));
    const std::filesystem::path name = job.machineFile->name;
    client.Download(job.id, Hosting::Jobs::FileKind::MachineFile,
                    io_results.AddMachineFile(name.filename().string(), io_transcript));
}

} // namespace Tour
