#pragma once

#include "machinelayer/Choices.h"
#include "machinelayer/FieldDescription.h"
#include "machinelayer/Node.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace MachineLayer {

template <class Record>
void CheckRules(const Node& i_node);

/// Makes the description of a record.
class DescriptionBuilder
{
public:
    static constexpr bool IsReader = false;

    DescriptionBuilder(Field& io_record, Format i_format)
        : _record(io_record)
        , _format(i_format)
    {}

    Format GetFormat() const { return _format; }

    /// A text that may be left out.
    void Text(const char* ip_name, const std::wstring&, const char* ip_tag = nullptr)
    {
        _Add(Field::Kind::Text, ip_name, ip_tag).isEmptyAllowed = _format == Format::Pldf;
    }
    /// A text without which the record means nothing.
    void Name(const char* ip_name, const std::wstring&, const char* ip_tag = nullptr)
    {
        _Add(Field::Kind::Text, ip_name, ip_tag).isRequired = true;
    }
    /// Any number of texts that are not empty.
    void Names(const char* ip_name, const std::vector<std::wstring>&)
    {
        const bool isAttribute = _format == Format::Pldf;
        Field& field = _Add(isAttribute ? Field::Kind::Record : Field::Kind::Text, ip_name, nullptr);
        field.isRepeatable = true;
        if (isAttribute)
            DescriptionBuilder(field, _format).Name("name", {});
    }
    template <class N>
    void Number(const char* ip_name, const N&, const Quantity& i_quantity, const char* ip_tag = nullptr)
    {
        Field& field = _Add(Field::Kind::Number, ip_name, ip_tag);
        field.quantity = &i_quantity;
        field.isRequired = std::is_same_v<N, double>;
    }
    template <class E>
    void Choice(const char* ip_name, const E&, const char* ip_tag = nullptr)
    {
        _AddChoice<E>(ip_name, ip_tag).isRequired = true;
    }
    template <class E>
    void Choice(const char* ip_name, const std::optional<E>&, const char* ip_tag = nullptr)
    {
        _AddChoice<E>(ip_name, ip_tag);
    }
    /// A record that may be left out.
    template <class T>
    void Child(const char* ip_name, const std::optional<T>&, const char* ip_tag = nullptr)
    {
        _Describe<T>(_Add(Field::Kind::Record, ip_name, ip_tag));
    }
    /// Any number of records.
    template <class T>
    void Children(const char* ip_name, const std::vector<T>&)
    {
        Field& field = _Add(Field::Kind::Record, ip_name, nullptr);
        field.isRepeatable = true;
        _Describe<T>(field);
    }
    /// The same, described otherwise than usual. i_describe(fields, record)
    template <class T, class Function>
    void ChildrenBy(const char* ip_name, const std::vector<T>&, const Function& i_describe)
    {
        Field& field = _Add(Field::Kind::Record, ip_name, nullptr);
        field.isRepeatable = true;
        DescriptionBuilder builder(field, _format);
        T record = {};
        i_describe(builder, record);
    }
    /// Any number of records with a key, which is the first of their fields.
    template <class K, class T>
    void Children(const char* ip_name, const std::map<K, T>&)
    {
        Field& field = _Add(Field::Kind::Record, ip_name, nullptr);
        field.isRepeatable = true;
        field.isKeyed = true;
        DescriptionBuilder builder(field, _format);
        K key = {};
        T record = {};
        Describe(builder, key, record);
    }
    /// An element around further fields of the record itself, which is always there. i_describe(fields)
    template <class Function>
    void Part(const char* ip_name, const Function& i_describe)
    {
        Field& field = _Add(Field::Kind::Record, ip_name, nullptr);
        field.isRequired = true;
        DescriptionBuilder builder(field, _format);
        i_describe(builder);
    }
    /// The same, of which a record has at most one.
    template <class Function>
    void Alternative(const char* ip_name, bool, const Function& i_describe)
    {
        Field& field = _Add(Field::Kind::Record, ip_name, nullptr);
        field.isAlternative = true;
        DescriptionBuilder builder(field, _format);
        i_describe(builder);
    }
    /// A record that may be left out and has a namespace of its own: "/AM/MachineData/", its name, "/", year and month
    /// of its format.
    template <class T>
    void Section(const char* ip_path, const std::optional<T>&)
    {
        Field& field = _Add(Field::Kind::Record, GetName(ip_path), nullptr);
        field.path = ip_path;
        _Describe<T>(field);
    }
    /// What the fields cannot say one by one. i_is_kept()
    template <class Function>
    void Rule(const Function&, const char*)
    {
        _hasRule = true;
    }

    /// "Nesting" of "/AM/MachineData/Nesting/2023/03".
    static std::string GetName(std::string_view i_path);

private:
    Field& _Add(Field::Kind i_kind, std::string_view i_name, const char* ip_tag);
    std::string _Spell(std::string_view i_name) const;

    template <class E>
    Field& _AddChoice(const char* ip_name, const char* ip_tag)
    {
        Field& field = _Add(Field::Kind::Choice, ip_name, ip_tag);
        for (const char* name : Choices<E>::names)
            field.choices.push_back(_Spell(name));
        return field;
    }
    template <class T>
    void _Describe(Field& io_field)
    {
        DescriptionBuilder builder(io_field, _format);
        T record = {};
        Describe(builder, record);
        if (builder._hasRule)
            io_field.check = &CheckRules<T>;
    }

    Field& _record;
    Format _format;
    bool _hasRule = false;
};

} // namespace MachineLayer
