#include "vexlorcore/SceneFile.h"

#include "tavam/AMXFileReader.h"
#include "tavam/AMXFileWriter.h"
#include "tavam/FileError.h"
#include "vexlorcore/Database.h"

namespace VexlorCore {

void SaveScene(DataSet& io_scene, const std::filesystem::path& i_path)
{
    TavAM::AMXFileWriter().WriteFile(i_path, io_scene.GetPlatform());
    io_scene.SetFileName(std::filesystem::absolute(i_path).wstring());
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
    scene->SetFileName(std::filesystem::absolute(i_path).wstring());
    return scene;
}

} // namespace VexlorCore
