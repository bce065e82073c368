#pragma once

#include <QByteArray>
#include <QString>

#include <cstdio>

namespace Tour {

/// Prints the text at once.
/// \return empty, or why it could not be printed: one sentence for the user.
QString Print(std::FILE* ip_stream, const QByteArray& i_text);

} // namespace Tour
