#include "machineconfig/ConfigurationErrors.h"

#include "client/interface/CommunicationException.h"

#include <utility>

namespace MachineService {

Q_LOGGING_CATEGORY(ConfigurationLog, "machineservice.machineconfig")

void ThrowInternalError(const QString& i_message)
{
    throw CommunicationException(ErrorCode::InternalError, i_message.toUtf8().constData());
}

void ThrowFileError(const QString& i_message)
{
    throw CommunicationException(ErrorCode::FileError, i_message.toUtf8().constData());
}

void TellRemarks(std::vector<std::string> i_remarks, std::vector<std::string>* op_remarks)
{
    if (op_remarks) {
        *op_remarks = std::move(i_remarks);
        return;
    }
    for (const std::string& remark : i_remarks)
        qCWarning(ConfigurationLog, "A machine configuration departs from its schemas: %s.", remark.c_str());
}

} // namespace MachineService
