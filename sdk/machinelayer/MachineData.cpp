#include "machinelayer/IMachineData.h"

namespace MachineLayer {

namespace {

class MachineData final : public IMachineData
{
public:
    std::unique_ptr<IMachineData> Clone() const override { return std::make_unique<MachineData>(*this); }
    void CopyFrom(const IMachineData& i_other) override { _machine = Data::Machine(i_other.Get()); }
    const Data::Machine& Get() const override { return _machine; }
    Data::Machine& Edit() override { return _machine; }

private:
    Data::Machine _machine;
};

void Merge(std::wstring& io_target, const std::wstring& i_loaded)
{
    if (!i_loaded.empty())
        io_target = i_loaded;
}

template <class T>
void Merge(std::optional<T>& io_target, const std::optional<T>& i_loaded)
{
    if (i_loaded)
        io_target = i_loaded;
}

template <class T>
void Merge(std::vector<T>& io_target, const std::vector<T>& i_loaded)
{
    if (!i_loaded.empty())
        io_target = i_loaded;
}

void Merge(Data::MachineProperties& io_target, const Data::MachineProperties& i_loaded)
{
    Merge(io_target.name, i_loaded.name);
    Merge(io_target.material, i_loaded.material);
    Merge(io_target.comment, i_loaded.comment);
    Merge(io_target.manufacturer, i_loaded.manufacturer);
    Merge(io_target.modelId, i_loaded.modelId);
    Merge(io_target.technology, i_loaded.technology);
    Merge(io_target.layerHeight, i_loaded.layerHeight);
    Merge(io_target.nozzleDiameter, i_loaded.nozzleDiameter);
}

} // namespace

IMachineData::~IMachineData() = default;

std::unique_ptr<IMachineData> CreateMachineData()
{
    return std::make_unique<MachineData>();
}

namespace Utilities {

void MergeMachineConfiguration(IMachineData& io_target, const IMachineData& i_loaded)
{
    Data::Machine& target = io_target.Edit();
    const Data::Machine& loaded = i_loaded.Get();
    target.baseplate = loaded.baseplate;
    for (auto& [name, profile] : target.surfaceTypeProfiles) {
        if (const auto found = loaded.surfaceTypeProfiles.find(name); found != loaded.surfaceTypeProfiles.end())
            profile = found->second;
    }
    target.supportProfileSet = loaded.supportProfileSet;

    Merge(target.properties, loaded.properties);
    MergePlatformGeometry(io_target, i_loaded);
    Merge(target.nesting, loaded.nesting);
    Merge(target.zBrace, loaded.zBrace);
    Merge(target.zCompensation, loaded.zCompensation);
    Merge(target.partExport, loaded.partExport);
    for (const auto& [name, text] : loaded.settings)
        target.settings.insert_or_assign(name, text);
}

void MergePlatformGeometry(IMachineData& io_target, const IMachineData& i_loaded)
{
    Data::Machine& target = io_target.Edit();
    const Data::Machine& loaded = i_loaded.Get();
    Merge(target.platformShape, loaded.platformShape);
    Merge(target.platformGeometry, loaded.platformGeometry);
    Merge(target.scanFields, loaded.scanFields);
}

} // namespace Utilities
} // namespace MachineLayer
