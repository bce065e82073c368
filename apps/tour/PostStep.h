#pragma once

#include <QObject>
#include <QString>
#include <QUrl>

#include <filesystem>

namespace Hosting {
class InterruptWatcher;
}

namespace Tour {

class Results;
class Transcript;

/// The page that a browser would be asked to open: a host without a window tells its address instead.
///
/// Thread: UI thread. One at a time.
class PageAddress final : public QObject
{
    Q_OBJECT

public:
    PageAddress();
    ~PageAddress() override;

    /// Not valid when no page was to be opened.
    const QUrl& Get() const { return _url; }

public Q_SLOTS:
    void Take(const QUrl& i_url) { _url = i_url; }

private:
    QUrl _url;
};

/// Follows the job that the page shows until it is over, and adds its machine file to the results.
///
/// Interrupting ends the waiting, not the job.
/// Thread: UI thread, blocking.
/// \throws Hosting::HostingError with one sentence when the job is not completed, Hosting::Interruption.
void AwaitJob(const QUrl& i_page, const Hosting::InterruptWatcher& i_interrupts, Results& io_results,
              Transcript& io_transcript);

} // namespace Tour
