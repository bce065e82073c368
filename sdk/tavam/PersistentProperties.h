#pragma once

#include "tavam_export.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>

namespace TavAM {

/// Named texts that are saved with the object that they belong to (AMX properties).
///
/// A property may exist without a value: it is then there, and its text is empty.
class TAVAM_EXPORT PersistentProperties
{
public:
    using Map = std::map<std::wstring, std::optional<std::wstring>>;

    /// Longest text that can be saved, as CountSavedBytes() counts.
    static constexpr std::size_t LargestText = std::size_t{7} << 20U;
    /// Bytes that a text takes in a platform file, or more: UTF-8, in which markup, quotes, tabs and line ends take
    /// six.
    static std::size_t CountSavedBytes(const std::wstring& i_text);

    bool Has(const std::wstring& i_name) const;
    /// Empty when the property is missing or holds no defined value.
    std::optional<std::wstring> GetText(const std::wstring& i_name) const;
    /// Creates or replaces.
    void SetText(const std::wstring& i_name, const std::wstring& i_text);
    /// Creates or replaces with no defined value.
    void SetUndefined(const std::wstring& i_name);
    /// Removing what is not there is harmless.
    void Remove(const std::wstring& i_name);
    void Clear();
    std::size_t GetCount() const { return _values.size(); }
    /// In ascending order of names.
    const Map& GetAll() const { return _values; }

    bool operator==(const PersistentProperties&) const = default;

private:
    Map _values;
};

} // namespace TavAM
