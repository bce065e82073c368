#pragma once

#include <QString>

namespace Hosting {
class Host;
class InterruptWatcher;
} // namespace Hosting
namespace VexlorCore {
class DataSet;
}

namespace Tour {

class ConsoleMessages;
class Transcript;

/// Shows the ribbon of the scene's printer, then runs the command of this name, or without one all of them in the
/// ribbon's order.
///
/// Thread: UI thread.
/// \throws std::runtime_error with one sentence for the user, UTF-8, when there is no such command or one of them was
/// not carried out.
/// \throws Hosting::Interruption
void RunCommands(Hosting::Host& io_host, VexlorCore::DataSet& io_scene, const QString& i_wanted,
                 const Hosting::InterruptWatcher& i_interrupts, const ConsoleMessages& i_messages,
                 Transcript& io_transcript);

} // namespace Tour
