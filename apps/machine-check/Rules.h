#pragma once

#include <string>
#include <vector>

namespace MachineCheck {

/// A rule of the protocol that is looked at; its id and sentence are those of docs/protocol-rules.md.
struct Rule
{
    const char* id;
    const char* sentence;
};

const std::vector<Rule>& GetRules();

} // namespace MachineCheck
