#include "client/UuidConversions.h"

#include <QByteArray>
#include <QLatin1String>

#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <array>

namespace MachineService {

// Through the text, which is what both sides agree on; without strings of their own, because every piece of news of
// every machine comes by here.

boost::uuids::uuid ToBoostUuid(const QUuid& i_id)
{
    const QByteArray text = i_id.toByteArray();
    return boost::uuids::string_generator()(text.constData(), text.constData() + text.size());
}

QUuid ToQUuid(const boost::uuids::uuid& i_id)
{
    std::array<char, 36> text;
    boost::uuids::to_chars(i_id, text.data());
    return QUuid::fromString(QLatin1String(text.data(), static_cast<int>(text.size())));
}

} // namespace MachineService
