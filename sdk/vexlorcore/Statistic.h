#pragma once

#include "vexlorcore_export.h"

#include <map>
#include <string>
#include <vector>

namespace VexlorCore {

/// Usage statistics of the host: traces are kept in memory, bounded, and can be read back.
/// Thread: any.
class VEXLORCORE_EXPORT Statistic
{
public:
    struct Trace
    {
        std::string category;
        std::string level;
        std::string label;
        std::map<std::string, std::string> properties;
        bool operator==(const Trace&) const = default;
    };

    /// Texts are UTF-8. When full, the oldest trace goes.
    static void TrackCustomTrace(const std::string& i_category, const std::string& i_level, const std::string& i_label,
                                 const std::map<std::string, std::string>& i_properties = {});
    static std::vector<Trace> GetTraces();
    static void Clear();
};

} // namespace VexlorCore
