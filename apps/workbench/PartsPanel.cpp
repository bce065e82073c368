#include "workbench/PartsPanel.h"

#include "workbench/base/LengthText.h"
#include "workbench/scene/ImportQuestions.h"
#include "workbench/scene/Selection.h"

#include "hosting/MachineIds.h"

#include <QEvent>

#include <utility>

namespace Workbench {

PartsPanel::PartsPanel(VexlorCore::DataSet& io_scene, Selection& io_selection, QWidget* ip_parent)
    : QListWidget(ip_parent)
    , _scene(io_scene)
    , _selection(io_selection)
{
    setSelectionMode(ExtendedSelection);
    setFrameShape(NoFrame);
    setAlternatingRowColors(true);
    connect(this, &QListWidget::itemSelectionChanged, this, &PartsPanel::_TakeSelection);
    connect(&_selection, &Selection::Changed, this, &PartsPanel::_ShowSelection);
    Fill();
}

void PartsPanel::Fill()
{
    setAccessibleName(tr("Parts of the scene"));
    const auto& parts = _scene.GetParts();
    _isShowing = true;
    while (count() > static_cast<int>(parts.size()))
        delete takeItem(count() - 1);
    for (std::size_t index = 0; index < parts.size(); ++index) {
        if (static_cast<int>(index) == count())
            addItem(QString());
        const auto size = GetSize({parts[index]});
        QListWidgetItem& part = *item(static_cast<int>(index));
        part.setText(tr("%1: %2").arg(QString::fromStdWString(parts[index].GetName()),
                                      LengthText::ShowBox(size.x, size.y, size.z, 1)));
        part.setData(Qt::UserRole, Hosting::ToQUuid(parts[index].GetRevisionId()));
    }
    _isShowing = false;
    _ShowSelection();
}

void PartsPanel::changeEvent(QEvent* ip_event)
{
    QListWidget::changeEvent(ip_event);
    if (ip_event->type() == QEvent::LanguageChange)
        Fill();
}

void PartsPanel::_ShowSelection()
{
    if (std::exchange(_isShowing, true))
        return;
    for (int row = 0; row < count(); ++row)
        item(row)->setSelected(_selection.Contains(Hosting::ToBoostUuid(item(row)->data(Qt::UserRole).toUuid())));
    _isShowing = false;
}

void PartsPanel::_TakeSelection()
{
    if (std::exchange(_isShowing, true))
        return;
    std::vector<boost::uuids::uuid> ids;
    for (const QListWidgetItem* const part : selectedItems())
        ids.push_back(Hosting::ToBoostUuid(part->data(Qt::UserRole).toUuid()));
    _selection.Set(std::move(ids));
    _isShowing = false;
}

} // namespace Workbench
