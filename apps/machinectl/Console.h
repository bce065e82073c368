#pragma once

#include <QString>

namespace MachineCtl {

/// Standard output and standard error of the process.
///
/// Thread: one at a time.
class Console
{
public:
    /// Looks once where the streams go.
    Console();
    /// Takes the progress away.
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    /// Cells of the terminal that standard output is; 0: it is none.
    int GetWidth() const { return _width; }
    bool IsColoured() const { return _isColoured; }
    /// To standard output, at once.
    /// \throws HostingError when it cannot be printed.
    void Print(const QString& i_text);
    /// A line to standard error, for people.
    void Tell(const QString& i_line);
    /// One line on standard error that the next one replaces; nothing when that is no terminal.
    void ShowProgress(const QString& i_line);

private:
    void _ClearProgress();

    int _width = 0;
    int _errorWidth = 0;
    bool _isColoured = false;
    bool _hasProgress = false;
};

} // namespace MachineCtl
