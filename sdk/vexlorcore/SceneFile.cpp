#include "vexlorcore/SceneFile.h"

#include "tavam/AMXFileReader.h"
#include "tavam/AMXFileWriter.h"
#include "tavam/FileError.h"
#include "tavsdk/Path.h"
#include "vexlorcore/Database.h"

namespace VexlorCore {

namespace {

std::wstring ToFileName(const std::filesystem::path& i_path)
{
    return TavSDK::PathToWide(std::filesystem::absolute(i_path));
}

} // namespace

void SaveScene(DataSet& io_scene, const std::filesystem::path& i_path)
{
    const std::wstring name = ToFileName(i_path);
    TavAM::AMXFileWriter().WriteFile(i_path, io_scene.GetPlatform());
    io_scene.SetFileName(name);
}

DataSet* LoadScene(Database& io_database, const std::filesystem::path& i_path)
{
    TavAM::Database file;
    TavAM::AMXFileReader::Read(i_path, file);
    if (file.GetNumPlatforms() != 1)
        throw TavAM::FileError("'" + TavSDK::ShowPath(i_path) + "' holds " + std::to_string(file.GetNumPlatforms()) +
                               " platforms; a scene takes one.");
    const std::wstring name = ToFileName(i_path);
    auto* scene = io_database.CreateDataSet();
    scene->SetPlatform(*file.GetPlatform(0));
    scene->SetFileName(name);
    return scene;
}

} // namespace VexlorCore
