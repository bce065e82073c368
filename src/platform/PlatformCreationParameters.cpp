#include "platform/PlatformCreationParameters.h"

#include "client/interface/CommunicationException.h"
#include "platform/PlatformText.h"

#include "tavsdk/XmlWriter.h"

#include <QCoreApplication>
#include <QString>

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
    for (const auto& [id, value] : i_values) {
        writer.WriteStartTag(ValueTag);
        writer.WriteAttribute("id", ToNarrow(id));
        writer.WriteCharacterData(ToNarrow(value));
        writer.WriteEndTag(ValueTag);
    }
    writer.WriteEndTag(RootTag);
    writer.Close();
}

} // namespace MachineService
