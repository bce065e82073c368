#include "Fuzz.h"

#include "commands/CommandIcon.h"
#include "commands/IconFormats.h"

#include <QGuiApplication>
#include <QIcon>

#include <vector>

extern "C" int LLVMFuzzerInitialize(int* iop_argc, char*** iop_argv)
{
    qputenv("QT_QPA_PLATFORM", "minimal");
    // Damaged images are what this is about: Qt's warnings of them are no findings.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    new QGuiApplication(*iop_argc, *iop_argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* ip_data, std::size_t i_size)
{
    const std::vector<std::uint8_t> bytes(ip_data, ip_data + i_size);
    const QIcon icon = MachineService::LoadCommandIcon(bytes);
    if (icon.isNull())
        return 0;
    Fuzz::Require(MachineService::BoundImage(bytes).has_value(), "only images of known cost are decoded");
    for (const QSize& size : icon.availableSizes())
        Fuzz::Require(size.width() <= 1'024 && size.height() <= 1'024, "an icon is no larger than 1,024 pixels a side");
    return 0;
}
