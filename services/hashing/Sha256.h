#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

namespace MachineService {

/// SHA-256 of what was added so far; can be asked after every piece.
class Sha256
{
public:
    Sha256();
    ~Sha256();
    Sha256(const Sha256& i_other);
    Sha256& operator=(const Sha256& i_other);

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
    /// 32 bytes.
    std::string GetBytes() const;
    /// 64 lower-case hexadecimal digits.
    std::string GetHex() const;

private:
    struct Impl;
    std::unique_ptr<Impl> _impl;
};

/// SHA-256, 32 bytes.
std::string HashOf(std::string_view i_bytes);

} // namespace MachineService
