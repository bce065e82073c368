#include "vexlorcore/SceneFile.h"

#include "tavam/AMXFileReader.h"
#include "tavam/AMXFileWriter.h"
#include "tavam/FileError.h"
#include "vexlorcore/Database.h"

#include <QString>

namespace VexlorCore {

namespace {

/// Not path::wstring(): that converts by the C locale, which a host need not have set.
std::wstring ToFileName(const std::filesystem::path& i_path)
{
    return QString::fromStdString(std::filesystem::absolute(i_path).string()).toStdWString();
}

} // namespace

void SaveScene(DataSet& io_scene, const std::filesystem::path& i_path)
{
    TavAM::AMXFileWriter().WriteFile(i_path, io_scene.GetPlatform());
    io_scene.SetFileName(ToFileName(i_path));
}

DataSet* LoadScene(Database& io_database, const std::filesystem::path& i_path)
{
    TavAM::AMXFileReader reader;
    TavAM::Database file;
    if (!reader.ReadFile(i_path, file))
        throw TavAM::FileError(reader.GetError());
    if (file.GetNumPlatforms() != 1)
        throw TavAM::FileError("'" + i_path.string() + "' holds " + std::to_string(file.GetNumPlatforms()) +
                               " platforms; a scene takes one.");
    auto* scene = io_database.CreateDataSet();
    scene->SetPlatform(*file.GetPlatform(0));
    scene->SetFileName(ToFileName(i_path));
    return scene;
}

} // namespace VexlorCore
