#pragma once

#include "machinelayer/MachineRecords.h"
#include "machinelayer_export.h"

#include <memory>

namespace MachineLayer {

/// Machine data that scenes and platform information own.
///
/// \code
/// std::unique_ptr<MachineLayer::IMachineData> data = MachineLayer::CreateMachineData();
/// data->Edit().properties.name = L"Large printer";
/// \endcode
///
/// Thread: one at a time.
class MACHINELAYER_EXPORT IMachineData
{
public:
    virtual ~IMachineData();

    /// A new object with the same content.
    virtual std::unique_ptr<IMachineData> Clone() const = 0;
    /// Takes over the other's content; from itself it changes nothing.
    virtual void CopyFrom(const IMachineData& i_other) = 0;

    virtual const Data::Machine& Get() const = 0;
    /// Valid as long as the object.
    virtual Data::Machine& Edit() = 0;

protected:
    IMachineData() = default;
    IMachineData(const IMachineData&) = default;
    IMachineData& operator=(const IMachineData&) = default;
};

/// Empty machine data.
MACHINELAYER_EXPORT std::unique_ptr<IMachineData> CreateMachineData();

namespace Utilities {

/// Brings a machine's configuration up to date with one that was loaded from its PLDF file.
///
/// Taken over as they are: baseplate and support profile set. Of the support profiles only those count whose names the
/// target has among its surface types: their settings are taken over. Of all the rest, whatever the loaded
/// configuration has replaces the target's, and what it does not have stays; settings count one by one.
MACHINELAYER_EXPORT void MergeMachineConfiguration(IMachineData& io_target, const IMachineData& i_loaded);

/// Takes over platform shape, platform geometry and scan fields, as a description of a platform's geometry gives them.
MACHINELAYER_EXPORT void MergePlatformGeometry(IMachineData& io_target, const IMachineData& i_loaded);

} // namespace Utilities
} // namespace MachineLayer
