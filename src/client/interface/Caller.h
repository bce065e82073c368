#pragma once

#include <string>

namespace MachineService {

/// Who asks a machine to do something, where a server of machine services passes that on: a name that the server has
/// found to be true. Counts for the calls of the thread as long as it lives.
///
///     const CallerScope scope(name);
///     machine.RunCommand(parameters); // may ask GetCaller() before it returns
///
/// Thread: one.
class CallerScope
{
public:
    explicit CallerScope(std::string i_name);
    ~CallerScope();
    CallerScope(const CallerScope&) = delete;
    CallerScope& operator=(const CallerScope&) = delete;

private:
    const std::string _former;
};

/// Empty: somebody in this process.
const std::string& GetCaller();

} // namespace MachineService
