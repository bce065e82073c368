#pragma once

#include <QString>
#include <QStringList>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace MachineCtl {

struct CommandInfo;

/// What the user asked for.
struct CommandLine
{
    enum class Action
    {
        Run,
        ShowHelp, ///< of the command, or of all
        ShowVersion,
        Refuse, ///< print `fault` and end with WrongUsage
    };

    Action action = Action::Run;
    QString fault;
    const CommandInfo* command = nullptr;
    std::vector<std::string> operands;
    std::map<std::string, std::string> options; ///< that were given, common ones too; without a value: empty

    bool Has(const char* ip_option) const { return options.count(ip_option) > 0; }
    /// Empty when it was not given.
    std::string Get(const char* ip_option) const;
};

/// Never exits; the arguments are those of the process, program name first.
CommandLine ParseCommandLine(const QStringList& i_arguments);

/// A wrong value of an operand or an option, as a sentence.
class UsageError
{
public:
    explicit UsageError(QString i_sentence)
        : _sentence(std::move(i_sentence))
    {}
    const QString& GetSentence() const { return _sentence; }

private:
    QString _sentence;
};

/// \param i_name of the option or the operand, for the sentence.
/// \throws UsageError unless it is a whole number between the bounds.
int ParseNumber(const std::string& i_text, const QString& i_name, int i_least, int i_most);

} // namespace MachineCtl
