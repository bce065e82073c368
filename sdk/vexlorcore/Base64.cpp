#include "vexlorcore/Base64.h"

#include <QByteArray>

namespace VexlorCore {

std::string EncodeBase64(const std::string& i_bytes)
{
    return QByteArray::fromRawData(i_bytes.data(), static_cast<int>(i_bytes.size())).toBase64().toStdString();
}

std::optional<std::string> DecodeBase64(const std::string& i_text)
{
    std::string text;
    text.reserve(i_text.size());
    for (const char character : i_text) {
        const bool isSpace = character == ' ' || character == '\t' || character == '\r' || character == '\n';
        if (!isSpace)
            text += character;
        else if (text.size() % 4 != 0)
            return std::nullopt;
    }
    if (text.size() % 4 != 0)
        return std::nullopt;
    const auto decoded =
        QByteArray::fromBase64Encoding(QByteArray::fromRawData(text.data(), static_cast<int>(text.size())),
                                       QByteArray::Base64Encoding | QByteArray::AbortOnBase64DecodingErrors);
    // Qt accepts bits beyond the last byte and data after the padding; only the one canonical form is Base64.
    if (!decoded || decoded.decoded.toBase64() != QByteArray::fromRawData(text.data(), static_cast<int>(text.size())))
        return std::nullopt;
    return decoded.decoded.toStdString();
}

} // namespace VexlorCore
