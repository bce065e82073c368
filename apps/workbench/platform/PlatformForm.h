#pragma once

#include <QMap>
#include <QString>

#include <vector>

namespace MachineService {
class IPlatformCreator;
}

namespace Workbench {

/// What a machine asks before it makes a platform, with what is chosen so far.
struct PlatformForm
{
    struct Item
    {
        QString id;
        QString name;
        bool isDefault = false;
    };
    struct Choice
    {
        QString id;
        QString name;
        bool isRequired = false;
        std::vector<Item> items;
        QString chosen; ///< id of an item; empty: nothing is chosen
    };

    QString machine;
    QString comment;
    QString materials;
    std::vector<Choice> choices; ///< in the machine's order

    /// Every choice with its first default.
    static PlatformForm Read(const MachineService::IPlatformCreator& i_creator);

    /// Chooses what was chosen the last time, where the machine still offers it.
    void Remember(const QMap<QString, QString>& i_chosen);
    QMap<QString, QString> GetChosen() const;
    /// Names of the choices that must be made and are not.
    QStringList GetMissing() const;
    void Write(MachineService::IPlatformCreator& io_creator) const;
};

} // namespace Workbench
