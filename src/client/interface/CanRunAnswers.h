#pragma once

#include "machineservice_export.h"

#include <boost/uuid/uuid.hpp>

#include <chrono>
#include <future>
#include <optional>
#include <string>

namespace MachineService {

/// A machine's answer to whether it can run a command now.
struct CanRunAnswer
{
    bool canRun = false;
    /// With a no: why, one sentence for the user; UTF-8, may be empty.
    std::string reason;

    bool operator==(const CanRunAnswer&) const = default;
};

/// What is known of a command without asking. The cache keeps its last answer while a machine does not answer, so that
/// "no", "not asked yet" and "does not answer" are told apart only by the times.
struct KnownCanRunAnswer
{
    using Time = std::chrono::system_clock::time_point;

    CanRunAnswer answer;            ///< the last one; no until there was one
    std::optional<Time> answeredAt; ///< when it came; empty: never yet
    /// Since when asking fails, or is waited for in vain; empty while the machine answers.
    std::optional<Time> failingSince;
};

/// What a MachineStrategy implements beside its operations when its machine gives a sentence with its no. A strategy
/// without it answers by MachineStrategy::CanRunCommand alone.
///
/// Thread: any. The future as there.
class MACHINESERVICE_EXPORT IExplainsCanRun
{
public:
    virtual ~IExplainsCanRun();
    /// The answer of CanRunCommand, with its reason.
    virtual std::future<CanRunAnswer> ExplainCanRunCommand(const boost::uuids::uuid& i_command_id) const = 0;
};

/// What keeps answers of a machine tells of them, without counting as a question and without waiting.
///
/// Thread: any.
class MACHINESERVICE_EXPORT IKnowsCanRun
{
public:
    virtual ~IKnowsCanRun();
    virtual KnownCanRunAnswer GetKnownCanRunAnswer(const boost::uuids::uuid& i_command_id) const = 0;
};

} // namespace MachineService
