#pragma once

#include "machineservice_export.h"

#include "vexlorui/InsertHint.h"

#include <QModelIndex>
#include <QString>

#include <optional>

namespace MachineService {

/// Where the host places a printer's command in a page of its ribbon: the configure commands first, Build last, all
/// others before Build.
///
/// \param i_target the page's node in the host's ribbon model, whose children are groups, whose children are commands
/// with their names under Qt::UserRole. No hint when it is not valid.
MACHINESERVICE_EXPORT std::optional<Vexlor::UIProfiles::InsertHint> BPCommandInsertHint(const QString& i_command_name,
                                                                                        const QModelIndex& i_target);

} // namespace MachineService
