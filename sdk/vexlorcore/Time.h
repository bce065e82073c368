#pragma once

#include "vexlorcore_export.h"

#include <string>

namespace VexlorCore {

/// ISO-8601 text of a time in UTC: "2026-11-21T12:00:00Z". Years 0001 to 9999. Locale-free.
/// \param i_seconds since 1970-01-01 00:00 UTC.
/// \throws std::out_of_range beyond the years that the form can carry.
VEXLORCORE_EXPORT std::wstring GetUtcTimeAsIso8601WString(long long i_seconds);

/// Seconds since 1970-01-01 00:00 UTC. Accepts the form above, also with a fraction (cut off) and with an offset
/// "+02:00".
/// \throws std::invalid_argument for anything else.
VEXLORCORE_EXPORT long long GetUtcTimeFromIso8601String(const std::wstring& i_text);

} // namespace VexlorCore
