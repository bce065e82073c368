#pragma once

#include "buildprocessor/engine/Estimates.h"

#include <optional>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// What is known of a machine file that was made and checked.
struct SlicingResult
{
    Estimates estimates;
    std::vector<std::string> notes; ///< what the user is told of it, a sentence in one line each
};

/// As a text that reads back as the same.
std::string ToText(const SlicingResult& i_result);
/// Empty for a text of another form.
std::optional<SlicingResult> ReadSlicingResult(const std::string& i_text);

} // namespace MachineService::BuildProcessor
