#pragma once

#include "hosting/jobs/JobsTypes.h"

#include <QJsonArray>
#include <QJsonObject>

namespace MachineCtl {

// What --json prints: names and values as in docs/manager-api.yaml.

QJsonObject ToJson(const Hosting::Jobs::Job& i_job);
QJsonObject ToJson(const Hosting::Jobs::HistoryEntry& i_entry);
QJsonObject ToJson(const Hosting::Jobs::Candidate& i_candidate);
QJsonObject ToJson(const Hosting::Jobs::Machine& i_machine);
QJsonObject ToJson(const Hosting::Jobs::Loaded& i_loaded);

template <class Item>
QJsonArray ToJsonArray(const std::vector<Item>& i_items)
{
    QJsonArray array;
    for (const auto& item : i_items)
        array.append(ToJson(item));
    return array;
}

/// With a line's end; on one line when i_is_compact.
QString FormatJson(const QJsonObject& i_object, bool i_is_compact = false);
QString FormatJson(const QJsonArray& i_array);

/// ISO 8601 in UTC with milliseconds.
QString FormatTime(Hosting::Jobs::Time i_time);

} // namespace MachineCtl
