#include "ResultFiles.h"

#include "PlatformComparison.h"
#include "TourError.h"

#include "machineconfig/CarriedMachineConfiguration.h"
#include "tavam/AMXFileReader.h"
#include "tavam/AMXFileWriter.h"
#include "vexlorcore/DataSet.h"

#include <QCoreApplication>

#include <system_error>

namespace Workbench {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Workbench::ResultFiles)
};

} // namespace

QString FromPath(const std::filesystem::path& i_path)
{
    return QString::fromStdString(i_path.string());
}

void CopyFile(const std::filesystem::path& i_from, const std::filesystem::path& i_to)
{
    const std::filesystem::path temporary = i_to.string() + ".part";
    std::error_code error;
    std::filesystem::copy_file(i_from, temporary, std::filesystem::copy_options::overwrite_existing, error);
    if (!error)
        std::filesystem::rename(temporary, i_to, error);
    if (error) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
        throw TourError(
            Texts::tr("'%1' cannot be written: %2.").arg(FromPath(i_to), QString::fromStdString(error.message())));
    }
}

void SavePlatform(VexlorCore::DataSet& io_scene, const std::filesystem::path& i_path)
{
    MachineService::Utilities::UpdateMachineConfiguration(&io_scene);
    TavAM::AMXFileWriter().WriteFile(i_path, io_scene.GetPlatform());
    TavAM::AMXFileReader reader;
    TavAM::Database database;
    if (!reader.ReadFile(i_path, database))
        throw TourError(QString::fromStdString(reader.GetError()));
    if (database.GetNumPlatforms() != 1)
        throw TourError(Texts::tr("'%1' does not hold one platform.").arg(FromPath(i_path)));
    const QString difference = FindDifference(io_scene.GetPlatform(), *database.GetPlatform(0));
    if (!difference.isEmpty())
        throw TourError(Texts::tr("'%1' does not hold what was saved. %2").arg(FromPath(i_path), difference));
}

} // namespace Workbench
