#pragma once

#include "platform/IPlatformCreator.h"
#include "platform/PlatformCreationParameters.h"
#include "platform/VexlorPlatformInformation.h"

namespace MachineService {

class PlatformCreator final : public IPlatformCreator
{
public:
    PlatformCreator(const Machine& i_machine, const VexlorPlatformInformation& i_information, bool i_has_parameters,
                    bool i_can_create, VexlorCore::ApiProviderGetter i_api_provider);

    MachineLayer::IMachineData* GetMachineData() override { return _information.machineData.get(); }
    const MachineLayer::IMachineData* GetMachineData() const override { return _information.machineData.get(); }
    void RefreshPlatformInformation() override;
    void SetPlatformInformation(const PlatformInfo& i_platform_info) override;
    const std::wstring& GetName() const override { return _information.name; }
    const std::wstring& GetComment() const override { return _information.comment; }
    std::size_t GetMaterialCount() const override { return _information.materials.size(); }
    const std::wstring& GetMaterial(std::size_t i_index) const override { return _information.materials.at(i_index); }
    void SetParameterValue(const std::wstring& i_id, const std::wstring& i_value) override;
    std::size_t GetParameterCount() const override { return _information.parameters.size(); }
    IPlatformParameterChoice* GetParameter(std::size_t i_index) const override
    {
        return _information.parameters.at(i_index).get();
    }
    bool CreatePlatform(VexlorCore::DataSet* ip_data_set, bool i_keep_parts) const override;

private:
    bool _AskAndLoad(VexlorCore::DataSet& io_data_set, bool i_keep_parts) const;
    std::string _WriteParameters(VexlorCore::DataSet& io_data_set) const;
    void _LoadPlatform(VexlorCore::DataSet& io_data_set, const CommandResult& i_result, const Platform& i_item,
                       bool i_keep_parts) const;
    void _CheckMachineData(const std::wstring& i_file) const;
    void _UpdateMachineData(VexlorCore::DataSet& io_data_set, const Platform& i_item) const;

    Machine _machine;
    VexlorPlatformInformation _information;
    ParameterValues _values;
    const bool _hasParameters;
    const bool _canCreate;
    VexlorCore::ApiProviderGetter _apiProvider;
};

} // namespace MachineService
