#pragma once

#include "hosting/jobs/JobsTypes.h"
#include "machinectl/Table.h"

#include <QString>

#include <map>
#include <string>
#include <vector>

namespace MachineCtl {

/// Names of machines by their ids.
using MachineNames = std::map<std::string, std::string>;

MachineNames CollectNames(const std::vector<Hosting::Jobs::Machine>& i_machines);

Table MakeJobTable(const std::vector<Hosting::Jobs::Job>& i_jobs, const MachineNames& i_names,
                   Hosting::Jobs::Time i_now);
Table MakeMachineTable(const std::vector<Hosting::Jobs::Machine>& i_machines);
Table MakeHistoryTable(const std::vector<Hosting::Jobs::HistoryEntry>& i_history);
Table MakeCandidateTable(const std::vector<Hosting::Jobs::Candidate>& i_candidates);

/// Lines of a name and what is told under it.
struct Details
{
    void Add(const QString& i_name, const QString& i_text, Look i_look = Look::Plain);
    void Add(const QString& i_name, const std::string& i_text);
    /// Lines of at most i_width cells, where it is not 0.
    QString Format(int i_width, bool i_is_coloured) const;

    std::vector<std::pair<QString, Cell>> lines;
};

Details DescribeJob(const Hosting::Jobs::Job& i_job, const MachineNames& i_names);
Details DescribeMachine(const Hosting::Jobs::Machine& i_machine);

/// "PETG, 0.4 mm, Smooth steel"; empty when nothing is known.
QString FormatLoaded(const Hosting::Jobs::Loaded& i_loaded);
/// "2 h 5 min"
QString FormatDuration(std::int64_t i_seconds);
/// "1.4 MB"
QString FormatSize(std::uint64_t i_bytes);
/// On one line: what a job is at.
QString FormatProgress(const Hosting::Jobs::Job& i_job);
/// In the user's time zone.
QString FormatLocalTime(Hosting::Jobs::Time i_time);
Look GetStateLook(const std::string& i_state);

} // namespace MachineCtl
