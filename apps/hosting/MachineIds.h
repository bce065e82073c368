#pragma once

#include <QString>
#include <QUuid>

#include <boost/uuid/uuid.hpp>

#include <algorithm>

namespace Hosting {

/// Ids are boost's among services and Qt's in a host; both hold the same bytes in the order of their text.
inline QUuid ToQUuid(const boost::uuids::uuid& i_id)
{
    return QUuid::fromRfc4122(
        QByteArray(reinterpret_cast<const char*>(i_id.data), static_cast<int>(i_id.size()))); // NOLINT: bytes
}

inline boost::uuids::uuid ToBoostUuid(const QUuid& i_id)
{
    const QByteArray bytes = i_id.toRfc4122();
    boost::uuids::uuid id;
    std::copy(bytes.begin(), bytes.end(), id.begin());
    return id;
}

} // namespace Hosting
