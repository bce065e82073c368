#include "machinemanager/JobDesk_p.h"

#include "client/interface/CommunicationException.h"
#include "machinemanager/dispatch/BuildFiles.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"

#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <algorithm>
#include <charconv>

namespace MachineService::MachineManager {

namespace {

using Kind = ManagerError::Kind;

constexpr std::size_t MaxName = 200;
constexpr std::size_t MaxSettings = 50;
constexpr std::size_t MaxShown = 100;

/// \param i_name for people, who do not know where the file is kept.
/// \throws ManagerError BadInput.
PlatformFacts ReadFacts(const std::filesystem::path& i_platform, const std::string& i_name)
{
    try {
        return ReadPlatformFacts(i_platform);
    } catch (const CommunicationException& failure) {
        std::string sentence = failure.what();
        const auto path = TavSDK::ShowPath(i_platform);
        if (const auto place = sentence.find(path); place != std::string::npos)
            sentence.replace(place, path.size(), i_name);
        throw ManagerError(Kind::BadInput, sentence);
    }
}

} // namespace

std::string JobDesk::Impl::Clean(const std::string& i_text)
{
    std::string text(TavSDK::CutUtf8(TavSDK::ReplaceInvalid(i_text), MaxName));
    std::replace_if(
        text.begin(), text.end(),
        [](char i_byte) { return static_cast<unsigned char>(i_byte) < ' ' || i_byte == '\x7f'; }, ' ');
    return text;
}

void JobDesk::Impl::CheckRange(const char* ip_what, int i_value, int i_smallest, int i_largest)
{
    if (i_value < i_smallest || i_value > i_largest)
        throw ManagerError(Kind::BadInput, std::string(ip_what) + " is a number from " + std::to_string(i_smallest) +
                                               " to " + std::to_string(i_largest) + '.');
}

void JobDesk::Impl::CheckPriority(int i_priority)
{
    CheckRange("The priority", i_priority, 1, 100);
}

void JobDesk::Impl::CheckSize(std::uint64_t i_size) const
{
    if (i_size == 0 || i_size > largestPlatform)
        throw ManagerError(Kind::BadInput, "A platform file has between 1 and " + std::to_string(largestPlatform) +
                                               " bytes here; take parts from it, or ask the operator.");
}

void JobDesk::Impl::CheckTarget(const JobTarget& i_target) const
{
    const auto machines = board.GetMachines();
    const bool isKnown = std::any_of(machines.begin(), machines.end(), [&](const BoardMachine& i_machine) {
        return i_target.IsGroup() ? i_target.model == i_machine.entry.model : i_target.machine == i_machine.entry.id;
    });
    if (!isKnown)
        throw ManagerError(Kind::BadInput, i_target.IsGroup() ? "There is no machine of the model " +
                                                                    TavSDK::Quote(i_target.model, MaxShown) + '.'
                                                              : std::string("The manager does not know this machine."));
}

std::string JobDesk::Impl::DescribePhase(const Job& i_job)
{
    return "The job " + TavSDK::Quote(i_job.name, MaxShown) + " is " + GetName(i_job.GetState());
}

NewJob JobDesk::Impl::Checked(NewJob i_job, const Actor& i_actor) const
{
    if (i_job.id.is_nil())
        throw ManagerError(Kind::BadInput, "A job needs an id of its own.");
    i_job.name = Clean(i_job.name.empty() ? "Untitled" : i_job.name);
    i_job.owner = Clean(i_actor.name);
    i_job.target.model = Clean(i_job.target.model);
    i_job.target.material = Clean(i_job.target.material);
    i_job.platform.name = Clean(i_job.platform.name.empty() ? i_job.name + ".TavAMX" : i_job.platform.name);
    CheckPriority(i_job.priority);
    CheckRange("The number of copies", i_job.copies, 1, 999);
    if (i_job.settings.size() > MaxSettings)
        throw ManagerError(Kind::BadInput, "A job has at most 50 settings.");
    CheckTarget(i_job.target);
    return i_job;
}

void JobDesk::Impl::TakeFacts(const PlatformFacts& i_facts, NewJob& o_job) const
{
    if (!o_job.picture && !i_facts.picture.empty())
        o_job.picture = files.AddBytes(i_facts.picture, "plate.png");
    o_job.needs = i_facts.needs;
    o_job.needs.model = Clean(o_job.needs.model);
    o_job.needs.material = Clean(o_job.needs.material);
    o_job.estimates = i_facts.estimates;
    for (const auto& [word, text] : i_facts.settings)
        o_job.settings.insert_or_assign(word, Clean(text));
}

void JobDesk::Impl::Require(const Actor& i_actor, Role i_role)
{
    if (i_actor.role < i_role)
        throw ManagerError(Kind::Forbidden, "You are not allowed to do this; ask the operator of the machines.");
}

Job JobDesk::Impl::Require(const boost::uuids::uuid& i_id) const
{
    auto job = store.Find(i_id);
    if (!job)
        throw ManagerError(Kind::NotFound,
                           "There is no such job; it may have been removed because it is over for long.");
    return std::move(*job);
}

Job JobDesk::Impl::RequireOwn(const Actor& i_actor, const boost::uuids::uuid& i_id) const
{
    Require(i_actor, Role::Submit);
    auto job = Require(i_id);
    if (i_actor.role < Role::Operate && job.owner != i_actor.name)
        throw ManagerError(Kind::Forbidden, "The job is not yours; ask the operator of the machines.");
    return job;
}

void JobDesk::Impl::Explain(Job& io_job, const std::vector<BoardMachine>& i_machines) const
{
    if (io_job.phase != JobPhase::Waiting)
        return;
    // An attempt that failed says so itself.
    if (IsPutOff(io_job, store.Now()))
        return;
    // Several daemons at one store whose folders of files are not the same one.
    if (!files.Has(io_job.platform.hash)) {
        io_job.waitReason = "resources-are-not-ready";
        io_job.detail = "The job's files are not in this daemon's folder; it waits for the daemon that has them.";
        return;
    }
    io_job.detail.clear();
    for (const auto& machine : i_machines) {
        if (!IsFor(io_job, machine))
            continue;
        const auto refusal = FindRefusal(io_job, machine);
        if (!refusal) {
            io_job.waitReason.clear();
            io_job.detail = "It waits for its turn at " + TavSDK::Quote(machine.entry.name, MaxShown) + '.';
            return;
        }
        if (io_job.detail.empty()) {
            io_job.waitReason = refusal->keyword;
            io_job.detail = refusal->sentence;
        }
    }
    if (io_job.detail.empty()) {
        io_job.waitReason = "service-off-line";
        io_job.detail = "No machine that the job is for is known; move it to another one.";
    }
}

Job JobDesk::Impl::Explained(Job i_job) const
{
    if (i_job.phase == JobPhase::Waiting)
        Explain(i_job, board.GetMachines());
    return i_job;
}

JobDesk::JobDesk(JobStore& io_store, FileStore& io_files, const MachineBoard& i_board, std::uint64_t i_largest_platform)
    : _impl(new Impl{io_store, io_files, i_board, std::make_unique<StoreDesk>(io_store, io_files), i_largest_platform})
{}

JobDesk::~JobDesk() = default;

Job JobDesk::Submit(const Actor& i_actor, NewJob i_job, const std::filesystem::path& i_platform)
{
    Impl::Require(i_actor, Role::Submit);
    if (const auto known = _impl->store.Find(i_job.id))
        return _impl->Explained(*known);
    auto job = _impl->Checked(std::move(i_job), i_actor);
    std::error_code error;
    // What cannot be read is refused below, with its reason.
    if (const auto size = std::filesystem::file_size(i_platform, error); !error && size > 0)
        _impl->CheckSize(size);
    _impl->TakeFacts(ReadFacts(i_platform, job.platform.name), job);
    const auto hold = _impl->files.Hold();
    job.platform = _impl->files.Add(i_platform, job.platform.name);
    return _impl->Explained(_impl->store.Add(job, true));
}

Job JobDesk::Announce(const Actor& i_actor, NewJob i_job)
{
    Impl::Require(i_actor, Role::Submit);
    if (const auto known = _impl->store.Find(i_job.id))
        return _impl->RequireOwn(i_actor, known->id);
    const auto job = _impl->Checked(std::move(i_job), i_actor);
    _impl->CheckSize(job.platform.size);
    const bool isHash =
        job.platform.hash.size() == 64 && job.platform.hash.find_first_not_of("0123456789abcdef") == std::string::npos;
    if (!isHash)
        throw ManagerError(Kind::BadInput, "The platform's SHA-256 is 64 lower-case hexadecimal characters.");
    return _impl->store.Add(job, false);
}

std::uint64_t JobDesk::Receive(const Actor& i_actor, const boost::uuids::uuid& i_id, std::uint64_t i_offset,
                               std::string_view i_bytes)
{
    const auto job = _impl->RequireOwn(i_actor, i_id);
    if (job.phase != JobPhase::Incoming)
        throw ManagerError(Kind::Conflict, Impl::DescribePhase(job) + "; its platform is here already.");
    _impl->files.Receive(i_id, i_offset, i_bytes, job.platform.size);
    return _impl->files.GetReceived(i_id);
}

std::uint64_t JobDesk::GetReceived(const Actor& i_actor, const boost::uuids::uuid& i_id) const
{
    const auto job = _impl->RequireOwn(i_actor, i_id);
    return job.phase == JobPhase::Incoming ? _impl->files.GetReceived(i_id) : job.platform.size;
}

Job JobDesk::FinishUpload(const Actor& i_actor, const boost::uuids::uuid& i_id)
{
    auto job = _impl->RequireOwn(i_actor, i_id);
    if (job.phase != JobPhase::Incoming)
        return _impl->Explained(std::move(job));
    const auto hold = _impl->files.Hold();
    const auto kept = _impl->files.Finish(i_id, job.platform);
    NewJob told = job;
    _impl->TakeFacts(ReadFacts(_impl->files.GetPath(kept.hash), kept.name), told);
    job = _impl->store.Change(
        i_id, {job.isDraft ? JobEvent::ReceivedDraft : JobEvent::Received, i_actor.name, {}, [&](Job& io_job) {
                   io_job.platform = kept;
                   io_job.picture = told.picture;
                   io_job.needs = told.needs;
                   io_job.estimates = told.estimates;
                   io_job.settings = told.settings;
               }});
    return _impl->Explained(std::move(job));
}

Job JobDesk::Get(const Actor& i_actor, const boost::uuids::uuid& i_id) const
{
    Impl::Require(i_actor, Role::See);
    return _impl->Explained(_impl->Require(i_id));
}

Job JobDesk::Find(const Actor& i_actor, const std::string& i_word) const
{
    Impl::Require(i_actor, Role::See);
    std::int64_t number = 0;
    const auto* const end = i_word.data() + i_word.size();
    if (const auto read = std::from_chars(i_word.data(), end, number); read.ec == std::errc() && read.ptr == end) {
        if (auto job = _impl->store.FindByNumber(number))
            return _impl->Explained(std::move(*job));
    } else {
        try {
            return Get(i_actor, boost::uuids::string_generator()(i_word));
        } catch (const std::runtime_error& failure) {
            if (dynamic_cast<const ManagerError*>(&failure))
                throw;
        }
    }
    throw ManagerError(Kind::NotFound, "There is no job " + TavSDK::Quote(i_word, MaxShown) +
                                           "; a job is called by its number or its id.");
}

std::vector<Job> JobDesk::List(const Actor& i_actor, const JobFilter& i_filter) const
{
    Impl::Require(i_actor, Role::See);
    auto jobs = _impl->store.List(i_filter);
    const auto machines = _impl->board.GetMachines();
    for (auto& job : jobs)
        _impl->Explain(job, machines);
    return jobs;
}

std::int64_t JobDesk::Count(const Actor& i_actor, const JobFilter& i_filter) const
{
    Impl::Require(i_actor, Role::See);
    return _impl->store.Count(i_filter);
}

std::map<JobState, std::int64_t> JobDesk::CountStates(const Actor& i_actor) const
{
    Impl::Require(i_actor, Role::See);
    return _impl->store.CountStates();
}

std::vector<HistoryEntry> JobDesk::GetHistory(const Actor& i_actor, const boost::uuids::uuid& i_id) const
{
    Impl::Require(i_actor, Role::See);
    _impl->Require(i_id);
    return _impl->store.GetHistory(i_id);
}

std::vector<Candidate> JobDesk::GetCandidates(const Actor& i_actor, const boost::uuids::uuid& i_id) const
{
    Impl::Require(i_actor, Role::See);
    const auto job = _impl->Require(i_id);
    std::vector<Candidate> candidates;
    for (const auto& machine : _impl->board.GetMachines()) {
        if (!IsFor(job, machine))
            continue;
        Candidate candidate{machine.entry.id, machine.entry.name, {}, false};
        if (const auto refusal = FindRefusal(job, machine)) {
            candidate.refusal = refusal->sentence;
            candidate.canBeAcknowledged = refusal->canBeAcknowledged;
        }
        candidates.push_back(std::move(candidate));
    }
    return candidates;
}

std::pair<KeptFile, std::filesystem::path> JobDesk::GetFile(const Actor& i_actor, const boost::uuids::uuid& i_id,
                                                            FileKind i_kind) const
{
    Impl::Require(i_actor, Role::See);
    const auto job = _impl->Require(i_id);
    std::optional<KeptFile> file;
    if (i_kind == FileKind::MachineFile)
        file = job.machineFile;
    else if (i_kind == FileKind::Picture)
        file = job.picture;
    else if (job.phase != JobPhase::Incoming)
        file = job.platform;
    if (!file)
        throw ManagerError(Kind::NotFound, Impl::DescribePhase(job) + " and has no such file.");
    return {*file, _impl->files.GetPath(file->hash)};
}

std::shared_ptr<void> JobDesk::Subscribe(std::function<void(const boost::uuids::uuid& i_job)> i_slot)
{
    return _impl->store.Subscribe(std::move(i_slot));
}

Time JobDesk::Now() const
{
    return _impl->store.Now();
}

StoreDesk& JobDesk::GetStoreDesk() const
{
    return *_impl->whole;
}

} // namespace MachineService::MachineManager
