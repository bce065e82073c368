#include "client/UuidConversions.h"

#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

namespace MachineService {

boost::uuids::uuid ToBoostUuid(const QUuid& i_id)
{
    return boost::uuids::string_generator()(i_id.toString().toStdString());
}

QUuid ToQUuid(const boost::uuids::uuid& i_id)
{
    return QUuid::fromString(QString::fromStdString(boost::uuids::to_string(i_id)));
}

} // namespace MachineService
