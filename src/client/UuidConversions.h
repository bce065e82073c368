#pragma once

#include <QUuid>

#include <boost/uuid/uuid.hpp>

namespace MachineService {

/// Ids are boost's among services and Qt's in the host. Both ways go through the text, whose order of bytes is the same
/// on both sides.
boost::uuids::uuid ToBoostUuid(const QUuid& i_id);
QUuid ToQUuid(const boost::uuids::uuid& i_id);

} // namespace MachineService
