#include "machinelayer/DescriptionBuilder.h"

namespace MachineLayer {

namespace {

constexpr std::size_t VersionSize = std::string_view("/2022/09").size();

} // namespace

std::string DescriptionBuilder::GetName(std::string_view i_path)
{
    i_path.remove_suffix(VersionSize);
    return std::string(i_path.substr(i_path.rfind('/') + 1));
}

Field& DescriptionBuilder::_Add(Field::Kind i_kind, std::string_view i_name, const char* ip_tag)
{
    Field& field = _record.fields.emplace_back();
    field.kind = i_kind;
    field.format = _format;
    field.name = ip_tag && _format == Format::Sections ? std::string(ip_tag) : _Spell(i_name);
    return field;
}

std::string DescriptionBuilder::_Spell(std::string_view i_name) const
{
    std::string name(i_name);
    if (_format == Format::Sections && name.front() >= 'a' && name.front() <= 'z')
        name.front() = static_cast<char>(name.front() - 'a' + 'A');
    return name;
}

} // namespace MachineLayer
