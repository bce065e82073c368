#include "tavam/Object.h"

namespace TavAM {

Object::Object() = default;
Object::Object(const Object& i_other) = default;
Object& Object::operator=(const Object& i_other) = default;
Object::~Object() = default;

PersistentProperties& Object::GetAMXProperties(bool i_reset)
{
    if (i_reset)
        _properties.Clear();
    return _properties;
}

} // namespace TavAM
