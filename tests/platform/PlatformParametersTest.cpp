#include "platform/PlatformParameters.h"
#include "platform/IPlatformCreator.h"
#include "platform/PlatformCreationParameters.h"
#include "platform/PlatformInformationReader.h"
#include "support/Failures.h"
#include "support/Files.h"
#include "support/Test.h"

#include <QString>
#include <QTemporaryDir>

#include <cstring>
#include <sstream>
#include <type_traits>

namespace {

using namespace MachineService;
using namespace TestSupport;

template <class T>
constexpr bool IsCopyAssignable = std::is_same_v<decltype(std::declval<T&>() = std::declval<const T&>()), T&>;
static_assert(IsCopyAssignable<IPlatformCreator> && IsCopyAssignable<IPlatformParameter>);
static_assert(IsCopyAssignable<IPlatformParameterChoice> && IsCopyAssignable<IPlatformParameterChoiceItem>);
static_assert(std::is_nothrow_move_constructible_v<PlatformParameterChoice>);

/// Place of a virtual function in the table; the destructor has the first two.
template <class Function>
std::size_t GetSlot(Function i_function)
{
    struct
    {
        std::size_t offset;
        std::size_t adjustment;
    } pointer;
    static_assert(sizeof(pointer) == sizeof(i_function));
    std::memcpy(&pointer, &i_function, sizeof(pointer));
    return pointer.offset / sizeof(void*);
}

TEST(PlatformInterfacesTest, KeepTheOrderOfTheirOperations)
{
    const auto slots = [](auto... i_functions) {
        return std::vector<std::size_t>{GetSlot(i_functions)...};
    };
    using Parameter = IPlatformParameter;
    using Choice = IPlatformParameterChoice;
    using Item = IPlatformParameterChoiceItem;
    using Creator = IPlatformCreator;
    EXPECT_THAT(slots(&Parameter::GetId, &Parameter::GetType, &Parameter::GetName, &Parameter::IsRequired,
                      &Choice::GetItemCount, &Choice::GetItem),
                ElementsAre(2, 3, 4, 5, 6, 7));
    EXPECT_THAT(slots(&Item::GetId, &Item::GetName, &Item::IsDefault), ElementsAre(2, 3, 4));
    EXPECT_THAT(slots(static_cast<MachineLayer::IMachineData* (Creator::*)()>(&Creator::GetMachineData),
                      static_cast<const MachineLayer::IMachineData* (Creator::*)() const>(&Creator::GetMachineData),
                      &Creator::RefreshPlatformInformation, &Creator::SetPlatformInformation, &Creator::GetName,
                      &Creator::GetComment, &Creator::GetMaterialCount, &Creator::GetMaterial,
                      &Creator::SetParameterValue, &Creator::GetParameterCount, &Creator::GetParameter,
                      &Creator::CreatePlatform),
                ElementsAre(2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13));
}

TEST(PlatformInterfacesTest, CopyNothing)
{
    PlatformParameterChoice choice(L"id", L"name", true);
    PlatformParameterChoice other(L"other", L"o");
    static_cast<IPlatformParameterChoice&>(other) = choice;
    static_cast<IPlatformParameterChoice&>(other) = std::move(choice);
    EXPECT_EQ(other.GetId(), L"other");
    EXPECT_FALSE(other.IsRequired());
}

TEST(PlatformInformationTest, CopiesShareParametersAndOwnMachineData)
{
    VexlorPlatformInformation copy;
    std::weak_ptr<IPlatformParameterChoice> shared;
    {
        VexlorPlatformInformation original;
        const auto choice = std::make_shared<PlatformParameterChoice>(L"id", L"name");
        EXPECT_THROW(choice->GetItem(0), std::out_of_range);
        original.parameters.push_back(choice);
        shared = choice;
        original.machineData->Edit().properties = {L"first", L"second", L"third", {}, {}, {}, {}, {}};
        copy = original;
        original.machineData->Edit().properties.name = L"changed";
    }
    EXPECT_FALSE(shared.expired());
    EXPECT_EQ(copy.machineData->Get().properties.name, L"first");

    copy.PopulatePropertiesUsingMachineInformation();
    EXPECT_EQ(copy.name, L"first");
    EXPECT_EQ(copy.comment, L"third");
    EXPECT_EQ(copy.materials, std::vector<std::wstring>{L"second"});
    EXPECT_TRUE(shared.expired()) << "parameters of another machine";
    copy.machineData.reset();
    copy.name = L"kept";
    copy.PopulatePropertiesUsingMachineInformation();
    EXPECT_EQ(VexlorPlatformInformation(copy).name, L"kept");
}

/// All that a reader fills, as one text.
std::string Show(const VexlorPlatformInformation& i_information)
{
    std::wostringstream text;
    text << i_information.name << L"|" << i_information.comment << L"|";
    for (const std::wstring& material : i_information.materials)
        text << material << L";";
    for (const auto& choice : i_information.parameters) {
        text << L"|" << choice->GetId() << L":" << choice->GetName() << (choice->IsRequired() ? L"!" : L"");
        for (std::size_t index = 0; index < choice->GetItemCount(); ++index) {
            const IPlatformParameterChoiceItem& item = *choice->GetItem(index);
            text << L"," << item.GetId() << L":" << item.GetName() << (item.IsDefault() ? L"!" : L"");
        }
    }
    return QString::fromStdWString(text.str()).toStdString();
}

TEST(PlatformInformationReaderTest, TakesWhatTheFormatHasAndNothingElse)
{
    const std::pair<std::string, std::string> rows[] = {
        {"<Other><Name>a</Name></Other>", "before||"},
        {"<p:PlatformInformation xmlns:p='x'><Name>a</Name></p:PlatformInformation>", "before||"},
        {"<PlatformInformation xmlns='x' version='9'/>", "before||"},
        {"<PlatformInformation><Name>a</Name><Comment>c&lt;<![CDATA[&]]></Comment><Name>b&#xe4;</Name></"
         "PlatformInformation>",
         "bä|c<&|"},
        {"<PlatformInformation><name>a</name><X><Name>a</Name><Materials><Material name='m'/></Materials></X>"
         "</PlatformInformation>",
         "before||"},
        {"<PlatformInformation><Name>a<b>x</b>c</Name></PlatformInformation>", "ac||"},
        {"<PlatformInformation><Materials><Material name='m'>text</Material><Material/><X name='x'/><Material "
         "name='m'/>"
         "</Materials><Material name='outside'/></PlatformInformation>",
         "before||m;;m;"},
        {"<PlatformInformation><Parameters><Item id='x'/><Choice/><Choice id='a' name='b' isRequired='true'>"
         "<Item id='1' name='x' isDefault='true'>t<Item id='inner'/></Item><Choice id='inner'/><Item "
         "isDefault='1'/></Choice>"
         "<Choice isRequired='TRUE'><Item id='2' isDefault=' true'/></Choice></Parameters></PlatformInformation>",
         "before|||:|a:b!,1:x!,:|:,2:"},
        {"<PlatformInformation><Parameters><Choice id='中'><Item id='\xF0\x9F\x96\xA8'/></Choice></Parameters>"
         "</PlatformInformation>",
         "before|||中:,\xF0\x9F\x96\xA8:"},
    };
    for (const auto& [document, expected] : rows) {
        VexlorPlatformInformation information;
        information.name = L"before";
        PlatformInformationReader reader(information);
        EXPECT_TRUE(reader.ParseText(document)) << document << reader.GetError();
        EXPECT_EQ(Show(information), expected) << document;
    }
    std::string many = "<PlatformInformation><Materials>";
    for (int count = 0; count <= 200'000; ++count)
        many += "<Material/>";
    VexlorPlatformInformation information;
    PlatformInformationReader reader(information);
    EXPECT_FALSE(reader.ParseText(many + "</Materials></PlatformInformation>"));
}

TEST(PlatformCreationParametersTest, WritesValuesInTheOrderOfTheirIds)
{
    const QTemporaryDir dir;
    const std::filesystem::path path = std::filesystem::path(dir.path().toStdString()) / "parameters.xml";
    const auto write = [&path](const ParameterValues& i_values) {
        WritePlatformCreationParameters(path.wstring().c_str(), i_values);
        return ReadFile(path);
    };
    const std::string root = "<PlatformCreationParameters xmlns=\"https://www.vexlor.example/BuildProcessor/2014\"";
    const std::string document = write({{L"a", L"1 < 2 & \u00e4"}, {L"B", L""}, {L"\U0001F5A8\"", L"x"}});
    const std::string expected = root + "><ParameterValue id=\"B\"></ParameterValue>"
                                        "<ParameterValue id=\"a\">1 &lt; 2 &amp; ä</ParameterValue>"
                                        "<ParameterValue id=\"\xF0\x9F\x96\xA8&quot;\">x</ParameterValue>"
                                        "</PlatformCreationParameters>";
    EXPECT_THAT(document, HasSubstr(expected));
    EXPECT_THAT(write({}), AllOf(HasSubstr(root), Not(HasSubstr("Value>"))));

    const std::filesystem::path missing = path / "below";
    EXPECT_EQ(GetFailure([&] { WritePlatformCreationParameters(missing.wstring().c_str(), {}); }),
              (Failure{ErrorCode::FileError, "Failed to create '" + missing.string() + "'."}));
}

} // namespace
