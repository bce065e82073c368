#pragma once

#include "machineconfig/Quantity.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace MachineService::ConfigurationFormat {

/// Knows what the elements inside one element mean: the same calls that make a FieldWriter write a record's fields make
/// this reader ready to receive them. The record must stay where it is until then.
class FieldReader
{
public:
    static constexpr bool IsReader = true;

    void Number(std::string_view i_tag, double& o_number, const Quantity& i_quantity);
    void Number(std::string_view i_tag, std::optional<double>& o_number, const Quantity& i_quantity);
    void Text(std::string_view i_tag, std::wstring& o_text);
    void Name(std::string_view i_tag, std::wstring& o_text);
    void Names(std::string_view i_tag, std::vector<std::wstring>& o_texts);

    template <class E>
    void Choice(std::string_view i_tag, E& o_value)
    {
        _Add(i_tag, Count::One).setText = [&o_value](std::string_view i_text) {
            const auto& names = Choices<E>::names;
            o_value = static_cast<E>(_FindChoice(names.data(), names.size(), i_text));
        };
    }

    template <class Record, class Function>
    void Child(std::string_view i_tag, std::optional<Record>& o_record, const Function& i_describe)
    {
        _Add(i_tag, Count::OneAtMost).open = [&o_record, i_describe](FieldReader& i_fields) {
            i_describe(i_fields, o_record.emplace());
        };
    }
    template <class Function>
    void Group(std::string_view i_tag, bool, const Function& i_describe)
    {
        _Add(i_tag, Count::OneAtMost).open = i_describe;
    }
    template <class Record, class Function>
    void Children(std::string_view i_tag, std::vector<Record>& o_records, const Function& i_describe)
    {
        _Add(i_tag, Count::Any).open = [&o_records, i_describe](FieldReader& i_fields) {
            i_describe(i_fields, o_records.emplace_back());
        };
    }
    template <class Key, class Record, class Function>
    void Children(std::string_view i_tag, std::map<Key, Record>& o_records, const Function& i_describe)
    {
        _Add(i_tag, Count::Any).open = [&o_records, i_describe](FieldReader& i_fields) {
            // Its place in the map is known only when all of it has been read.
            const auto entry = std::make_shared<std::pair<Key, Record>>();
            i_describe(i_fields, entry->first, entry->second);
            i_fields._rules.push_back([&o_records, entry] {
                if (!o_records.insert(std::move(*entry)).second)
                    throw FieldError("stands twice for the same name or type");
            });
        };
    }

    template <class Function>
    void Rule(const Function& i_is_kept, const char* ip_sentence)
    {
        _rules.push_back([i_is_kept, ip_sentence] {
            if (!i_is_kept())
                throw FieldError(ip_sentence);
        });
    }

    // What follows is for the one who reads the document.

    /// A field of one name. It receives either texts or elements.
    struct Field
    {
        std::string_view tag;
        std::string_view unit; ///< that a number must have; empty for others
        bool isRequired = false;
        bool isRepeatable = false;
        bool isSeen = false;
        std::function<void(std::string_view)> setText = {};
        std::function<void(FieldReader&)> open = {};
    };

    /// Null for a name that means nothing here.
    /// \throws FieldError when the field has been seen and may stand once only.
    Field* Meet(std::string_view i_tag);
    /// \throws FieldError when something is missing or a rule is broken.
    void Finish() const;

private:
    enum class Count
    {
        OneAtMost,
        One,
        Any,
    };

    Field& _Add(std::string_view i_tag, Count i_count);
    static std::size_t _FindChoice(const std::string_view* ip_names, std::size_t i_count, std::string_view i_text);

    std::vector<Field> _fields;
    std::vector<std::function<void()>> _rules;
};

} // namespace MachineService::ConfigurationFormat
