#include "vexlorcore/SceneMachineData.h"

#include "machinelayer/Pldf.h"
#include "machinelayer/PldfFile.h"
#include "tavam/MachineParameters.h"
#include "tavsdk/Utf8.h"
#include "vexlorcore/DataSet.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace MachineLayer::Utilities {

namespace {

constexpr wchar_t TransientKey[] = L"MachineLayer.MachineData";
constexpr wchar_t SavedName[] = L"MachineLayer.MachineData";

/// What the platform says of its machine: as long as it says the same, machine data made from it count.
struct Origin
{
    std::optional<TavAM::MachineParameters> parameters;
    std::optional<std::wstring> saved;
    bool operator==(const Origin&) const = default;
};

class MachineDataValue final : public VexlorCore::IPropertyValue
{
public:
    MachineDataValue(Origin i_origin, std::unique_ptr<IMachineData> ip_data)
        : origin(std::move(i_origin))
        , data(std::move(ip_data))
    {}
    VexlorCore::IPropertyValue* Clone() const override { return new MachineDataValue(origin, data->Clone()); }

    Origin origin;
    std::unique_ptr<IMachineData> data;
};

Origin GetOrigin(const TavAM::Platform& i_platform)
{
    Origin origin;
    if (i_platform.GetMachine() != nullptr)
        origin.parameters = *i_platform.GetMachine();
    origin.saved = i_platform.GetAMXProperties().GetText(SavedName);
    return origin;
}

std::unique_ptr<IMachineData> MakeMachineData(const Origin& i_origin)
{
    auto data = CreateMachineData();
    if (i_origin.saved)
        ReadMachineData(TavSDK::ToUtf8(*i_origin.saved), *data);
    else
        PLDF::ConvertFromPLDF(*data, *i_origin.parameters, {.properties = true, .platform = true, .profiles = true});
    return data;
}

/// As the scene saves them.
std::wstring MakeDocument(const IMachineData& i_data)
{
    std::wstring document = TavSDK::ToWide(WriteMachineData(i_data));
    using TavAM::PersistentProperties;
    if (PersistentProperties::CountSavedBytes(document) > PersistentProperties::LargestText)
        throw std::runtime_error("the machine data are too long for a platform file");
    return document;
}

MachineDataValue* FindValue(VexlorCore::DataSet& io_data_set)
{
    return dynamic_cast<MachineDataValue*>(io_data_set.GetPropertyCollection().Get(TransientKey));
}

} // namespace

IMachineData* GetMachineDataMutable(VexlorCore::DataSet* ip_data_set)
{
    if (ip_data_set == nullptr)
        throw std::invalid_argument("data set is nullptr");
    Origin origin = GetOrigin(ip_data_set->GetPlatform());
    VexlorCore::PropertyCollection& properties = ip_data_set->GetPropertyCollection();
    if (!origin.parameters) {
        properties.Delete(TransientKey);
        return nullptr;
    }
    if (MachineDataValue* value = FindValue(*ip_data_set); value != nullptr && value->origin == origin)
        return value->data.get();
    auto data = MakeMachineData(origin);
    IMachineData* const result = data.get();
    properties.Set(TransientKey, std::make_unique<MachineDataValue>(std::move(origin), std::move(data)));
    return result;
}

void StoreMachineData(VexlorCore::DataSet* ip_data_set)
{
    IMachineData* const data = GetMachineDataMutable(ip_data_set);
    if (data == nullptr)
        return;
    ip_data_set->GetAMObject().GetAMXProperties().SetText(SavedName, MakeDocument(*data));
    FindValue(*ip_data_set)->origin = GetOrigin(ip_data_set->GetPlatform());
}

std::unique_ptr<IMachineData> MakeMachineData(const TavAM::Platform& i_platform)
{
    const Origin origin = GetOrigin(i_platform);
    return origin.parameters ? MakeMachineData(origin) : nullptr;
}

void CheckStorable(const IMachineData& i_data)
{
    MakeDocument(i_data);
}

} // namespace MachineLayer::Utilities
