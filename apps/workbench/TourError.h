#pragma once

#include <QString>

#include <stdexcept>

namespace Workbench {

/// Ends the tour with one sentence for the user. what(): UTF-8.
class TourError : public std::runtime_error
{
public:
    explicit TourError(const QString& i_sentence)
        : std::runtime_error(i_sentence.toStdString())
    {}
};

} // namespace Workbench
