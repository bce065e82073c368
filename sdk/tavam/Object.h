#pragma once

#include "tavam/PersistentProperties.h"
#include "tavam_export.h"

namespace TavAM {

/// Base of everything in a platform file that carries AMX properties.
class TAVAM_EXPORT Object
{
public:
    Object();
    Object(const Object& i_other);
    Object& operator=(const Object& i_other);
    virtual ~Object();

    /// \param i_reset true empties the collection before it is returned.
    PersistentProperties& GetAMXProperties(bool i_reset = false);
    const PersistentProperties& GetAMXProperties() const { return _properties; }

private:
    PersistentProperties _properties;
};

} // namespace TavAM
