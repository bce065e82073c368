#pragma once

#include "vexlorcore_export.h"

#include <map>
#include <memory>
#include <string>

namespace VexlorCore {

/// A value of any type in a PropertyCollection.
class IPropertyValue
{
public:
    virtual ~IPropertyValue() = default;
    /// A new value that the caller owns.
    virtual IPropertyValue* Clone() const = 0;
};

template <class T>
class SimplePropertyBase : public IPropertyValue
{
public:
    explicit SimplePropertyBase(const T& i_value)
        : _value(i_value)
    {}
    const T& GetValue() const { return _value; }
    void SetValue(const T& i_value) { _value = i_value; }

private:
    T _value;
};

/// One T by value. The tag tells apart properties of the same type that mean different things.
template <class T, int Tag>
class SimplePropertyValue final : public SimplePropertyBase<T>
{
public:
    using SimplePropertyBase<T>::SimplePropertyBase;
    IPropertyValue* Clone() const override { return new SimplePropertyValue(this->GetValue()); }
};

/// Transient values by name; not saved with the project. Copying copies the values.
/// Thread: UI thread.
class VEXLORCORE_EXPORT PropertyCollection
{
public:
    PropertyCollection();
    PropertyCollection(const PropertyCollection& i_other);
    PropertyCollection& operator=(const PropertyCollection& i_other);
    ~PropertyCollection();

    /// Null when there is none. Owned by the collection; valid until the key is set or deleted.
    IPropertyValue* Get(const std::wstring& i_key);
    const IPropertyValue* Get(const std::wstring& i_key) const;
    /// Creates or replaces; takes ownership.
    void Set(const std::wstring& i_key, std::unique_ptr<IPropertyValue> ip_value);
    /// Deleting what is not there is harmless.
    void Delete(const std::wstring& i_key);

private:
    std::map<std::wstring, std::unique_ptr<IPropertyValue>> _values;
};

} // namespace VexlorCore
