#include "buildprocessor/base/Guard.h"

#include "contract/Failure.h"
#include "tavam/FileError.h"

#include <new>

namespace MachineService::BuildProcessor {

void RethrowForUser()
{
    try {
        throw;
    } catch (const CommunicationException&) {
        throw;
    } catch (const TavAM::FileError& failure) {
        Fail(ErrorCode::FileError, failure.what());
    } catch (const std::bad_alloc&) {
        Fail(ErrorCode::InternalError, "There is not enough memory for the platform.");
    } catch (const std::exception& failure) {
        Fail(ErrorCode::InternalError, std::string("The job failed: ") + failure.what());
    }
}

} // namespace MachineService::BuildProcessor
