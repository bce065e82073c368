#include "contract/PlatformFiles.h"

#include "contract/Failure.h"
#include "tavam/AMXFileReader.h"
#include "tavam/AMXFileWriter.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"

namespace MachineService {

std::shared_ptr<TavAM::Platform> ReadOnePlatform(const std::filesystem::path& i_file, const std::stop_token& i_stop)
{
    TavAM::Database database;
    try {
        TavAM::AMXFileReader::Read(i_file, database, i_stop);
    } catch (const TavSDK::FileError& failure) {
        // Reading that is stopped ends like a damaged file.
        if (i_stop.stop_requested())
            throw CommunicationException(ErrorCode::ProcessingAborted);
        Fail(ErrorCode::FileError, failure.what());
    }
    if (database.GetNumPlatforms() != 1)
        Fail(ErrorCode::FileError, "The file '" + TavSDK::ShowPath(i_file) + "' holds " +
                                       std::to_string(database.GetNumPlatforms()) + " platforms; one is expected.");
    return database.GetPlatform(0);
}

CommandResult WritePlatformResult(const std::filesystem::path& i_output_dir, const TavAM::Platform& i_platform,
                                  DataFormat i_format)
{
    TavAM::AMXFileWriter().WriteFile(i_output_dir / "platform.TavAMX", i_platform);
    CommandResult result;
    result.dataFormat = i_format;
    return result;
}

} // namespace MachineService
