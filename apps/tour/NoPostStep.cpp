#include "tour/PostStep.h"

#include "hosting/HostingError.h"

#include <QCoreApplication>

namespace Tour {

void AwaitJob(const QUrl& /*i_page*/, const Hosting::InterruptWatcher& /*i_interrupts*/, Results& /*io_results*/,
              Transcript& /*io_transcript*/)
{
    throw Hosting::HostingError(QCoreApplication::translate(
        "Tour::PostStep",
        "This program was built without the Machine Manager: build it with MACHINESERVICE_BUILD_WIRE=ON."));
}

} // namespace Tour
