#pragma once

#include <QProcess>
#include <QStringList>

#include <string>
#include <vector>

#include <csignal>

namespace TestSupport {

/// A program that serves machines in a process of its own, until the object goes.
class ServedProgram
{
public:
    ServedProgram(const QString& i_program, const QStringList& i_arguments,
                  const std::vector<std::pair<QString, QString>>& i_environment = {})
    {
        auto environment = QProcessEnvironment::systemEnvironment();
        for (const auto& [name, value] : i_environment)
            environment.insert(name, value);
        _process.setProcessEnvironment(environment);
        _process.start(i_program, i_arguments);
    }
    ~ServedProgram()
    {
        _process.kill();
        _process.waitForFinished();
    }

    /// Lines of standard output up to "ready"; none when it does not come to that.
    std::vector<std::string> WaitUntilReady()
    {
        std::vector<std::string> lines;
        while (_process.state() != QProcess::NotRunning || _process.canReadLine()) {
            if (!_process.canReadLine() && !_process.waitForReadyRead(Longest))
                break;
            while (_process.canReadLine()) {
                const auto line = _process.readLine().trimmed().toStdString();
                if (line == "ready")
                    return lines;
                lines.push_back(line);
            }
        }
        return {};
    }
    void Signal(int i_signal) { ::kill(static_cast<pid_t>(_process.processId()), i_signal); }
    /// Its exit code; -1 when it does not end, or by a signal.
    int WaitForEnd()
    {
        _process.waitForFinished(Longest);
        const bool hasEnded = _process.state() == QProcess::NotRunning;
        return hasEnded && _process.exitStatus() == QProcess::NormalExit ? _process.exitCode() : -1;
    }
    std::string GetOutput() { return _process.readAllStandardOutput().toStdString(); }
    std::string GetErrors() { return _process.readAllStandardError().toStdString(); }

private:
    static constexpr int Longest = 60'000; // ms

    QProcess _process;
};

} // namespace TestSupport
