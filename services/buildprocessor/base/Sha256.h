#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace MachineService::BuildProcessor {

/// SHA-256 of what is added, piece by piece.
class Sha256
{
public:
    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    void Add(std::string_view i_bytes);
    /// A text with its length, so that two texts are never taken for two others.
    void AddText(std::string_view i_text);
    /// A value as it is in memory; the same on one machine, which is all that a cache needs.
    template <class Value>
    void AddValue(const Value& i_value)
    {
        static_assert(std::has_unique_object_representations_v<Value> || std::is_floating_point_v<Value>);
        Add({reinterpret_cast<const char*>(&i_value), sizeof i_value});
    }
    /// 64 hexadecimal digits; nothing can be added behind it.
    std::string Finish();

private:
    struct Impl;
    const std::unique_ptr<Impl> _impl;
};

} // namespace MachineService::BuildProcessor
