#pragma once

#include <QString>

namespace MachineService {

/// The user's sentence for the exception that is being handled, translated, as plain text. Call it in a catch block
/// only; throws nothing of its own but std::bad_alloc. An exception that was thrown by pointer is freed.
QString DescribeCurrentException();

} // namespace MachineService
