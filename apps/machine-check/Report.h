#pragma once

#include <map>
#include <string>
#include <vector>

namespace MachineCheck {

/// What was found, by rule.
class Report
{
public:
    /// The rule was looked at.
    void Look(const std::string& i_rule) { _findings[i_rule]; }
    /// \param i_what was seen in its place, one sentence.
    void Find(const std::string& i_rule, const std::string& i_what) { _findings[i_rule].push_back(i_what); }
    /// Looks, and finds where it does not hold.
    void Expect(bool i_holds, const std::string& i_rule, const std::string& i_what)
    {
        if (i_holds)
            Look(i_rule);
        else
            Find(i_rule, i_what);
    }

    bool HasFindings() const;
    std::vector<std::string> GetFoundRules() const;
    std::string ToTable() const;
    std::string ToJson() const;
    std::string ToJUnit() const;

private:
    std::map<std::string, std::vector<std::string>> _findings; ///< of the rules that were looked at
};

} // namespace MachineCheck
