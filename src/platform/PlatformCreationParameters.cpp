#include "platform/PlatformCreationParameters.h"

#include "client/interface/CommunicationException.h"

#include "tavsdk/Utf8.h"
#include "tavsdk/XmlWriter.h"

#include <QCoreApplication>
#include <QString>

#include <string>

namespace MachineService {

namespace {

constexpr char Namespace[] = "https://www.vexlor.example/BuildProcessor/2014";
constexpr char RootTag[] = "PlatformCreationParameters";
constexpr char ValueTag[] = "ParameterValue";

} // namespace

void WritePlatformCreationParameters(const wchar_t* ip_path, const ParameterValues& i_values)
{
    TavSDK::XmlWriter writer;
    if (!writer.Open(ip_path)) {
        const QString message = QCoreApplication::translate("MachineService", "Failed to create '%1'.")
                                    .arg(QString::fromWCharArray(ip_path));
        throw CommunicationException(ErrorCode::FileError, message.toUtf8().constData());
    }
    writer.WriteStartTag(RootTag);
    writer.WriteAttribute("xmlns", Namespace);
    std::string text;
    const auto narrow = [&text](const std::wstring& i_text) -> const std::string& {
        text.clear();
        TavSDK::AppendUtf8(i_text, text);
        return text;
    };
    for (const auto& [id, value] : i_values) {
        writer.WriteStartTag(ValueTag);
        writer.WriteAttribute("id", narrow(id));
        writer.WriteCharacterData(narrow(value));
        writer.WriteEndTag(ValueTag);
    }
    writer.WriteEndTag(RootTag);
    writer.Close();
}

} // namespace MachineService
