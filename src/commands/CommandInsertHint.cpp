#include "commands/CommandInsertHint.h"

#include "commands/CommandKinds.h"
#include "commands/CommandNames.h"

#include <QAbstractItemModel>

namespace MachineService {

namespace {

bool HoldsBuild(const QAbstractItemModel& i_model, const QModelIndex& i_group, int i_row_count)
{
    for (int row = 0; row < i_row_count; ++row)
        if (i_model.index(row, 0, i_group).data(Qt::UserRole).toString() == QLatin1String(BPCommandNameBuild))
            return true;
    return false;
}

int GetPosition(RibbonPlace i_place, const QAbstractItemModel& i_model, const QModelIndex& i_group)
{
    const int rowCount = i_model.rowCount(i_group);
    switch (i_place) {
    case RibbonPlace::First:
        return 0;
    case RibbonPlace::BeforeBuild:
        return HoldsBuild(i_model, i_group, rowCount) ? rowCount - 1 : rowCount;
    case RibbonPlace::Last:
        break;
    }
    return rowCount;
}

} // namespace

std::optional<Vexlor::UIProfiles::InsertHint> BPCommandInsertHint(const QString& i_command_name,
                                                                  const QModelIndex& i_target)
{
    if (!i_target.isValid())
        return std::nullopt;
    const QAbstractItemModel& model = *i_target.model();
    const auto kind = FindCommandKind(i_command_name);
    const RibbonPlace place = kind ? kind->place : RibbonPlace::BeforeBuild;
    Vexlor::UIProfiles::InsertHint hint;
    if (model.rowCount(i_target) == 0)
        hint.createGroup = 1;
    else
        hint.position = GetPosition(place, model, model.index(0, 0, i_target));
    return hint;
}

} // namespace MachineService
