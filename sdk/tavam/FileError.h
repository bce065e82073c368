#pragma once

#include <stdexcept>
#include <string>

namespace TavAM {

/// A file could not be read or written. what(): UTF-8, names the file and the reason in one sentence.
class FileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace TavAM
