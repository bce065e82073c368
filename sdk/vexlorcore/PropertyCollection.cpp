#include "vexlorcore/PropertyCollection.h"

#include <utility>

namespace VexlorCore {

PropertyCollection::PropertyCollection() = default;

PropertyCollection::PropertyCollection(const PropertyCollection& i_other)
{
    for (const auto& [key, value] : i_other._values)
        _values.emplace(key, value->Clone());
}

PropertyCollection& PropertyCollection::operator=(const PropertyCollection& i_other)
{
    PropertyCollection copy(i_other);
    _values.swap(copy._values);
    return *this;
}

PropertyCollection::~PropertyCollection() = default;

IPropertyValue* PropertyCollection::Get(const std::wstring& i_key)
{
    return const_cast<IPropertyValue*>(std::as_const(*this).Get(i_key));
}

const IPropertyValue* PropertyCollection::Get(const std::wstring& i_key) const
{
    const auto found = _values.find(i_key);
    return found == _values.end() ? nullptr : found->second.get();
}

void PropertyCollection::Set(const std::wstring& i_key, std::unique_ptr<IPropertyValue> ip_value)
{
    if (!ip_value) {
        Delete(i_key);
        return;
    }
    // The former value is destroyed last: its destructor may look at the collection.
    std::swap(_values[i_key], ip_value);
}

void PropertyCollection::Delete(const std::wstring& i_key)
{
    const auto node = _values.extract(i_key);
}

} // namespace VexlorCore
