#include "vexlorcore/meshimport/Model3mf.h"

#include "tavsdk/Text.h"
#include "tavsdk/XmlReader.h"
#include "vexlorcore/meshimport/MeshBounds.h"
#include "vexlorcore/meshimport/MeshText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <utility>

namespace VexlorCore {

namespace {

using TavSDK::XmlAttributes;

constexpr std::string_view ProductionExtension = "http://schemas.microsoft.com/3dmanufacturing/production/2015/06";
/// Extensions that a model may require, because they do not change the form of what it holds.
constexpr std::array<std::string_view, 3> KnownExtensions = {
    ProductionExtension,
    "http://schemas.microsoft.com/3dmanufacturing/material/2015/02",
    "http://schemas.microsoft.com/3dmanufacturing/trianglesets/2021/07",
};

struct Unit
{
    std::string_view name;
    double millimetres;
};
constexpr std::array<Unit, 6> Units = {
    {{"micron", 0.001}, {"millimeter", 1}, {"centimeter", 10}, {"inch", 25.4}, {"foot", 304.8}, {"meter", 1000}}};

class ModelReader : public TavSDK::XmlReader<ModelReader>
{
public:
    ModelReader(Model3mf& io_model, Model3mf::Counts& io_counts)
        : XmlReader(&ModelReader::_ReadRoot)
        , _model(io_model)
        , _counts(io_counts)
    {}

private:
    /// Is it this element of the core? The core may have a prefix of its own; the elements of extensions have another.
    bool _Is(std::string_view i_name, std::string_view i_local_name) const
    {
        return i_name.size() == _prefix.size() + i_local_name.size() && i_name.starts_with(_prefix) &&
               i_name.ends_with(i_local_name);
    }

    void _Count(std::size_t& io_count, std::size_t i_most, const char* ip_what)
    {
        if (io_count++ >= i_most)
            Fail("there are more than " + std::to_string(i_most) + " " + ip_what);
    }

    Answer _ReadRoot(std::string_view i_name, const XmlAttributes& i_attributes)
    {
        const auto colon = i_name.find(':');
        _prefix = i_name.substr(0, colon == i_name.npos ? 0 : colon + 1);
        if (!_Is(i_name, "model"))
            Fail(ShowWord(i_name) + " instead of 'model'");
        const auto unit = i_attributes.Find("unit").value_or("millimeter");
        const auto found = std::ranges::find(Units, unit, &Unit::name);
        if (found == Units.end())
            Fail("the unit " + ShowWord(unit) + " is unknown");
        _model.millimetresPerUnit = found->millimetres;
        _CheckExtensions(i_attributes);
        return Taken(&ModelReader::_ReadSection);
    }

    void _CheckExtensions(const XmlAttributes& i_attributes)
    {
        WordScanner prefixes(i_attributes.Get("requiredextensions"));
        for (auto prefix = prefixes.Next(); !prefix.empty(); prefix = prefixes.Next()) {
            const auto extension = i_attributes.Get("xmlns:" + std::string(prefix));
            if (std::ranges::find(KnownExtensions, extension) == KnownExtensions.end())
                Fail("it requires the extension " + ShowWord(prefix) + " (" + TavSDK::Quote(extension, 100) +
                     "), which is not read");
            if (extension == ProductionExtension)
                _pathName = std::string(prefix) + ":path";
        }
    }

    Answer _ReadSection(std::string_view i_name, const XmlAttributes&)
    {
        if (_Is(i_name, "resources"))
            return Taken(&ModelReader::_ReadResource);
        return _Is(i_name, "build") ? Taken(&ModelReader::_ReadItem) : NotTaken();
    }

    Answer _ReadResource(std::string_view i_name, const XmlAttributes& i_attributes)
    {
        if (!_Is(i_name, "object"))
            return NotTaken();
        _Count(_counts.objects, MeshBounds::Bodies, "objects");
        const auto id = i_attributes.Get("id");
        const auto [added, isNew] = _model.objects.try_emplace(std::string(id));
        if (!isNew)
            Fail("the object " + ShowWord(id) + " appears twice");
        _object = &added->second;
        _object->name = i_attributes.Find("name").value_or(i_attributes.Get("partnumber"));
        _object->type = i_attributes.Find("type").value_or("model");
        return Taken(&ModelReader::_ReadContent);
    }

    Answer _ReadContent(std::string_view i_name, const XmlAttributes&)
    {
        if (_Is(i_name, "mesh"))
            return Taken(&ModelReader::_ReadMesh);
        return _Is(i_name, "components") ? Taken(&ModelReader::_ReadComponent) : NotTaken();
    }

    Answer _ReadMesh(std::string_view i_name, const XmlAttributes&)
    {
        if (_Is(i_name, "vertices"))
            return Taken(&ModelReader::_ReadVertex);
        if (_Is(i_name, "triangles"))
            return Taken(&ModelReader::_ReadTriangle);
        // Left out, the part would lack its beams.
        if (i_name.ends_with("beamlattice"))
            Fail("a mesh holds a lattice of beams, which is not read");
        return NotTaken();
    }

    Answer _ReadVertex(std::string_view i_name, const XmlAttributes& i_attributes)
    {
        if (!_Is(i_name, "vertex"))
            return NotTaken();
        _Count(_counts.vertices, MeshBounds::Vertices, "vertices");
        const auto read = [&](std::string_view i_axis) {
            return static_cast<float>(_ReadNumber(i_attributes.Get(i_axis)));
        };
        _object->vertices.push_back({read("x"), read("y"), read("z")});
        return Taken();
    }

    Answer _ReadTriangle(std::string_view i_name, const XmlAttributes& i_attributes)
    {
        if (!_Is(i_name, "triangle"))
            return NotTaken();
        _Count(_counts.triangles, MeshBounds::Triangles, "triangles");
        const auto read = [&](std::string_view i_corner) {
            const auto text = i_attributes.Get(i_corner);
            std::uint32_t index = 0;
            const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
            if (error != std::errc() || end != text.data() + text.size())
                Fail(ShowWord(text) + " is not the index of a vertex");
            if (index >= _object->vertices.size())
                Fail("a triangle refers to vertex " + std::to_string(index) + " of " +
                     std::to_string(_object->vertices.size()));
            return index;
        };
        _object->triangles.push_back({read("v1"), read("v2"), read("v3")});
        return Taken();
    }

    Answer _ReadComponent(std::string_view i_name, const XmlAttributes& i_attributes)
    {
        if (!_Is(i_name, "component"))
            return NotTaken();
        _Count(_counts.components, MeshBounds::Bodies, "components");
        _object->components.push_back(_ReadPlaced(i_attributes));
        return Taken();
    }

    Answer _ReadItem(std::string_view i_name, const XmlAttributes& i_attributes)
    {
        if (!_Is(i_name, "item"))
            return NotTaken();
        _Count(_counts.items, MeshBounds::Parts, "build items");
        // Slicers so mark what their user left out.
        if (i_attributes.Get("printable") != "0")
            _model.items.push_back(_ReadPlaced(i_attributes));
        return Taken();
    }

    Placed3mf _ReadPlaced(const XmlAttributes& i_attributes)
    {
        Placed3mf placed;
        placed.id = i_attributes.Get("objectid");
        placed.path = i_attributes.Get(_pathName);
        placed.partNumber = i_attributes.Get("partnumber");
        if (const auto text = i_attributes.Find("transform"))
            placed.transform = _ReadTransform(*text);
        return placed;
    }

    /// Twelve numbers: the rows of a matrix that a row of coordinates is multiplied with, thus the columns of ours.
    TavAM::Transform _ReadTransform(std::string_view i_text)
    {
        TavAM::Transform transform;
        WordScanner words(i_text);
        for (std::size_t i = 0; i < transform.rows.size(); ++i)
            transform.rows[4 * (i % 3) + i / 3] = _ReadNumber(words.Next());
        if (!words.Next().empty())
            Fail("a transform has more than twelve numbers");
        if (const double volume = transform.GetDeterminant(); !std::isfinite(volume) || volume == 0)
            Fail("a transform leaves nothing of its object");
        return transform;
    }

    double _ReadNumber(std::string_view i_text)
    {
        auto number = ParseCoordinate(i_text);
        // Spaces around a number mean nothing; they are too rare to look for them every time.
        if (!number)
            number = ParseCoordinate(WordScanner(i_text).Next());
        if (!number)
            Fail(i_text.empty() ? std::string("a number is missing") : ShowWord(i_text) + " is not a number");
        return *number;
    }

    Model3mf& _model;
    Model3mf::Counts& _counts;
    std::string _prefix;              ///< of the core's elements, with its colon
    std::string _pathName = "p:path"; ///< the attribute of the production extension
    Object3mf* _object = nullptr;     ///< whose content is read
};

} // namespace

Model3mf Model3mf::Read(const Package3mf& i_package, const std::string& i_path, Counts& io_counts)
{
    Model3mf model;
    ModelReader reader(model, io_counts);
    i_package.Read(i_path, reader);
    return model;
}

} // namespace VexlorCore
