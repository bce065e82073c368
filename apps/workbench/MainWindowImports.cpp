#include "workbench/MainWindow.h"

#include "workbench/base/LengthText.h"

#include <QFileInfo>
#include <QInputDialog>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>

// What the window asks while parts are imported.

namespace Workbench {

namespace {

QString GetUnitName(double i_factor)
{
    if (i_factor == 25.4)
        return MainWindow::tr("inches");
    if (i_factor == 1000)
        return MainWindow::tr("metres");
    if (i_factor == 10)
        return MainWindow::tr("centimetres");
    return i_factor == 1 ? MainWindow::tr("millimetres") : MainWindow::tr("micrometres");
}

} // namespace

void MainWindow::_AskAboutImports()
{
    _book.SetAskUnit([this](const ImportedFile& i_file, const std::vector<double>& i_factors) -> std::optional<double> {
        QStringList choices;
        const auto size = GetSize(i_file.parts);
        for (const double factor : i_factors)
            choices << tr("%1: %2").arg(GetUnitName(factor),
                                        LengthText::ShowBox(size.x * factor, size.y * factor, size.z * factor, 1));
        bool isChosen = false;
        const QString choice = QInputDialog::getItem(
            this, tr("Unit of '%1'").arg(QFileInfo(i_file.path).fileName()),
            tr("The file names no unit, and millimetres are not plausible. In which unit are its lengths?"), choices, 0,
            false, &isChosen);
        if (!isChosen)
            return std::nullopt;
        return i_factors[static_cast<std::size_t>(choices.indexOf(choice))];
    });
    _book.SetAskScale([this](const std::vector<TavAM::Part>&, double i_factor) {
        QMessageBox box(QMessageBox::Question, tr("Too large for the machine"),
                        tr("Not all parts fit into the build volume. Scale all imported parts to %1 %?")
                            .arg(QLocale().toString(100 * i_factor, 'f', 1)),
                        QMessageBox::NoButton, this);
        const QPushButton* const scale = box.addButton(tr("Scale"), QMessageBox::AcceptRole);
        box.setEscapeButton(box.addButton(tr("Keep their size"), QMessageBox::RejectRole));
        box.exec();
        return box.clickedButton() == scale;
    });
}

} // namespace Workbench
