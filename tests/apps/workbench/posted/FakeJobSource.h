#pragma once

#include "support/Files.h"
#include "workbench/posted/IJobSource.h"

#include "hosting/jobs/JobsError.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace TestSupport {

namespace Jobs = Hosting::Jobs;

/// A manager in this process: jobs that the test changes, as often as it likes.
class FakeManager
{
public:
    Workbench::MakeJobSource MakeSource()
    {
        return [this](const std::stop_token& i_stop) {
            return std::make_unique<Source>(*this, i_stop);
        };
    }
    static Jobs::Job MakeJob(int i_number, const char* ip_state, const char* ip_phase,
                             std::vector<std::string> i_actions = {})
    {
        Jobs::Job job;
        job.id = "job-" + std::to_string(i_number);
        job.number = i_number;
        job.name = "bracket " + std::to_string(i_number);
        job.owner = "me";
        job.state = ip_state;
        job.phase = ip_phase;
        job.machine = "Kestrel 180";
        job.created = std::chrono::time_point_cast<std::chrono::milliseconds>(std::chrono::system_clock::now()) -
                      std::chrono::minutes(5);
        job.version = 1;
        job.actions = std::move(i_actions);
        return job;
    }
    /// Without a word to who listens, if so wanted.
    void Set(const Jobs::Job& i_job, bool i_tells = true)
    {
        const std::lock_guard lock(_mutex);
        const auto known =
            std::find_if(_jobs.begin(), _jobs.end(), [&](const auto& i_known) { return i_known.id == i_job.id; });
        if (known == _jobs.end())
            _jobs.insert(_jobs.begin(), i_job);
        else
            *known = i_job;
        if (i_tells)
            _Tell({Jobs::Change::Kind::Job, i_job.id});
    }
    void Remove(const std::string& i_id)
    {
        const std::lock_guard lock(_mutex);
        std::erase_if(_jobs, [&](const auto& i_job) { return i_job.id == i_id; });
        _Tell({Jobs::Change::Kind::Job, i_id});
    }
    void TellOfMachines()
    {
        const std::lock_guard lock(_mutex);
        _Tell({Jobs::Change::Kind::Machine, {}});
    }
    void SetThere(bool i_is_there)
    {
        const std::lock_guard lock(_mutex);
        _isThere = i_is_there;
        _changed.notify_all();
    }
    /// Questions for jobs since the last call.
    int TakeQuestions()
    {
        const std::lock_guard lock(_mutex);
        return std::exchange(_questions, 0);
    }
    std::vector<Jobs::Action> GetActions()
    {
        const std::lock_guard lock(_mutex);
        return _actions;
    }

private:
    class Source final : public Workbench::IJobSource
    {
    public:
        Source(FakeManager& io_manager, const std::stop_token& i_stop)
            : _manager(io_manager)
            , _stop(i_stop)
        {}
        std::string GetUser() const override
        {
            const auto lock = _manager._Enter();
            return "me";
        }
        Jobs::JobPage List(const Jobs::Filter& i_filter) const override
        {
            const auto lock = _manager._Enter();
            Jobs::JobPage page;
            for (const auto& job : _manager._jobs) {
                const bool isWanted = job.owner == i_filter.owner &&
                                      (i_filter.after == 0 || job.number < i_filter.after) &&
                                      (i_filter.states.empty() ||
                                       std::count(i_filter.states.begin(), i_filter.states.end(), job.state) > 0);
                if (!isWanted)
                    continue;
                if (static_cast<int>(page.jobs.size()) == i_filter.count) {
                    page.next = page.jobs.back().number;
                    break;
                }
                page.jobs.push_back(job);
            }
            return page;
        }
        Jobs::Job GetJob(const std::string& i_job) const override
        {
            const auto lock = _manager._Enter();
            return _manager._Find(i_job);
        }
        Jobs::Job Act(const std::string& i_job, Jobs::Action i_action) const override
        {
            const auto lock = _manager._Enter();
            auto& job = _manager._Find(i_job);
            _manager._actions.push_back(i_action);
            job.state = i_action == Jobs::Action::Hold ? "pending-held" : "canceled";
            job.phase = i_action == Jobs::Action::Hold ? "held" : "canceled";
            job.actions.clear();
            ++job.version;
            return job;
        }
        std::string MakePageAddress(const std::string& i_job) const override
        {
            const auto lock = _manager._Enter();
            return "http://127.0.0.1/jobs/" + i_job;
        }
        void SaveMachineFile(const std::string& i_job, const std::filesystem::path& i_target) const override
        {
            const auto lock = _manager._Enter();
            WriteFile(i_target, _manager._Find(i_job).machineFile->name);
        }
        void Listen(const std::function<bool(const Jobs::Change&)>& i_take) const override
        {
            std::size_t heard = 0;
            i_take({});
            std::unique_lock lock(_manager._mutex);
            heard = std::exchange(_manager._wasListened, true) ? _manager._changes.size() : 0;
            for (;;) {
                _manager._changed.wait(lock, _stop,
                                       [&] { return !_manager._isThere || heard < _manager._changes.size(); });
                if (_stop.stop_requested() || !_manager._isThere)
                    throw Hosting::JobsError(Hosting::JobsError::Kind::NotReached, QStringLiteral("It is lost."));
                const auto change = _manager._changes[heard++];
                lock.unlock();
                if (!i_take(change))
                    return;
                lock.lock();
            }
        }

    private:
        FakeManager& _manager;
        const std::stop_token _stop;
    };

    std::unique_lock<std::mutex> _Enter()
    {
        std::unique_lock lock(_mutex);
        if (!_isThere)
            throw Hosting::JobsError(Hosting::JobsError::Kind::NotReached, QStringLiteral("It does not answer."));
        ++_questions;
        return lock;
    }
    Jobs::Job& _Find(const std::string& i_id)
    {
        for (auto& job : _jobs) {
            if (job.id == i_id)
                return job;
        }
        throw Hosting::JobsError(Hosting::JobsError::Kind::NotFound, QStringLiteral("There is no such job."));
    }
    void _Tell(const Jobs::Change& i_change)
    {
        _changes.push_back(i_change);
        _changed.notify_all();
    }

    std::mutex _mutex; ///< guards everything
    std::condition_variable_any _changed;
    std::deque<Jobs::Job> _jobs; ///< newest first
    std::vector<Jobs::Change> _changes;
    std::vector<Jobs::Action> _actions;
    bool _isThere = true;
    bool _wasListened = false;
    int _questions = 0;
};

} // namespace TestSupport
