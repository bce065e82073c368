#include "hosting/ResultFiles.h"

#include "hosting/HostingError.h"
#include "hosting/PlatformComparison.h"

#include "machineconfig/CarriedMachineConfiguration.h"
#include "tavam/AMXFileReader.h"
#include "tavam/AMXFileWriter.h"
#include "tavam/PropertyNames.h"
#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"
#include "vexlorcore/DataSet.h"

#include <QCoreApplication>

namespace Hosting {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Hosting::ResultFiles)
};

} // namespace

QString FromPath(const std::filesystem::path& i_path)
{
    return QString::fromStdString(TavSDK::ShowPath(i_path));
}

std::filesystem::path GetMachineFile(const TavAM::Platform& i_platform)
{
    const auto path = i_platform.GetAMXProperties().GetText(TavAM::PropertyNames::Print3D::MachineFile).value_or(L"");
    return TavSDK::PathFromWide(path);
}

void CopyFile(const std::filesystem::path& i_from, const std::filesystem::path& i_to)
{
    const auto open = [&] {
        try {
            return TavSDK::InputFile(i_from);
        } catch (const TavSDK::FileError& failure) {
            throw HostingError(
                Texts::tr("'%1' cannot be read: %2.").arg(FromPath(i_from), QString::fromUtf8(failure.what())));
        }
    };
    TavSDK::InputFile source = open();
    try {
        TavSDK::AtomicFile target(i_to);
        target.Copy(source);
        target.Commit();
    } catch (const TavSDK::FileError& failure) {
        throw HostingError(
            Texts::tr("'%1' cannot be written: %2.").arg(FromPath(i_to), QString::fromUtf8(failure.what())));
    }
}

void SavePlatform(VexlorCore::DataSet& io_scene, const std::filesystem::path& i_path)
{
    MachineService::Utilities::UpdateMachineConfiguration(&io_scene);
    const auto check = [&](const std::filesystem::path& i_written) {
        TavAM::Database database;
        TavAM::AMXFileReader reader;
        if (!reader.ReadFile(i_written, database))
            throw HostingError(Texts::tr("'%1' was not saved: what was written cannot be read. Please try again.")
                                   .arg(FromPath(i_path)));
        if (database.GetNumPlatforms() != 1)
            throw HostingError(Texts::tr("'%1' does not hold one platform.").arg(FromPath(i_path)));
        const QString difference = FindDifference(io_scene.GetPlatform(), *database.GetPlatform(0));
        if (!difference.isEmpty())
            throw HostingError(Texts::tr("'%1' does not hold what was saved. %2").arg(FromPath(i_path), difference));
    };
    TavAM::AMXFileWriter().WriteFile(i_path, io_scene.GetPlatform(), check);
}

} // namespace Hosting
