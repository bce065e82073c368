#pragma once

#include <QSortFilterProxyModel>

namespace Workbench {

/// The machines that the operator wants to see: by words and by kind. Services stay while they have such a machine, and
/// all of them where nothing is asked for.
class MachineFilter final : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    enum class Kind
    {
        All,
        Favourites,
        Ready,
        Extrusion,
        Resin,
    };

    explicit MachineFilter(QObject* ip_parent = nullptr);

    /// Every word must occur in what a machine says of itself.
    void SetWords(const QString& i_words);
    void SetKind(Kind i_kind);
    bool IsAsking() const { return !_words.isEmpty() || _kind != Kind::All; }
    int GetMachineCount() const;

protected:
    bool filterAcceptsRow(int i_row, const QModelIndex& i_parent) const override;

private:
    QStringList _words;
    Kind _kind = Kind::All;
};

} // namespace Workbench
