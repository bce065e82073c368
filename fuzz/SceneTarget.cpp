#include "Fuzz.h"

#include "tavam/FileError.h"
#include "vexlorcore/DataSet.h"
#include "vexlorcore/Database.h"
#include "vexlorcore/SceneFile.h"
#include "vexlorcore/SceneMachineData.h"

#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* ip_data, std::size_t i_size)
{
    VexlorCore::Database database;
    VexlorCore::DataSet* scene = nullptr;
    try {
        scene = VexlorCore::LoadScene(database, Fuzz::MakeFile(Fuzz::ToText(ip_data, i_size)));
    } catch (const TavAM::FileError& failure) {
        Fuzz::RequireSentence(failure);
        Fuzz::Require(database.GetDataSets().empty(), "there is no scene of a file that cannot be read");
        return 0;
    }
    try {
        if (MachineLayer::Utilities::GetMachineDataMutable(scene))
            MachineLayer::Utilities::StoreMachineData(scene);
    } catch (const std::invalid_argument& failure) {
        Fuzz::RequireSentence(failure);
        return 0;
    }
    const auto saved = Fuzz::GetFolder() / "saved.TavAMX";
    VexlorCore::SaveScene(*scene, saved);
    VexlorCore::DataSet* const reopened = VexlorCore::LoadScene(database, saved);
    const auto* const data = MachineLayer::Utilities::GetMachineDataMutable(scene);
    const auto* const read = MachineLayer::Utilities::GetMachineDataMutable(reopened);
    Fuzz::Require(!data == !read && (!data || data->Get() == read->Get()), "machine data read back the same");
    return 0;
}
