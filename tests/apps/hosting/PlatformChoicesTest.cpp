#include "hosting/PlatformChoices.h"
#include "hosting/HostingError.h"
#include "platform/IPlatformCreator.h"
#include "platform/PlatformInformationReader.h"
#include "platform/VexlorPlatformInformation.h"
#include "support/Test.h"

using namespace Hosting;

namespace {

using MachineService::IPlatformParameterChoice;
using Values = ChosenValues;

/// Offers what a document of a machine says.
class DocumentCreator final : public MachineService::IPlatformCreator
{
public:
    explicit DocumentCreator(const std::string& i_document)
    {
        MachineService::PlatformInformationReader reader(_information);
        EXPECT_TRUE(reader.ParseText(i_document)) << reader.GetError();
    }
    MachineLayer::IMachineData* GetMachineData() override { return nullptr; }
    const MachineLayer::IMachineData* GetMachineData() const override { return nullptr; }
    void RefreshPlatformInformation() override {}
    void SetPlatformInformation(const MachineService::PlatformInfo&) override {}
    const std::wstring& GetName() const override { return _information.name; }
    const std::wstring& GetComment() const override { return _information.comment; }
    std::size_t GetMaterialCount() const override { return 0; }
    const std::wstring& GetMaterial(std::size_t i_index) const override { return _information.materials.at(i_index); }
    void SetParameterValue(const std::wstring&, const std::wstring&) override {}
    std::size_t GetParameterCount() const override { return _information.parameters.size(); }
    IPlatformParameterChoice* GetParameter(std::size_t i_index) const override
    {
        return _information.parameters.at(i_index).get();
    }
    bool CreatePlatform(VexlorCore::DataSet*, bool) const override { return false; }

private:
    MachineService::VexlorPlatformInformation _information;
};

std::pair<QString, QString> Value(const char* ip_id, const char* ip_value)
{
    return {QLatin1String(ip_id), QLatin1String(ip_value)};
}

TEST(PlatformChoicesTest, CompletesTheUsersValuesWithDefaults)
{
    const DocumentCreator creator(R"(<PlatformInformation><Name>Large</Name><Parameters>
        <Choice id="height" name="h" isRequired="false"><Item id="0.1" name=""/>
            <Item id="0.2" name="" isDefault="true"/><Item id="0.3" name="" isDefault="true"/></Choice>
        <Choice id="plate" name="p" isRequired="false"><Item id="glass" name=""/></Choice>
        <Choice id="material" name="m" isRequired="true"><Item id="PLA" name=""/><Item id="PETG" name=""/></Choice>
        </Parameters></PlatformInformation>)");
    const struct
    {
        Values chosen;
        Values complete;
        const char* failure;
    } rows[] = {
        {{Value("material", "PETG")}, {Value("height", "0.2"), Value("material", "PETG")}, ""},
        {{Value("material", "PLA"), Value("plate", "glass"), Value("height", "0.1")},
         {Value("height", "0.1"), Value("plate", "glass"), Value("material", "PLA")},
         ""},
        {{}, {}, "The choice 'material' needs a value; it offers PLA, PETG."},
        {{Value("Material", "PLA")},
         {},
         "The machine 'Large' does not offer the choice 'Material'; it offers height, "},
        {{Value("material", "pla")}, {}, "The choice 'material' does not offer the value 'pla'; it offers PLA, PETG."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.failure);
        std::string failure;
        Values complete;
        try {
            complete = CompleteChoices(creator, row.chosen);
        } catch (const HostingError& error) {
            failure = error.what();
        }
        EXPECT_EQ(complete, row.complete);
        EXPECT_THAT(failure, HasSubstr(row.failure));
        EXPECT_EQ(failure.empty(), *row.failure == '\0');
    }
}

} // namespace
