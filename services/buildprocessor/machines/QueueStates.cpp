#include "buildprocessor/machines/QueueStates.h"

#include "contract/Failure.h"
#include "contract/PrivateFile.h"

#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <algorithm>

namespace MachineService::BuildProcessor {

namespace {

constexpr char Extension[] = ".queue";
constexpr std::size_t MaxBytes = 64;
constexpr std::size_t MaxFiles = 1000;
constexpr QueueState AllStates[] = {QueueState::Running, QueueState::Paused, QueueState::Error, QueueState::Offline};

QueueState ParseState(std::string i_text)
{
    const auto isSpace = [](char i_character) {
        return i_character == ' ' || i_character == '\n' || i_character == '\r';
    };
    std::erase_if(i_text, isSpace);
    for (const QueueState state : AllStates) {
        if (i_text == GetStateName(state))
            return state;
    }
    Fail(ErrorCode::FileError, "it must hold one of the words running, paused, error and offline");
}

boost::uuids::uuid ParseId(const std::string& i_text)
{
    try {
        if (i_text.size() == 36)
            return boost::uuids::string_generator()(i_text);
    } catch (const std::runtime_error&) {
        // Said below.
    }
    Fail(ErrorCode::FileError, "its name must be the id of a machine");
}

} // namespace

std::map<boost::uuids::uuid, QueueState> ReadQueueStates(const std::filesystem::path& i_folder,
                                                         std::vector<std::string>& o_problems)
{
    std::map<boost::uuids::uuid, QueueState> states;
    std::error_code error;
    std::filesystem::directory_iterator entry(i_folder, error);
    std::size_t count = 0;
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const auto path = entry->path();
        if (path.filename().string().front() == '.' || path.extension() != Extension)
            continue;
        if (++count > MaxFiles) {
            o_problems.push_back("profiles: more than " + std::to_string(MaxFiles) +
                                 " states of queues; some are left out");
            break;
        }
        try {
            const auto id = ParseId(path.stem().string());
            // It may have gone since the folder was listed.
            if (const auto text = ReadBoundedFile(path, MaxBytes))
                states[id] = ParseState(*text);
        } catch (const CommunicationException& failure) {
            o_problems.push_back("profiles/" + path.filename().string() + ": " + failure.what() +
                                 "; the state is left out");
        }
    }
    return states;
}

void SetQueueState(const std::filesystem::path& i_folder, const boost::uuids::uuid& i_machine,
                   const std::optional<QueueState>& i_state)
{
    const auto path = i_folder / (boost::uuids::to_string(i_machine) + Extension);
    if (i_state) {
        MakePrivateFolder(i_folder);
        WritePrivateFile(path, std::string(GetStateName(*i_state)) + '\n');
        return;
    }
    std::error_code error;
    std::filesystem::remove(path, error);
    if (error)
        Fail(ErrorCode::FileError, "The file '" + path.string() + "' cannot be removed: " + error.message() + '.');
}

} // namespace MachineService::BuildProcessor
