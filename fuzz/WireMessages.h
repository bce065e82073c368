#pragma once

#include "Fuzz.h"

#include <string_view>

namespace Fuzz {

/// Messages one after the other, as they might come on one connection: a byte for the kind, two for the length, the
/// lower one first, and the bytes.
///
/// \param i_take called with kind and bytes of each.
template <class Take>
void ReadMessages(std::string_view i_input, const Take& i_take)
{
    while (i_input.size() >= 3) {
        const auto byte = [&](std::size_t i_place) {
            return static_cast<std::size_t>(static_cast<unsigned char>(i_input[i_place]));
        };
        const std::size_t kind = byte(0);
        const std::size_t size = byte(1) + 256 * byte(2);
        i_input.remove_prefix(3);
        i_take(kind, i_input.substr(0, size));
        i_input.remove_prefix(std::min(size, i_input.size()));
    }
}

/// The bytes as a message; false when they are none.
template <class Message>
bool Parse(std::string_view i_bytes, Message& o_message)
{
    return o_message.ParseFromArray(i_bytes.data(), static_cast<int>(i_bytes.size()));
}

// Kinds, as the seeds write them: what a service says,
enum WireAnswer
{
    AnswerCatalogEvent,
    AnswerIcon,
    AnswerCanRun,
    AnswerRun,
    AnswerPlatform,
    AnswerProfiles,
    AnswerInformation,
    AnswerFailure,
    AnswerKept, ///< the file of the last snapshot
    AnswerKinds,
};

// and what a host asks.
enum WireRequest
{
    RequestStart,
    RequestUpload,
    RequestCancel,
    RequestRelease,
    RequestDownload,
    RequestWatchCatalog,
    RequestMachine, ///< a catalog event whose machine a service puts into its journal
    RequestLater,   ///< time passes
    RequestKinds,
};

} // namespace Fuzz
