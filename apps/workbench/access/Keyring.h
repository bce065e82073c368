#pragma once

#include "workbench/access/ISecretStore.h"

#include <QObject>

namespace Workbench {

/// The desktop's keyring, which the user unlocks. Where there is none nothing is kept, in no file either.
class Keyring final : public QObject, public ISecretStore
{
    Q_OBJECT

public:
    void Read(const QString& i_address,
              std::function<void(std::optional<MachineService::AuthenticationData>)> i_take) override;
    void Write(const QString& i_address, const MachineService::AuthenticationData& i_data,
               std::function<void(const QString&)> i_note) override;
    void Remove(const QString& i_address) override;
};

} // namespace Workbench
