#pragma once

#include <QString>

namespace Vexlor::UIProfiles {

/// Where a command goes in a ribbon page.
struct InsertHint
{
    int groupIndex = 0;  ///< index of the group among the page's groups
    int createGroup = 0; ///< 1: the page has no group yet, one is made
    QString groupName;   ///< of the group to make; empty: the host's default
    int position = 0;    ///< row within the group
    int flags = 0;       ///< reserved
};

} // namespace Vexlor::UIProfiles
