#pragma once

#include "machinemanager/JobDesk.h"

#include "machinemanager/StoreDesk.h"
#include "machinemanager/dispatch/BuildFiles.h"
#include "machinemanager/dispatch/MachineBoard.h"
#include "machinemanager/store/FileStore.h"
#include "machinemanager/store/JobStore.h"

namespace MachineService::MachineManager {

struct JobDesk::Impl
{
    JobStore& store;
    FileStore& files;
    const MachineBoard& board;
    std::unique_ptr<StoreDesk> whole;
    std::uint64_t largestPlatform; ///< bytes

    /// A user's text as the store takes it.
    static std::string Clean(const std::string& i_text);
    /// \throws ManagerError BadInput, these four.
    static void CheckRange(const char* ip_what, int i_value, int i_smallest, int i_largest);
    static void CheckPriority(int i_priority);
    void CheckTarget(const JobTarget& i_target) const;
    void CheckSize(std::uint64_t i_size) const;
    /// \throws ManagerError BadInput.
    NewJob Checked(NewJob i_job, const Actor& i_actor) const;
    void TakeFacts(const PlatformFacts& i_facts, NewJob& o_job) const;
    /// Subject and state of a sentence.
    static std::string DescribePhase(const Job& i_job);
    /// \throws ManagerError Forbidden.
    static void Require(const Actor& i_actor, Role i_role);
    /// The job, when the actor may do with it what they like.
    Job RequireOwn(const Actor& i_actor, const boost::uuids::uuid& i_id) const;
    Job Require(const boost::uuids::uuid& i_id) const;
    /// Says why a job waits. \param i_machines all of the board.
    void Explain(Job& io_job, const std::vector<BoardMachine>& i_machines) const;
    Job Explained(Job i_job) const;
};

} // namespace MachineService::MachineManager
