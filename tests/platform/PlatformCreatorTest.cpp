#include "platform/PlatformCreatorFixture.h"

#include "platform/ErrorMessages.h"
#include "support/Texts.h"

#include "machinelayer/Pldf.h"

namespace {

using namespace TestSupport;

using PlatformCreatorTest = PlatformCreatorFixture;

TEST_F(PlatformCreatorTest, ReadsWhatTheMachineOffers)
{
    const auto creator = _Create(_MakeInfo());
    ASSERT_TRUE(creator) << _GetMessage();
    EXPECT_EQ(_message, L"");
    EXPECT_EQ(creator->GetName(), L"Größe");
    EXPECT_EQ(creator->GetComment(), L"c");
    ASSERT_EQ(creator->GetMaterialCount(), 1U);
    EXPECT_EQ(creator->GetMaterial(0), L"PLA");
    EXPECT_THROW(creator->GetMaterial(1), std::out_of_range);
    ASSERT_EQ(creator->GetParameterCount(), 2U);
    EXPECT_TRUE(creator->GetParameter(0)->GetItem(0)->IsDefault());
    EXPECT_THROW(creator->GetParameter(2), std::out_of_range);

    const MachineLayer::Data::Machine& machine = std::as_const(*creator).GetMachineData()->Get();
    EXPECT_EQ(machine.platformShape, MachineLayer::Data::PlatformShape(MachineLayer::Data::CylinderShape{100, 50}));
    EXPECT_EQ(machine.properties.name, L"from PLDF");
    EXPECT_EQ(machine.baseplate->thickness, 12);
    ASSERT_EQ(machine.surfaceTypeProfiles.size(), 1U) << "of a surface type that the platform does not have";
    EXPECT_EQ(machine.surfaceTypeProfiles.at(L"tree").spacing, 3);
    EXPECT_EQ(machine.supportProfileSet->name, L"set");
    EXPECT_EQ(machine.nesting->partToPart, 2);

    // A document of another kind says nothing.
    PlatformInfo other = _MakeInfo();
    other.xml = "<Other><Name>a</Name><Parameters><Choice id='a'/></Parameters></Other>";
    const auto silent = _Create(other);
    ASSERT_TRUE(silent) << _GetMessage();
    EXPECT_EQ(silent->GetName(), L"");
    EXPECT_EQ(silent->GetParameterCount(), 0U);
}

TEST_F(PlatformCreatorTest, SaysWhatTheMachineSaysAndReturnsNullWithoutAPlatform)
{
    PlatformInfo info = _MakeInfo();
    info.message = "abc";
    EXPECT_TRUE(_Create(info));
    EXPECT_EQ(_message, L"abc");
    info.code = 10;
    EXPECT_TRUE(_Create(info));
    EXPECT_EQ(_GetMessage(), ErrorMessageTable.at(10));
    info.items.erase(info.items.begin());
    EXPECT_FALSE(_Create(info));
    info.items.clear();
    EXPECT_FALSE(_Create(info));
    EXPECT_EQ(_GetMessage(), ErrorMessageTable.at(10));
    EXPECT_FALSE(_Create(ProgressWatcherFuture<PlatformInfo>()));
    EXPECT_NE(_message, L"");
}

TEST_F(PlatformCreatorTest, DamagedInformationGivesTheMessageOfItsKind)
{
    const std::string xml = "An error occurred while reading file .*/tmp/PlatformParameters[^/]+\\.xml";
    const std::string amx = "An error occurred while reading file .*/tmp/VexlorGetPlatformInformation[^/]+\\.TavAMX";
    const std::string noMachine = "An error occurred while loading the machine\\.";
    const std::string noPldf = "Error loading PLDF file\\.";
    const std::string deep = "<PlatformInformation>" + Repeat("<a>", 100'000);
    const std::string notUtf8 = Replaced(InformationXml, "PLA", "\xC3(\xFF");
    TavAM::MachineParameters nan = _MakeParameters();
    nan.values.SetText(L"platform.height", L"nan");
    const std::string newer = Replaced(_MakePldf(), "version=\"1\"", "version=\"2\"");

    using Kind = PlatformDataKind;
    struct Row
    {
        std::string data;
        std::optional<Kind> kind; ///< of the item to replace; the XML otherwise
        std::string message;
    };
    const Row rows[] = {
        {"not XML", {}, xml},
        {"<!DOCTYPE PlatformInformation>" + std::string(InformationXml), {}, xml},
        {deep, {}, xml},
        {"<PlatformInformation><Materials><Material name='" + std::string(10'000'000, 'x') +
             "'/></Materials></PlatformInformation>",
         {},
         xml},
        {notUtf8, {}, xml},
        {std::string(InformationXml).substr(0, 100), {}, xml},
        {"no package", Kind::Platform, amx},
        {_MakeAmx().substr(0, 300), Kind::Platform, amx},
        {_MakeAmx(0), Kind::Platform, "Unexpected input file\\."},
        {_MakeAmx(2), Kind::Platform, "Unexpected input file\\."},
        {_MakeAmx(1, std::nullopt), Kind::Platform, noMachine},
        {_MakeAmx(1, nan), Kind::Platform, noMachine},
        {"*** no Base64 ***", Kind::MachineConfiguration, "PLDF decoding failed\\."},
        {VexlorCore::EncodeBase64("no XML"), Kind::MachineConfiguration, noPldf},
        {VexlorCore::EncodeBase64(_MakePldf().substr(0, 200)), Kind::MachineConfiguration, noPldf},
        {VexlorCore::EncodeBase64(newer), Kind::MachineConfiguration, noPldf},
    };
    for (const Row& row : rows) {
        PlatformInfo info = _MakeInfo();
        if (row.kind)
            info.items.at(*row.kind == Kind::Platform ? 0 : 1).data = row.data;
        else
            info.xml = row.data;
        const std::string shown = row.data.substr(0, 60);
        EXPECT_FALSE(_Create(info)) << shown;
        EXPECT_THAT(_GetMessage(), MatchesRegex(row.message)) << shown;
        EXPECT_TRUE(std::filesystem::is_empty(_temp)) << shown;
    }
    // A creator that has information keeps it.
    const auto creator = _Create(_MakeInfo());
    PlatformInfo info = _MakeInfo();
    info.items.at(1).data = "*";
    EXPECT_THROW(creator->SetPlatformInformation(info), CommunicationException);
    EXPECT_EQ(creator->GetParameterCount(), 2U);

    ::setenv("TMPDIR", (_temp / "missing").c_str(), 1);
    EXPECT_FALSE(_Create(_MakeInfo()));
    EXPECT_NE(_message, L"");
}

TEST_F(PlatformCreatorTest, ReplacesItsInformation)
{
    const auto creator = _Create(_MakeInfo());
    creator->SetParameterValue(L"plate", L"1");
    const std::string description =
        "<PlatformGeometry version='1'><Platform shape='box' width='1' depth='2' height='3'/>"
        "<ScanField name='f' minX='0' minY='0' maxX='1' maxY='1'/></PlatformGeometry>";
    const std::string machine = "<MachineData version='1'><Machine name='own' material='m' comment='c'/></MachineData>";
    using Kind = PlatformDataKind;
    struct Row
    {
        std::vector<Platform> items;
        std::wstring name;
        std::size_t materials;
        bool hasShape;
    };
    const Row rows[] = {
        {{{Kind::MachineData, machine}, {Kind::Geometry, description}, _MakeInfo().items.at(1)},
         L"from PLDF",
         1,
         false},
        {{{Kind::MachineData, machine}, {Kind::Geometry, description}, {Kind::MachineConfiguration, ""}}, L"", 1, true},
        {{{Kind::MachineData, machine}, {Kind::Geometry, "damaged"}}, L"own", 1, false},
        {{{Kind::MachineData, "damaged"}}, L"", 0, false},
        {{}, L"", 0, false},
    };
    for (const Row& row : rows) {
        creator->SetPlatformInformation({0, "", InformationXml, row.items});
        EXPECT_EQ(creator->GetName(), row.name);
        EXPECT_EQ(creator->GetMaterialCount(), row.materials);
        EXPECT_EQ(creator->GetParameterCount(), 0U);
        EXPECT_EQ(creator->GetMachineData()->Get().platformShape.has_value(), row.hasShape);
    }

    _script->getInformation = [this] {
        return ProgressWatcherFuture<PlatformInfo>(MakeReady(_MakeInfo()));
    };
    creator->RefreshPlatformInformation();
    EXPECT_EQ(creator->GetParameterCount(), 2U);
    _script->getInformation = [] {
        return ProgressWatcherFuture<PlatformInfo>(
            MakeFailed<PlatformInfo>(_MakeException(ErrorCode::MachineNotFound)));
    };
    creator->RefreshPlatformInformation();
    EXPECT_EQ(creator->GetName(), L"");
    EXPECT_EQ(creator->GetMachineData()->Get(), MachineLayer::Data::Machine());

    // It remembers that there were parameters, and what was recorded for them.
    _SetAnswer(_MakeAnswer());
    EXPECT_TRUE(creator->CreatePlatform(_host.scene, false));
    EXPECT_THAT(_sent.at(0), HasSubstr("<ParameterValue id=\"plate\">1</ParameterValue>"));
}

} // namespace
