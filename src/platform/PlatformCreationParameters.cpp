#include "platform/PlatformCreationParameters.h"

#include "client/interface/CommunicationException.h"

#include "tavsdk/Utf8.h"
#include "tavsdk/XmlWriter.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QString>

#include <stdexcept>
#include <string>

namespace MachineService {

namespace {

Q_LOGGING_CATEGORY(ParametersLog, "machineservice.platform.parameters")

constexpr char Namespace[] = "https://www.vexlor.example/BuildProcessor/2014";
constexpr char RootTag[] = "PlatformCreationParameters";
constexpr char ValueTag[] = "ParameterValue";

[[noreturn]] void ThrowNotCreated(const wchar_t* ip_path)
{
    const QString message =
        QCoreApplication::translate("MachineService", "Failed to create '%1'.").arg(QString::fromWCharArray(ip_path));
    throw CommunicationException(ErrorCode::FileError, message.toUtf8().constData());
}

void Write(const ParameterValues& i_values, TavSDK::XmlWriter& io_writer)
{
    io_writer.WriteStartTag(RootTag);
    io_writer.WriteAttribute("xmlns", Namespace);
    std::string text;
    const auto narrow = [&text](const std::wstring& i_text) -> const std::string& {
        text.clear();
        TavSDK::AppendUtf8(i_text, text);
        return text;
    };
    for (const auto& [id, value] : i_values) {
        io_writer.WriteStartTag(ValueTag);
        io_writer.WriteAttribute("id", narrow(id));
        io_writer.WriteCharacterData(narrow(value));
        io_writer.WriteEndTag(ValueTag);
    }
    io_writer.WriteEndTag(RootTag);
    io_writer.Close();
}

} // namespace

void WritePlatformCreationParameters(const wchar_t* ip_path, const ParameterValues& i_values)
{
    TavSDK::XmlWriter writer;
    if (!writer.Open(ip_path))
        ThrowNotCreated(ip_path);
    try {
        Write(i_values, writer);
    } catch (const std::runtime_error& failure) {
        qCWarning(ParametersLog, "The parameters of a platform cannot be written: %s", failure.what());
        ThrowNotCreated(ip_path);
    }
}

} // namespace MachineService
