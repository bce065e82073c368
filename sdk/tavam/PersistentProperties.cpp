#include "tavam/PersistentProperties.h"

#include "tavam/AMXFormat_p.h"

namespace TavAM {

std::size_t PersistentProperties::CountSavedBytes(const std::wstring& i_text)
{
    return AMXFormat::CountAttributeBytes(AMXFormat::EncodeText(i_text));
}

bool PersistentProperties::Has(const std::wstring& i_name) const
{
    return _values.count(i_name) != 0;
}

std::optional<std::wstring> PersistentProperties::GetText(const std::wstring& i_name) const
{
    const auto found = _values.find(i_name);
    return found == _values.end() ? std::nullopt : found->second;
}

void PersistentProperties::SetText(const std::wstring& i_name, const std::wstring& i_text)
{
    _values.insert_or_assign(i_name, i_text);
}

void PersistentProperties::SetUndefined(const std::wstring& i_name)
{
    _values.insert_or_assign(i_name, std::nullopt);
}

void PersistentProperties::Remove(const std::wstring& i_name)
{
    _values.erase(i_name);
}

void PersistentProperties::Clear()
{
    _values.clear();
}

} // namespace TavAM
