#include "platform/ErrorMessages.h"

#include "platform/PlainText.h"

#include <QCoreApplication>

namespace MachineService {

namespace {

constexpr int Key(ErrorCode i_code)
{
    return static_cast<int>(i_code);
}

std::string ChooseMessage(int i_code, const char* ip_own_text)
{
    const auto entry = ErrorMessageTable.find(i_code);
    if (entry != ErrorMessageTable.end())
        return QCoreApplication::translate("MachineService", entry->second).toStdString();
    return ToPlainText(QCoreApplication::translate("MachineService", ip_own_text)).toStdString();
}

} // namespace

const std::map<int, const char*> ErrorMessageTable = {
    {Key(ErrorCode::ServicesUnavailable),
     QT_TRANSLATE_NOOP("MachineService", "Could not collect information about Build Processors")},
    {Key(ErrorCode::CommandNotFound),
     QT_TRANSLATE_NOOP("MachineService",
                       "Build Processor command cannot be found. Please check the machine properties from "
                       "the Build Processor Manager.")},
    // "Process" it is, not "Processor": translations are keyed by this text.
    {Key(ErrorCode::ReportNotSupported),
     QT_TRANSLATE_NOOP("MachineService", "The Build Process doesn't support report generation")},
    {Key(ErrorCode::UnexpectedOutput), QT_TRANSLATE_NOOP("MachineService", "Unexpected Build Processor output.")},
    {Key(ErrorCode::MachineNotFound),
     QT_TRANSLATE_NOOP("MachineService",
                       "Machine cannot be found. Please check the machines added to the Build Processor Manager.")},
    {Key(ErrorCode::QueuePaused),
     QT_TRANSLATE_NOOP("MachineService",
                       "Build Processor queue is paused. Please resume the queue from the Build Processor Manager.")},
    {Key(ErrorCode::QueueError),
     QT_TRANSLATE_NOOP("MachineService",
                       "Build Processor queue has an error. Please check the machine status from the Build "
                       "Processor Manager.")},
    {Key(ErrorCode::QueueOffline),
     QT_TRANSLATE_NOOP("MachineService", "Build Processor queue is offline. Please check the connection to the network "
                                         "machine from the Build Processor Manager.")},
    {Key(ErrorCode::UnsupportedInputFormat), QT_TRANSLATE_NOOP("MachineService", "Unsupported input file format.")},
    {Key(ErrorCode::ProcessingError),
     QT_TRANSLATE_NOOP("MachineService", "An error occurred while processing the job.")},
    {Key(ErrorCode::ProcessingAborted), QT_TRANSLATE_NOOP("MachineService", "Job processing was aborted.")},
    {Key(ErrorCode::SendFailed),
     QT_TRANSLATE_NOOP("MachineService", "The platform failed to be sent for processing to the Machine Manager.")},
    {Key(ErrorCode::MachineLoadError),
     QT_TRANSLATE_NOOP("MachineService", "An error occurred while loading the machine.")},
};

std::string GetResultErrorMessage(const PlatformInfo& i_result)
{
    return ChooseMessage(i_result.code, i_result.message.c_str());
}

std::string GetResultErrorMessage(const CommandResult& i_result)
{
    return ChooseMessage(i_result.status, i_result.message.c_str());
}

std::string GetExceptionErrorMessage(const CommunicationException& i_exception)
{
    return ChooseMessage(Key(i_exception.code()), i_exception.what());
}

} // namespace MachineService
