#pragma once

#include "hosting/jobs/JobsTypes.h"

#include <QJsonObject>
#include <QJsonValue>

#include <string>

namespace Hosting::Jobs {

// What a manager tells, as docs/manager-api.yaml has it. Members that nobody knows are passed over.
// Errors: JobsError Server when something is missing or of another kind.

QJsonObject ParseObject(const std::string& i_text);
/// The first member that is no object fails.
Job ParseJob(const QJsonValue& i_value);
JobPage ParseJobPage(const QJsonObject& i_object);
std::vector<HistoryEntry> ParseHistory(const QJsonObject& i_object);
std::vector<Candidate> ParseCandidates(const QJsonObject& i_object);
Machine ParseMachine(const QJsonValue& i_value);
std::vector<Machine> ParseMachines(const QJsonObject& i_object);
Information ParseInformation(const QJsonObject& i_object);
std::vector<StoredFile> ParseStoredFiles(const QJsonObject& i_object);
BackupContents ParseBackupContents(const QJsonObject& i_object);
Restored ParseRestored(const QJsonObject& i_object);
std::vector<Finding> ParseFindings(const QJsonObject& i_object);
CheckedFiles ParseCheckedFiles(const QJsonObject& i_object);
/// A number of bytes.
std::uint64_t ParseCount(const QJsonObject& i_object, const char* ip_name);
std::string ParseText(const QJsonObject& i_object, const char* ip_name);

QJsonObject MakeTarget(const Target& i_target);
QJsonObject MakeLoaded(const Loaded& i_loaded);
/// Of `contents.json`.
QJsonObject MakeBackupContents(const BackupContents& i_contents);
QJsonObject MakeNewJob(const NewJob& i_job, const File& i_platform);

} // namespace Hosting::Jobs
