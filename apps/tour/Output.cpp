#include "tour/Output.h"

#include "tavsdk/FileError.h"

#include <QCoreApplication>

#include <cerrno>

namespace Tour {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Tour::Output)
};

} // namespace

QString Print(std::FILE* ip_stream, const QByteArray& i_text)
{
    const auto size = static_cast<std::size_t>(i_text.size());
    if (std::fwrite(i_text.constData(), 1, size, ip_stream) == size && std::fflush(ip_stream) == 0)
        return {};
    const QString reason = QString::fromStdString(TavSDK::ErrnoText(errno));
    return Texts::tr("The output cannot be printed: %1.").arg(reason);
}

} // namespace Tour
