#include "tour/PostStep.h"

#include <QDesktopServices>

namespace Tour {

PageAddress::PageAddress()
{
    for (const auto* const scheme : {"http", "https"})
        QDesktopServices::setUrlHandler(QLatin1String(scheme), this, "Take");
}

PageAddress::~PageAddress()
{
    for (const auto* const scheme : {"http", "https"})
        QDesktopServices::unsetUrlHandler(QLatin1String(scheme));
}

} // namespace Tour
