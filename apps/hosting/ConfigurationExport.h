#pragma once

#include "machineconfig/MachineConfiguration.h"

#include <QString>

#include <filesystem>
#include <vector>

namespace VexlorCore {
class DataSet;
}

namespace Hosting {

struct ConfigurationExport
{
    /// Why the document was not checked against its schemas, half a sentence; empty when it was, and is valid.
    QString whyNotChecked;
    /// Of the document, which leads to those of its sections that follow.
    std::vector<MachineService::ConfigurationSchema> schemas;
};

/// Writes the configuration that the scene's machine data have, after it was read back and xmllint has checked it
/// against its schemas. Where there is nothing to check with the file is written all the same.
///
/// Thread: UI thread; waits for xmllint.
/// \throws HostingError also for a document that is not valid, which is not written; what the library throws for
/// machine data that no configuration can hold.
ConfigurationExport ExportConfiguration(VexlorCore::DataSet& io_scene, const std::filesystem::path& i_path);

} // namespace Hosting
