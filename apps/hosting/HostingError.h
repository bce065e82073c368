#pragma once

#include <QString>

#include <stdexcept>

namespace Hosting {

/// A failure that the user reads as it is: one sentence. what(): UTF-8.
class HostingError : public std::runtime_error
{
public:
    explicit HostingError(const QString& i_sentence)
        : std::runtime_error(i_sentence.toStdString())
    {}
};

} // namespace Hosting
