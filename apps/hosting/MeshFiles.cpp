#include "hosting/MeshFiles.h"

#include "hosting/InterruptWatcher.h"

#include "vexlorcore/meshimport/MeshImporter.h"

#include <QEventLoop>

#include <exception>
#include <iterator>
#include <thread>

namespace Hosting {

std::vector<TavAM::Part> ReadMeshFiles(const std::vector<std::filesystem::path>& i_files,
                                       const InterruptWatcher& i_interrupts)
{
    std::vector<TavAM::Part> parts;
    std::exception_ptr failure;
    QEventLoop loop;
    {
        const auto stop = i_interrupts.GetStopToken();
        const std::jthread reader([&] {
            try {
                for (const auto& file : i_files) {
                    auto read = VexlorCore::ImportMeshFile(file, stop);
                    std::move(read.begin(), read.end(), std::back_inserter(parts));
                }
            } catch (const std::exception&) {
                failure = std::current_exception();
            }
            // Queued, so that it also ends a loop that has not begun.
            QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
        });
        loop.exec();
    }
    i_interrupts.ThrowIfInterrupted();
    if (failure)
        std::rethrow_exception(failure);
    return parts;
}

} // namespace Hosting
