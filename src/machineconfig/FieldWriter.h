#pragma once

#include "machineconfig/Quantity.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace TavSDK {
class XmlWriter;
}

namespace MachineService::ConfigurationFormat {

/// Writes a record's fields as elements, in the order in which they are named; FieldReader takes the same calls.
///
/// All operations throw FieldError for a value that cannot be written; GetPlace() then says which.
class FieldWriter
{
public:
    static constexpr bool IsReader = false;

    /// \param op_xml null only checks the values. Not owned.
    explicit FieldWriter(TavSDK::XmlWriter* op_xml)
        : _xml(op_xml)
    {}

    /// An element around what the function writes.
    /// \param i_index counted from 1; 0 when there is one such element only.
    template <class Function>
    void Element(std::string_view i_tag, std::size_t i_index, std::string_view i_namespace, const Function& i_write)
    {
        _Start(i_tag, i_index, i_namespace);
        i_write();
        _End();
    }

    void Number(std::string_view i_tag, double i_number, const Quantity& i_quantity);
    void Number(std::string_view i_tag, const std::optional<double>& i_number, const Quantity& i_quantity)
    {
        if (i_number)
            Number(i_tag, *i_number, i_quantity);
    }

    /// Left out when empty.
    void Text(std::string_view i_tag, const std::wstring& i_text)
    {
        if (!i_text.empty())
            Name(i_tag, i_text);
    }
    /// A text that must not be empty.
    void Name(std::string_view i_tag, const std::wstring& i_text, std::size_t i_index = 0);
    void Names(std::string_view i_tag, const std::vector<std::wstring>& i_texts);

    template <class E>
    void Choice(std::string_view i_tag, const E& i_value)
    {
        const auto index = static_cast<std::size_t>(i_value);
        _Choice(i_tag, index < Choices<E>::names.size() ? Choices<E>::names[index] : std::string_view());
    }

    /// An element of fields, if there is one. i_describe(fields, record)
    template <class Record, class Function>
    void Child(std::string_view i_tag, const std::optional<Record>& i_record, const Function& i_describe)
    {
        if (i_record)
            Element(i_tag, 0, {}, [&] { i_describe(*this, *i_record); });
    }
    /// An element around further fields of the record itself. i_describe(fields)
    template <class Function>
    void Group(std::string_view i_tag, bool i_is_present, const Function& i_describe)
    {
        if (i_is_present)
            Element(i_tag, 0, {}, [&] { i_describe(*this); });
    }
    /// Any number of elements of the same name. i_describe(fields, record)
    template <class Record, class Function>
    void Children(std::string_view i_tag, const std::vector<Record>& i_records, const Function& i_describe)
    {
        std::size_t index = 0;
        for (const Record& record : i_records)
            Element(i_tag, ++index, {}, [&] { i_describe(*this, record); });
    }
    /// The same for records that have a key. i_describe(fields, key, record)
    template <class Key, class Record, class Function>
    void Children(std::string_view i_tag, const std::map<Key, Record>& i_records, const Function& i_describe)
    {
        std::size_t index = 0;
        for (const auto& entry : i_records)
            Element(i_tag, ++index, {}, [&] { i_describe(*this, entry.first, entry.second); });
    }

    /// A rule over several fields. i_is_kept()
    template <class Function>
    void Rule(const Function& i_is_kept, const char* ip_sentence) const
    {
        if (!i_is_kept())
            throw FieldError(ip_sentence);
    }

    /// Of the last failure: the elements down to the field, for example "Nesting/NoBuildZone[2]/MinX".
    std::string GetPlace() const;

private:
    struct OpenElement
    {
        std::string_view tag;
        std::size_t index;
    };

    void _Start(std::string_view i_tag, std::size_t i_index, std::string_view i_namespace = {});
    void _End();
    void _Choice(std::string_view i_tag, std::string_view i_name);

    TavSDK::XmlWriter* _xml;
    std::vector<OpenElement> _open;
};

} // namespace MachineService::ConfigurationFormat
