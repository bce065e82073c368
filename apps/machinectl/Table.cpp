#include "machinectl/Table.h"

#include "machinectl/TextWidth.h"

#include <algorithm>
#include <numeric>

namespace MachineCtl {

namespace {

constexpr int Gap = 2;

const char* GetCode(Look i_look)
{
    switch (i_look) {
    case Look::Plain:
        break;
    case Look::Title:
        return "1";
    case Look::Good:
        return "32";
    case Look::Busy:
        return "36";
    case Look::Waiting:
        return "33";
    case Look::Bad:
        return "31";
    }
    return "";
}

int GetGaps(std::size_t i_columns)
{
    return Gap * (static_cast<int>(i_columns) - 1);
}

} // namespace

QString Paint(const QString& i_text, Look i_look)
{
    if (i_look == Look::Plain || i_text.isEmpty())
        return i_text;
    return QStringLiteral("\x1b[%1m%2\x1b[0m").arg(QLatin1String(GetCode(i_look)), i_text);
}

Table::Table(std::vector<Column> i_columns)
    : _columns(std::move(i_columns))
{}

void Table::AddRow(std::vector<Cell> i_cells)
{
    i_cells.resize(_columns.size(), Cell(QString()));
    _rows.push_back(std::move(i_cells));
}

int Table::_GetWidest(std::size_t i_column) const
{
    int widest = GetWidth(_columns[i_column].title);
    for (const auto& row : _rows)
        widest = std::max(widest, GetWidth(row[i_column].text));
    return widest;
}

std::vector<std::size_t> Table::_ChooseColumns(int i_width) const
{
    std::vector<std::size_t> columns(_columns.size());
    std::iota(columns.begin(), columns.end(), std::size_t{0});
    const auto getLeast = [&](std::size_t i_column) {
        return std::min(_columns[i_column].least, _GetWidest(i_column));
    };
    while (i_width > 0 && columns.size() > 1) {
        int least = GetGaps(columns.size());
        for (const auto column : columns)
            least += getLeast(column);
        if (least <= i_width)
            break;
        columns.erase(std::min_element(columns.begin(), columns.end(), [&](std::size_t i_left, std::size_t i_right) {
            return _columns[i_left].importance < _columns[i_right].importance;
        }));
    }
    return columns;
}

std::vector<int> Table::_ChooseWidths(const std::vector<std::size_t>& i_columns, int i_width) const
{
    std::vector<int> widths;
    for (const auto column : i_columns)
        widths.push_back(_GetWidest(column));
    if (i_width <= 0)
        return widths;
    int surplus = GetGaps(i_columns.size()) + std::accumulate(widths.begin(), widths.end(), 0) - i_width;
    for (; surplus > 0; --surplus) {
        // Of those that may become narrower, the widest.
        std::size_t widest = widths.size();
        for (std::size_t place = 0; place < widths.size(); ++place) {
            const bool canShrink = widths[place] > _columns[i_columns[place]].least;
            if (canShrink && (widest == widths.size() || widths[place] > widths[widest]))
                widest = place;
        }
        if (widest == widths.size())
            break;
        --widths[widest];
    }
    // One column alone on a very narrow terminal.
    if (surplus > 0)
        widths.back() = std::max(1, widths.back() - surplus);
    return widths;
}

QString Table::Format(int i_width, bool i_is_coloured) const
{
    const auto columns = _ChooseColumns(i_width);
    const auto widths = _ChooseWidths(columns, i_width);
    QString text;
    const auto addLine = [&](const std::vector<Cell>& i_cells) {
        QString line;
        int missing = 0;
        for (std::size_t place = 0; place < columns.size(); ++place) {
            const auto& cell = i_cells[columns[place]];
            const auto shown = CutText(cell.text, widths[place]);
            const int free = widths[place] - GetWidth(shown);
            const bool isRight = _columns[columns[place]].isRight;
            // Spaces are written when something follows them, so that no line ends with them.
            missing += isRight ? free : 0;
            if (!shown.isEmpty()) {
                line += QString(missing, QLatin1Char(' ')) + (i_is_coloured ? Paint(shown, cell.look) : shown);
                missing = 0;
            }
            missing += (isRight ? 0 : free) + Gap;
        }
        text += line + QLatin1Char('\n');
    };
    std::vector<Cell> titles;
    for (const auto& column : _columns)
        titles.emplace_back(column.title, Look::Title);
    addLine(titles);
    for (const auto& row : _rows)
        addLine(row);
    return text;
}

} // namespace MachineCtl
