#pragma once

#include "support/Files.h"
#include "support/Test.h"
#include "tavam/AMXFileReader.h"
#include "tavam/AMXFileWriter.h"

#include <boost/uuid/string_generator.hpp>

#include <unistd.h>

/// A folder that goes with the test.
class TestFolder
{
public:
    TestFolder()
        : path(std::filesystem::path(testing::TempDir()) / ("tavam" + std::to_string(getpid())))
    {
        std::filesystem::create_directories(path);
    }
    ~TestFolder() { std::filesystem::remove_all(path); }

    const std::filesystem::path path;
};

using TestSupport::ReadFile;

inline void WriteAnew(const std::filesystem::path& i_path, const std::string& i_bytes)
{
    // Some file systems write a file to disk at once when it replaces its own content.
    std::filesystem::remove(i_path);
    TestSupport::WriteFile(i_path, i_bytes);
}

inline std::shared_ptr<TavAM::Mesh> MakeTetrahedron(float i_size)
{
    auto mesh = std::make_shared<TavAM::Mesh>();
    mesh->vertices = {{0, 0, 0}, {i_size, 0, 0}, {0, i_size, 0}, {0, 0, i_size}};
    mesh->triangles = {{0, 2, 1}, {0, 1, 3}, {0, 3, 2}, {1, 2, 3}};
    return mesh;
}

inline TavAM::Platform MakePlatform(TavAM::Representation i_representation)
{
    TavAM::Platform platform;
    TavAM::Part& part = platform.GetParts().emplace_back();
    part.SetName(L"part");
    part.SetRevisionId(boost::uuids::string_generator()("01234567-89ab-cdef-0123-456789abcdef"));
    part.SetRepresentation(std::move(i_representation));
    return platform;
}

/// Everything that a platform file carries.
inline TavAM::Platform MakeRichPlatform()
{
    using TavAM::Representation;
    const auto mesh = MakeTetrahedron(10);
    Representation turned = Representation::FromMesh(mesh);
    turned.SetPlacement({{0, -1, 0, 0.1, 1, 0, 0, -1e-300, 0, 0, 1, 1.0 / 3}});
    TavAM::Platform platform = MakePlatform(Representation::FromMembers(
        {turned, Representation::FromImplicit(std::string("\0<gyroid>\xff", 10)), Representation::FromBrep(""),
         Representation::FromMembers({Representation::FromMesh(MakeTetrahedron(5)), Representation()})}));
    platform.SetName(L"\u05e9\u05dc\u05d5\u05dd \u202eabc");
    platform.GetAMXProperties().SetText(L"text", L" a\tb\r\nc<&>\"'\\{41}\u0001");
    platform.GetAMXProperties().SetText(L"empty", L"");
    platform.GetAMXProperties().SetUndefined(L"undefined");
    TavAM::MachineParameters machine{L"\U0001F5A8 printer", L"\u6a5f\u68b0", L"M-1", {}};
    machine.values.SetText(L"platform.width", L"250.5");
    machine.values.SetUndefined(L"comment");
    platform.SetMachine(machine);
    TavAM::Part& part = platform.GetParts().front();
    part.SetName(std::wstring(L"../x\\\n\0", 7) + static_cast<wchar_t>(0xD800) + L"\uFFFE" + std::wstring(300, L'n'));
    part.SetPlacement(TavAM::Transform::Translation(123.456789012345678, -0.1, 5e5));
    part.SetHasSupports(true);
    part.SetStrategies(TavAM::Part::Strategies{{L"part", L"fine"}, {L"support", L""}});
    part.GetAMXProperties().SetText(L"note", L"\u00fc");
    TavAM::Part& second = platform.GetParts().emplace_back();
    second.SetRepresentation(Representation::FromMesh(mesh));
    second.SetStrategies(TavAM::Part::Strategies());
    return platform;
}

inline void ExpectEqual(const TavAM::Platform& i_a, const TavAM::Platform& i_b)
{
    EXPECT_EQ(i_a.GetName(), i_b.GetName());
    EXPECT_EQ(i_a.GetAMXProperties(), i_b.GetAMXProperties());
    ASSERT_EQ(i_a.GetMachine() == nullptr, i_b.GetMachine() == nullptr);
    if (i_a.GetMachine() != nullptr) {
        EXPECT_EQ(*i_a.GetMachine(), *i_b.GetMachine());
    }
    ASSERT_EQ(i_a.GetParts().size(), i_b.GetParts().size());
    for (std::size_t index = 0; index < i_a.GetParts().size(); ++index) {
        const TavAM::Part& a = i_a.GetParts()[index];
        const TavAM::Part& b = i_b.GetParts()[index];
        EXPECT_EQ(a.GetRevisionId(), b.GetRevisionId());
        EXPECT_EQ(a.GetName(), b.GetName());
        EXPECT_EQ(a.GetPlacement(), b.GetPlacement());
        EXPECT_EQ(a.HasSupports(), b.HasSupports());
        EXPECT_EQ(a.GetStrategies(), b.GetStrategies());
        EXPECT_EQ(a.GetAMXProperties(), b.GetAMXProperties());
        EXPECT_TRUE(a.GetRepresentation() == b.GetRepresentation());
    }
}
