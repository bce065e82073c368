#include "sdk/vexlorcore/meshimport/MeshVariants.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <locale>
#include <thread>

#include <sys/stat.h>

namespace {

using namespace MeshVariants;
using ::testing::HasSubstr;
using VexlorCore::ImportMeshFile;

class MeshImporterTest : public MeshVariantTest
{};

TEST_F(MeshImporterTest, NamesAPartAfterItsObjectElseAfterTheFile)
{
    const auto named = [](const std::string& i_name) {
        return Make3mf(Replace(MakeModel("millimeter", OneItem), "Halter", i_name));
    };
    const struct
    {
        std::string path;
        std::wstring name;
    } rows[] = {
        {_Write("body.stl", MakeBinaryStl()), L"body"},
        {_Write("NoExtensionNeeded", MakeBinaryStl()), L"NoExtensionNeeded"},
        {_Write("bracket.final.STL", MakeTextStl("")), L"bracket.final"},
        {_Write("text.stl", MakeTextStl("Winkel 3")), L"Winkel 3"},
        {_Write("two.stl", MakeTextStl("a") + MakeTextStl("b")), L"two"},
        {_Write("latin.stl", MakeTextStl("Geh\xE4use")), L"Geh\u00E4use"},
        {_Write("odd.stl", MakeTextStl(" \x01"
                                       "a\x1B[0m\t  b\xE2\x80\xAE\x7F ")),
         L"a[0m b"},
        {_Write("long.stl", MakeTextStl(std::string(100'000, 'x'))), std::wstring(250, L'x')},
        {_Write("one.obj", "o Deckel\n" + MakeObj()), L"Deckel"},
        {_Write("groups.obj", "g a\n" + MakeObj() + "g b\n"), L"groups"},
        {_Write("body.ply", MakePly()), L"body"},
        {_Write("a.3mf", Make3mf(MakeModel("millimeter", OneItem))), L"Halter"},
        {_Write("b.3mf", named("&lt;b&gt;&#x1F600;")), L"<b>\U0001F600"},
        {_Write("c.3mf", named("")), L"c"},
        {_Write("d.3mf", Make3mf(Replace(MakeModel("millimeter", "<item objectid=\"1\" partnumber=\"A-7\"/>"),
                                         "name=\"Halter\"", ""))),
         L"A-7"},
        {_Write("Stra\xC3\x9F"
                "e.stl",
                MakeBinaryStl()),
         L"Stra\u00DFe"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        const auto parts = ImportMeshFile(row.path);
        ASSERT_EQ(parts.size(), 1U);
        EXPECT_EQ(parts[0].GetName(), row.name);
        EXPECT_EQ(parts[0].GetRepresentation().GetMesh()->vertices.size(), 4U);
    }
}

TEST_F(MeshImporterTest, RefusesWhatIsNoFile)
{
    ASSERT_EQ(::mkfifo(_Path("pipe.stl").c_str(), 0600), 0);
    std::filesystem::create_symlink("nowhere.stl", _Path("link.stl"));
    EXPECT_EQ(_GetReason(_Path("missing.stl")), "it does not exist");
    EXPECT_EQ(_GetReason(_Path("link.stl")), "it does not exist");
    EXPECT_EQ(_GetReason(_dir.path().toStdString()), "it is no regular file");
    EXPECT_EQ(_GetReason(_Path("pipe.stl")), "it is no regular file");
    EXPECT_EQ(_GetReason("/dev/zero"), "it is no regular file");
    EXPECT_EQ(_GetReason(_Write("empty.stl", "")), "it is empty");
    EXPECT_EQ(_GetReason(_Write("letter.txt", "Dear reader")), "it is not an STL, 3MF, OBJ or PLY file");
    _Write("sparse.stl", "x");
    std::filesystem::resize_file(_Path("sparse.stl"), (std::uintmax_t{1} << 30U) + 1);
    EXPECT_EQ(_GetReason(_Path("sparse.stl")), "it is larger than 1 GB");
}

TEST_F(MeshImporterTest, ReadsNumbersInWhateverLocaleTheHostIs)
{
    class Comma : public std::numpunct<char>
    {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const auto former = std::locale::global(std::locale(std::locale(), new Comma));
    _Check({{"a.stl", Replace(MakeTextStl("x"), "10", "10.00000")},
            {"a.obj", Replace(MakeObj(), "10", "10.00000")},
            {"a.ply", Replace(MakePly(), "10 ", "10.00000 ")},
            {"a.3mf", Make3mf(Replace(MakeModel("millimeter", OneItem), "\"10\"", "\"10.00000\""))}});
    std::locale::global(former);
}

TEST_F(MeshImporterTest, StopsWhileAFileIsRead)
{
    const auto path = _Write("slow.obj", TestSupport::MakeSlowObj());
    std::stop_source stop;
    const std::jthread stopper([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        stop.request_stop();
    });
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THROW(ImportMeshFile(path, stop.get_token()), VexlorCore::ImportStopped);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST_F(MeshImporterTest, SurvivesCutsAndFlippedBitsAnywhere)
{
    const std::pair<std::string, std::string> all[] = {
        {"a.stl", MakeBinaryStl()},
        {"b.stl", MakeTextStl("x")},
        {"c.obj", MakeObj()},
        {"d.ply", MakePly()},
        {"e.3mf", Make3mf(MakeModel("millimeter", OneItem))},
    };
    int refused = 0;
    const auto import = [&](const std::string& i_name, const std::string& i_bytes) {
        // Whatever comes of it is sound, or a refusal in one sentence.
        try {
            for (const auto& part : ImportMeshFile(_Write(i_name, i_bytes)))
                EXPECT_EQ(TavAM::FindMeshDefect(*part.GetRepresentation().GetMesh()), "");
        } catch (const TavAM::FileError& error) {
            EXPECT_THAT(error.what(), HasSubstr(i_name));
            ++refused;
        }
    };
    for (const auto& [name, bytes] : all) {
        for (std::size_t i = 0; i < bytes.size(); i += 1 + bytes.size() / 12) {
            import(name, bytes.substr(0, i));
            auto flipped = bytes;
            flipped[i] = static_cast<char>(flipped[i] ^ (1 << (i % 8)));
            import(name, flipped);
        }
    }
    EXPECT_GT(refused, 40);
}

} // namespace
