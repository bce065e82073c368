#pragma once

#include <QString>
#include <QStringList>

#include <vector>

namespace MachineCtl {

/// How a text stands out on a terminal that knows colours.
enum class Look
{
    Plain,
    Title,
    Good,
    Busy,
    Waiting,
    Bad,
};

struct Cell
{
    Cell(QString i_text, Look i_look = Look::Plain)
        : text(std::move(i_text))
        , look(i_look)
    {}
    QString text; ///< clean, see CleanText
    Look look;
};

struct Column
{
    QString title;
    int least = 4;      ///< cells that it is not made narrower than
    int importance = 9; ///< where there is no room for all columns, the least important go first
    bool isRight = false;
};

/// Rows of texts as lines.
class Table
{
public:
    explicit Table(std::vector<Column> i_columns);

    /// As many cells as there are columns.
    void AddRow(std::vector<Cell> i_cells);
    /// Title and rows, each a line with its end.
    /// \param i_width cells of the terminal, which no line passes; 0: there is none, and nothing is cut.
    QString Format(int i_width, bool i_is_coloured) const;

private:
    std::vector<std::size_t> _ChooseColumns(int i_width) const;
    std::vector<int> _ChooseWidths(const std::vector<std::size_t>& i_columns, int i_width) const;
    int _GetWidest(std::size_t i_column) const;

    const std::vector<Column> _columns;
    std::vector<std::vector<Cell>> _rows;
};

/// The text with the look's colours.
QString Paint(const QString& i_text, Look i_look);

} // namespace MachineCtl
