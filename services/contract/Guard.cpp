#include "contract/Guard.h"

#include "contract/Failure.h"
#include "tavsdk/FileError.h"

#include <new>
#include <string>

namespace MachineService {

void RethrowForUser(const char* ip_beginning)
{
    try {
        throw;
    } catch (const CommunicationException&) {
        throw;
    } catch (const TavSDK::FileError& failure) {
        Fail(ErrorCode::FileError, failure.what());
    } catch (const std::bad_alloc&) {
        Fail(ErrorCode::InternalError, "There is not enough memory for the platform.");
    } catch (const std::exception& failure) {
        Fail(ErrorCode::InternalError, std::string(ip_beginning) + failure.what());
    }
}

} // namespace MachineService
