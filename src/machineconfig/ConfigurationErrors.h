#pragma once

#include <QLoggingCategory>
#include <QString>

#include <string>
#include <vector>

namespace MachineService {

Q_DECLARE_LOGGING_CATEGORY(ConfigurationLog)

[[noreturn]] void ThrowInternalError(const QString& i_message);
[[noreturn]] void ThrowFileError(const QString& i_message);
/// To the caller who wants to know, else to the log.
void TellRemarks(std::vector<std::string> i_remarks, std::vector<std::string>* op_remarks);

} // namespace MachineService
