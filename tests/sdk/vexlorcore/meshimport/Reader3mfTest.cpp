#include "sdk/vexlorcore/meshimport/MeshVariants.h"

#include <gmock/gmock.h>

#include <cmath>

namespace {

using namespace MeshVariants;
using VexlorCore::ImportMeshFile;

class Reader3mfTest : public MeshVariantTest
{};

const std::string Core = "xmlns=\"http://schemas.microsoft.com/3dmanufacturing/core/2015/02\"";
const std::string Production = "requiredextensions=\"p\" "
                               "xmlns:p=\"http://schemas.microsoft.com/3dmanufacturing/production/2015/06\"";

std::string Assembly(int i_id, const std::string& i_components)
{
    return "<object id=\"" + std::to_string(i_id) + "\" type=\"model\"><components>" + i_components +
           "</components></object>";
}

std::string Component(int i_id, const std::string& i_transform = "1 0 0 0 1 0 0 0 1 0 0 0")
{
    return "<component objectid=\"" + std::to_string(i_id) + "\" transform=\"" + i_transform + "\"/>";
}

TEST_F(Reader3mfTest, ReadsPackagesOfManyTools)
{
    const auto model = MakeModel("millimeter", OneItem);
    const auto mirrored = Component(1, "1 0 0 0 1 0 0 0 -1 0 0 0");
    const auto extension = [](const std::string& i_attributes) {
        return Make3mf(MakeModel("millimeter", OneItem, {}, i_attributes));
    };
    const auto relationships = [&](const std::string& i_target) {
        return MakePackage(
            {{"_rels/.rels",
              "<Relationships><Relationship Target=\"/docProps/thumbnail.png\" Type=\"http://x/thumbnail\"/>"
              "<Relationship Target=\"" +
                  i_target + "\" Type=\"http://x/3dmodel\"/></Relationships>"},
             {"3D/Other Name.model", model}});
    };
    const auto prefixed = [&] {
        auto text = model;
        for (const std::string name :
             {"model", "resources", "object", "mesh", "vertices", "vertex", "triangles", "triangle", "build", "item"}) {
            for (const std::string end : {" ", ">"})
                text = text.find("<" + name + end) == text.npos ? text
                                                                : Replace(text, "<" + name + end, "<c:" + name + end);
            text = text.find("</" + name + ">") == text.npos ? text
                                                             : Replace(text, "</" + name + ">", "</c:" + name + ">");
        }
        return Replace(text, "xmlns=", "xmlns:c=");
    };
    _Check({
        {"plain.3mf", Make3mf(model)},
        {"no-extension", Make3mf(model)},
        {"sizes-of-64-bits.3mf", TestSupport::ReadFile(MACHINESERVICE_TEST_DATA "/meshes/sizes-of-64-bits.3mf")},
        {"thumbnail.3mf",
         Make3mf(model, {{"Metadata/thumbnail.png", "\x89PNG and so on"}, {"Metadata/settings.config", "no <xml"}})},
        {"other-name.3mf", relationships("/3D/Other Name.model")},
        {"relative-name.3mf", relationships("3d/OTHER NAME.model")},
        {"no-unit.3mf", Make3mf(Replace(model, "unit=\"millimeter\" ", ""))},
        {"prefixed-core.3mf", Make3mf(prefixed())},
        {"spaces-and-exponents.3mf", Make3mf(Replace(model, "\"10\"", "\" 1.0E+1 \""))},
        {"two-items.3mf", Make3mf(MakeModel("millimeter", OneItem + OneItem)), 8, 2 * Volume, 2},
        {"two-objects-one-used.3mf",
         Make3mf(MakeModel("millimeter", "<item objectid=\"2\"/>", Assembly(2, Component(1))))},
        {"assembly.3mf",
         Make3mf(MakeModel("millimeter", "<item objectid=\"2\"/>",
                           Assembly(2, Component(1) + Component(1, "1 0 0 0 1 0 0 0 1 30 0 0")))),
         8, 2 * Volume},
        {"mirrored.3mf", Make3mf(MakeModel("millimeter", "<item objectid=\"2\"/>", Assembly(2, mirrored)))},
        {"nested-and-mirrored-twice.3mf",
         Make3mf(
             MakeModel("millimeter", "<item objectid=\"3\"/>",
                       Assembly(2, mirrored) + Assembly(3, Component(2, "2 0 0 0 -1 0 0 0 1 5 5 5") + Component(1)))),
         8, 3 * Volume},
        {"left-out-item.3mf", Make3mf(MakeModel("millimeter", OneItem + "<item objectid=\"1\" printable=\"0\"/>"))},
        {"materials-required.3mf",
         extension(
             "requiredextensions=\"m\" xmlns:m=\"http://schemas.microsoft.com/3dmanufacturing/material/2015/02\"")},
        {"unknown-but-not-required.3mf", extension("xmlns:x=\"http://x.example/some/2020\" x:made=\"so\"")},
        {"unknown-elements.3mf", Make3mf(Replace(model, "<vertices>", "<x:vertices><vertex/></x:vertices><vertices>"))},
        {"several-models.3mf",
         Make3mf(MakeModel("millimeter", "<item objectid=\"2\"/>",
                           Assembly(2, "<component objectid=\"1\" p:path=\"/3D/Objects/one.model\"/>" + Component(1)),
                           Production),
                 {{"3D/Objects/one.model", MakeModel("millimeter", "")}}),
         8, 2 * Volume},
        {"micron.3mf", Make3mf(Replace(MakeModel("micron", OneItem), "\"10\"", "\"10000\""))},
        {"centimeter.3mf", Make3mf(MakeModel("centimeter", OneItem)), 4, Volume * 1e3},
        {"inch.3mf", Make3mf(MakeModel("inch", OneItem)), 4, Volume * std::pow(25.4, 3)},
        {"foot.3mf", Make3mf(MakeModel("foot", OneItem)), 4, Volume * std::pow(304.8, 3)},
        {"meter.3mf", Make3mf(MakeModel("meter", OneItem)), 4, Volume * 1e9},
    });
}

TEST_F(Reader3mfTest, KeepsTheBodiesOfAnItemWhereTheyAreToEachOther)
{
    // Two components an inch apart, the item 3 inches away; transforms are in the model's unit.
    const auto model =
        MakeModel("inch", "<item objectid=\"1\"/><item objectid=\"2\" transform=\"1 0 0 0 1 0 0 0 1 3 0 0\"/>",
                  Assembly(2, Component(1) + Component(1, "0 1 0 -1 0 0 0 0 -1 -1 0 0")));
    const auto parts = ImportMeshFile(_Write("inch.3mf", Make3mf(model)));
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_NEAR(parts[0].GetBoundingBox().max.x, 254, 1e-3);
    const auto box = parts[1].GetBoundingBox();
    EXPECT_NEAR(box.min.x, (3 - 1 - 10) * 25.4, 1e-3);
    EXPECT_NEAR(box.max.x, (3 + 10) * 25.4, 1e-3);
    EXPECT_NEAR(box.min.y, 0, 1e-3);
    EXPECT_NEAR(box.min.z, -254, 1e-3);
}

TEST_F(Reader3mfTest, RefusesWhatIsNoBodyWithTheTrueReason)
{
    const auto good = MakeModel("millimeter", OneItem);
    const std::string entry = "its entry '/3D/3dmodel.model': ";
    std::string items;
    for (int i = 0; i <= 10'000; ++i)
        items += OneItem;
    std::string doubling;
    for (int i = 2; i < 30; ++i)
        doubling += Assembly(i, Component(i - 1) + Component(i - 1));
    std::string deep;
    for (int i = 0; i < 100; ++i)
        deep += "<a>";
    const auto model = [](const std::string& i_items, const std::string& i_objects = {},
                          const std::string& i_attributes = {}) {
        return Make3mf(MakeModel("millimeter", i_items, i_objects, i_attributes));
    };
    const std::string beams = "http://schemas.microsoft.com/3dmanufacturing/beamlattice/2017/02";
    _Check({
        Refused("letter.3mf", "Dear reader", "it is no 3MF file: it does not begin as a package does"),
        Refused("other-package.3mf", MakePackage({{"word/document.xml", "<a/>"}}),
                "it is a package, but of no model: it has no relationships"),
        Refused("no-model.3mf", MakePackage({{"_rels/.rels", "<Relationships/>"}}),
                "it is a package, but of no model: its relationships name none"),
        Refused(
            "model-missing.3mf",
            MakePackage({{"_rels/.rels",
                          "<Relationships><Relationship Target=\"/3D/x.model\" Type=\"/3dmodel\"/></Relationships>"}}),
            "its entry '/3D/x.model' is missing"),
        Refused("climbing.3mf", Make3mf(good, {{"3D/../../x", "x"}}),
                "its entry '3D/../../x' would lie outside of the package"),
        Refused("deep.3mf", Make3mf("<model>" + deep), entry + "line 1: elements are nested deeper than 64"),
        Refused("doctype.3mf", Make3mf("<!DOCTYPE model>" + good.substr(good.find('\n'))),
                entry + "line 1: a DOCTYPE is not accepted"),
        Refused("cut.3mf", Make3mf(good.substr(0, good.size() / 2)), entry + "line 2: unclosed token"),
        Refused("page.3mf", Make3mf("<html/>"), entry + "'html' instead of 'model'"),
        Refused("cubit.3mf", Make3mf(MakeModel("cubit", OneItem)), entry + "the unit 'cubit' is unknown"),
        Refused("beams-required.3mf",
                model(OneItem, {},
                      "requiredextensions=\"p b\" xmlns:b=\"" + beams +
                          "\" xmlns:p=\"http://schemas.microsoft.com/3dmanufacturing/production/2015/06\""),
                entry + "it requires the extension 'b' ('" + beams + "'), which is not read"),
        Refused("beams.3mf", Make3mf(Replace(good, "</mesh>", "<b:beamlattice/></mesh>")),
                entry + "a mesh holds a lattice of beams, which is not read"),
        Refused("many-items.3mf", model(items), entry + "there are more than 10000 build items"),
        Refused("circle.3mf", model("<item objectid=\"2\"/>", Assembly(2, Component(2))),
                "its objects hold each other beyond measure"),
        Refused("doubling.3mf", model("<item objectid=\"29\"/>", doubling),
                "its objects hold each other beyond measure"),
        Refused("object-missing.3mf", model("<item objectid=\"7\"/>"),
                "it refers to the object '7', which it does not hold"),
        Refused("object-twice.3mf", model(OneItem, Assembly(1, Component(1))), entry + "the object '1' appears twice"),
        Refused("object-empty.3mf", model("<item objectid=\"2\"/>", "<object id=\"2\"/>"),
                "its object '2' has neither triangles nor components that can be read"),
        Refused("not-printed.3mf",
                model("<item objectid=\"2\"/>", Replace(Assembly(2, Component(1)), "\"model\"", "\"other\"")),
                "it refers to the object '2', whose type says that it is not to be printed"),
        Refused("no-item.3mf", model(""), "its build section holds no item that is to be printed"),
        Refused("index.3mf", Make3mf(Replace(good, "v3=\"3\"", "v3=\"4\"")),
                entry + "a triangle refers to vertex 4 of 4"),
        Refused("no-index.3mf", Make3mf(Replace(good, "v3=\"3\"", "v3=\"-1\"")),
                entry + "'-1' is not the index of a vertex"),
        Refused("nan.3mf", Make3mf(Replace(good, "x=\"10\"", "x=\"nan\"")), entry + "'nan' is not a number"),
        Refused("no-coordinate.3mf", Make3mf(Replace(good, "x=\"10\"", "")), entry + "a number is missing"),
        Refused("flattened.3mf", model("<item objectid=\"1\" transform=\"1 0 0 0 1 0 0 0 0 0 0 0\"/>"),
                entry + "a transform leaves nothing of its object"),
        Refused("short-transform.3mf", model("<item objectid=\"1\" transform=\"1 0 0\"/>"),
                entry + "a number is missing"),
        Refused("long-transform.3mf", model("<item objectid=\"1\" transform=\"1 0 0 0 1 0 0 0 1 0 0 0 1\"/>"),
                entry + "a transform has more than twelve numbers"),
        Refused("units.3mf",
                Make3mf(MakeModel("millimeter", "<item objectid=\"1\" p:path=\"/a.model\"/>", {}, Production),
                        {{"a.model", MakeModel("inch", OneItem)}}),
                "its models have different units"),
    });
}

} // namespace
