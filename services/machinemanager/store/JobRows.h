#pragma once

#include "machinemanager/jobs/Job.h"
#include "machinemanager/store/Connection.h"

#include <QString>
#include <QVariant>

#include <cstdint>
#include <optional>
#include <string>

namespace MachineService::MachineManager {

// Jobs as rows of the table. Which column is which field stands in one list; nothing else reads or writes them.

/// "SELECT …" of all columns, up to and with " FROM jobs ".
const QString& GetJobSelect();
/// \throws ManagerError Storage for a row that nobody of this version wrote.
Job ReadJob(const Rows& i_rows);

/// \return the number of the new job; empty when there is one with its id.
std::optional<std::int64_t> InsertJob(Connection& io_connection, const Job& i_job);
/// Writes what is not the same.
void UpdateJob(Connection& io_connection, const Job& i_before, const Job& i_after);

/// Key of those who wait for the same: a machine itself, or any of a model.
QString GetQueue(const boost::uuids::uuid& i_machine);
QString GetQueue(const std::string& i_model);
/// For comparisons without regard to case.
QString Fold(const std::string& i_text);
QString ToText(const boost::uuids::uuid& i_id);
boost::uuids::uuid ToUuid(const QString& i_text);
qlonglong ToNumber(Time i_time);
Time ToTime(const QVariant& i_value);
/// Of a column that may be NULL.
QVariant ToValue(const std::optional<double>& i_number);
std::optional<double> ToOptionalNumber(const QVariant& i_value);
/// What IsPutOff says, turned round, as a condition with the values of MakePutOffValues.
QString GetNotPutOff();
QVariantList MakePutOffValues(Time i_now);
/// When the job's phase is over at the latest; empty: it has no deadline.
std::optional<Time> GetDeadline(const Job& i_job);
/// Such as 'The job 12 "lid"'.
std::string ShowJob(const Job& i_job);

} // namespace MachineService::MachineManager
