#include "machinemanager/store/JobStore.h"
#include "machinemanager/store/JobStore_p.h"

#include "tavsdk/Text.h"

#include <QStringList>

#include <algorithm>
#include <charconv>

namespace MachineService::MachineManager {

namespace {

constexpr int LongestPage = 500;

/// A condition of SQL with its values.
struct Condition
{
    QString text;
    QVariantList values;

    void And(const QString& i_text, const QVariantList& i_values)
    {
        text += (text.isEmpty() ? QStringLiteral("WHERE ") : QStringLiteral(" AND ")) + i_text;
        values += i_values;
    }
};

std::optional<qlonglong> ParseJobNumber(const std::string& i_text)
{
    qlonglong number = 0;
    const auto [end, error] = std::from_chars(i_text.data(), i_text.data() + i_text.size(), number);
    return error == std::errc() && end == i_text.data() + i_text.size() ? std::optional(number) : std::nullopt;
}

/// Everything but the states.
Condition MakeCondition(const JobFilter& i_filter, const Dialect& i_dialect, bool i_is_page)
{
    Condition condition;
    if (!i_filter.owner.empty())
        condition.And(QStringLiteral("owner = ?"), {ToText(i_filter.owner)});
    if (!i_filter.machine.is_nil())
        condition.And(QStringLiteral("(machine = ? OR target_machine = ?)"),
                      {ToText(i_filter.machine), ToText(i_filter.machine)});
    if (!i_filter.text.empty()) {
        const QString inName = i_dialect.GetFind() + QStringLiteral("(name_folded, ?) > 0");
        if (const auto number = ParseJobNumber(i_filter.text))
            condition.And(QStringLiteral("(number = ? OR ") + inName + QStringLiteral(")"),
                          {*number, Fold(i_filter.text)});
        else
            condition.And(inName, {Fold(i_filter.text)});
    }
    if (i_is_page && i_filter.after != 0)
        condition.And(i_filter.isOldestFirst ? QStringLiteral("number > ?") : QStringLiteral("number < ?"),
                      {static_cast<qlonglong>(i_filter.after)});
    return condition;
}

/// The page's numbers by the index of each state alone: with all states in one condition, the database would read
/// through all jobs for a page of a rare state.
Condition MakePage(const JobFilter& i_filter, const Dialect& i_dialect)
{
    const int count = std::clamp(i_filter.count, 1, LongestPage);
    const QString order = i_filter.isOldestFirst ? QStringLiteral(" ORDER BY number LIMIT ?")
                                                 : QStringLiteral(" ORDER BY number DESC LIMIT ?");
    Condition page = MakeCondition(i_filter, i_dialect, true);
    if (!i_filter.states.empty()) {
        QStringList selects;
        QVariantList values;
        for (const JobState state : i_filter.states) {
            Condition ofState = MakeCondition(i_filter, i_dialect, true);
            ofState.And(QStringLiteral("state = ?"), {static_cast<int>(state)});
            selects.append(QStringLiteral("SELECT number FROM (SELECT number FROM jobs %1%2) AS page%3")
                               .arg(ofState.text, order, QString::number(selects.size())));
            values += ofState.values;
            values.append(count);
        }
        page = {QStringLiteral("WHERE number IN (%1)").arg(selects.join(QStringLiteral(" UNION ALL "))), values};
    }
    page.text += order;
    page.values.append(count);
    return page;
}

} // namespace

std::optional<Job> JobStore::Find(const boost::uuids::uuid& i_id) const
{
    auto jobs = _impl->Read([&](Connection& io_connection) {
        return ReadJobs(io_connection, QStringLiteral("WHERE id = ?"), {ToText(i_id)});
    });
    return jobs.empty() ? std::nullopt : std::optional(std::move(jobs.front()));
}

std::optional<Job> JobStore::FindByNumber(std::int64_t i_number) const
{
    auto jobs = _impl->Read([&](Connection& io_connection) {
        return ReadJobs(io_connection, QStringLiteral("WHERE number = ?"), {static_cast<qlonglong>(i_number)});
    });
    return jobs.empty() ? std::nullopt : std::optional(std::move(jobs.front()));
}

std::vector<Job> JobStore::List(const JobFilter& i_filter) const
{
    const Condition page = MakePage(i_filter, *_impl->dialect);
    return _impl->Read([&](Connection& io_connection) { return ReadJobs(io_connection, page.text, page.values); });
}

std::int64_t JobStore::Count(const JobFilter& i_filter) const
{
    Condition condition = MakeCondition(i_filter, *_impl->dialect, false);
    if (!i_filter.states.empty()) {
        QStringList places;
        QVariantList values;
        for (const JobState state : i_filter.states) {
            places.append(QStringLiteral("?"));
            values.append(static_cast<int>(state));
        }
        condition.And(QStringLiteral("state IN (%1)").arg(places.join(QStringLiteral(", "))), values);
    }
    return _impl->Read([&](Connection& io_connection) {
        return io_connection
            .SelectValue(QStringLiteral("SELECT count(*) FROM jobs ") + condition.text, condition.values)
            .toLongLong();
    });
}

std::map<JobState, std::int64_t> JobStore::CountStates() const
{
    return _impl->Read([](Connection& io_connection) {
        std::map<JobState, std::int64_t> counts;
        Rows rows = io_connection.Select(QStringLiteral("SELECT state, count(*) FROM jobs GROUP BY state"));
        while (rows.Next())
            counts.emplace(static_cast<JobState>(rows[0].toInt()), rows[1].toLongLong());
        return counts;
    });
}

std::map<boost::uuids::uuid, std::int64_t> JobStore::CountWaiting() const
{
    return _impl->Read([](Connection& io_connection) {
        std::map<boost::uuids::uuid, std::int64_t> counts;
        Rows rows = io_connection.Select(
            QStringLiteral("SELECT target_machine, count(*) FROM jobs WHERE state = ? GROUP BY target_machine"),
            {static_cast<int>(JobState::Pending)});
        while (rows.Next()) {
            if (const auto machine = ToUuid(rows[0].toString()); !machine.is_nil())
                counts.emplace(machine, rows[1].toLongLong());
        }
        return counts;
    });
}

std::vector<JobTarget> JobStore::GetWaitingTargets() const
{
    return _impl->Read([this](Connection& io_connection) {
        std::vector<JobTarget> targets;
        Rows rows = io_connection.Select(
            QStringLiteral("SELECT DISTINCT target_machine, target_model, target_material FROM jobs "
                           "WHERE state = ? AND ") +
                GetNotPutOff(),
            QVariantList{static_cast<int>(JobState::Pending)} + MakePutOffValues(Now()));
        while (rows.Next())
            targets.push_back(
                {ToUuid(rows[0].toString()), rows[1].toString().toStdString(), rows[2].toString().toStdString()});
        return targets;
    });
}

std::vector<HistoryEntry> JobStore::GetHistory(const boost::uuids::uuid& i_id) const
{
    return _impl->Read([&](Connection& io_connection) {
        std::vector<HistoryEntry> entries;
        Rows rows = io_connection.Select(
            QStringLiteral(
                "SELECT history.time, history.actor, history.event, history.phase, history.detail FROM history "
                "JOIN jobs ON jobs.number = history.job WHERE jobs.id = ? ORDER BY history.version"),
            {ToText(i_id)});
        while (rows.Next()) {
            const auto phase = FindPhase(rows[3].toString().toStdString());
            if (!phase)
                throw ManagerError(ManagerError::Kind::Storage,
                                   "The job store holds a history with the phase " +
                                       TavSDK::Quote(rows[3].toString().toStdString()) +
                                       ", which this version does not know. Let the store be checked.");
            entries.push_back({ToTime(rows[0]), rows[1].toString().toStdString(), rows[2].toString().toStdString(),
                               *phase, rows[4].toString().toStdString()});
        }
        return entries;
    });
}

} // namespace MachineService::MachineManager
