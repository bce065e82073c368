#include "workbench/machines/MachineFilter.h"

#include "workbench/machines/MachineList.h"

#include <algorithm>

namespace Workbench {

MachineFilter::MachineFilter(QObject* ip_parent)
    : QSortFilterProxyModel(ip_parent)
{
    setRecursiveFilteringEnabled(true);
}

void MachineFilter::SetWords(const QString& i_words)
{
    const QStringList words = i_words.toLower().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (words == _words)
        return;
    _words = words;
    invalidateFilter();
}

void MachineFilter::SetKind(Kind i_kind)
{
    if (i_kind == _kind)
        return;
    _kind = i_kind;
    invalidateFilter();
}

int MachineFilter::GetMachineCount() const
{
    int count = 0;
    for (int service = 0; service < rowCount(); ++service)
        count += rowCount(index(service, 0));
    return count;
}

bool MachineFilter::filterAcceptsRow(int i_row, const QModelIndex& i_parent) const
{
    // With recursive filtering a service is shown for the sake of its machines.
    if (!i_parent.isValid())
        return !IsAsking();
    const QModelIndex machine = sourceModel()->index(i_row, 0, i_parent);
    switch (_kind) {
    case Kind::All:
        break;
    case Kind::Favourites:
        if (!machine.data(MachineList::FavouriteRole).toBool())
            return false;
        break;
    case Kind::Ready:
        if (machine.data(MachineList::StateRole).toInt() != static_cast<int>(MachineService::MachineState::Ready))
            return false;
        break;
    case Kind::Extrusion:
    case Kind::Resin: {
        const auto technology = _kind == Kind::Resin ? MachineService::MachineTechnology::VatPhotopolymer
                                                     : MachineService::MachineTechnology::MaterialExtrusion;
        if (machine.data(MachineList::TechnologyRole).toInt() != static_cast<int>(technology))
            return false;
        break;
    }
    }
    const QString text = machine.data(MachineList::SearchRole).toString();
    return std::all_of(_words.begin(), _words.end(), [&](const QString& i_word) { return text.contains(i_word); });
}

} // namespace Workbench
