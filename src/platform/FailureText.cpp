#include "platform/FailureText.h"

#include "client/interface/CommunicationException.h"
#include "platform/ErrorMessages.h"
#include "platform/PlainText.h"

#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "vexlorcore/HostException.h"

#include <QCoreApplication>

#include <exception>
#include <filesystem>
#include <future>
#include <memory>
#include <new>

namespace MachineService {

namespace {

QString GetTextOfCurrentException()
{
    try {
        throw;
    } catch (const CommunicationException& exception) {
        const QString text = QString::fromStdString(GetExceptionErrorMessage(exception));
        if (!text.isEmpty())
            return text;
        return QCoreApplication::translate("PrinterHelpers", "The command failed with error code %1.")
            .arg(static_cast<int>(exception.code()));
    } catch (const std::filesystem::filesystem_error& failure) {
        return QCoreApplication::translate("PrinterHelpers", "'%1' cannot be read or written: %2.")
            .arg(QString::fromStdString(TavSDK::ShowPath(failure.path1())),
                 QString::fromStdString(TavSDK::ErrnoText(failure.code().value())));
    } catch (const std::future_error&) {
        return QCoreApplication::translate("PrinterHelpers", "The service of the machine ended without an answer.");
    } catch (const std::bad_alloc&) {
        return QCoreApplication::translate("PrinterHelpers", "There is not enough memory.");
    } catch (const std::exception& exception) {
        return QString::fromUtf8(exception.what());
    } catch (const VexlorCore::HostException& exception) {
        return QString::fromStdWString(exception.GetErrorMessage());
    } catch (const VexlorCore::HostException* ip_exception) {
        const std::unique_ptr<const VexlorCore::HostException> exception(ip_exception);
        return exception ? QString::fromStdWString(exception->GetErrorMessage()) : QString();
    } catch (...) {
        return QString();
    }
}

} // namespace

QString DescribeCurrentException()
{
    const QString text = ToPlainText(GetTextOfCurrentException());
    if (text.trimmed().isEmpty())
        return QCoreApplication::translate("PrinterHelpers", "The command failed for an unknown reason.");
    return text;
}

} // namespace MachineService
