#include "vexlorcore/meshimport/MeshBounds.h"
#include "vexlorcore/meshimport/MeshBuilder.h"
#include "vexlorcore/meshimport/MeshReaders.h"
#include "vexlorcore/meshimport/MeshText.h"
#include "vexlorcore/meshimport/Model3mf.h"
#include "vexlorcore/meshimport/Package3mf.h"

#include <algorithm>
#include <limits>
#include <map>
#include <stdexcept>

namespace VexlorCore {

namespace {

constexpr int MaxDepth = 32; ///< of objects in objects
constexpr std::uint32_t NotAdded = std::numeric_limits<std::uint32_t>::max();

class Unfolder
{
public:
    explicit Unfolder(std::string_view i_bytes)
        : _package(i_bytes)
    {}

    std::vector<ReadPart> Read()
    {
        const auto start = _package.FindStart();
        const auto& model = _GetModel(start);
        if (model.items.empty())
            throw std::runtime_error("its build section holds no item that is to be printed");
        std::vector<ReadPart> parts;
        for (const auto& item : model.items) {
            _builder = {};
            const auto& name = _Add(item, start, model, {}, 0);
            parts.push_back({name.empty() ? item.partNumber : name, _builder.Take()});
        }
        return parts;
    }

private:
    const Model3mf& _GetModel(const std::string& i_path)
    {
        if (const auto found = _models.find(i_path); found != _models.end())
            return found->second;
        const auto& model = _models.emplace(i_path, Model3mf::Read(_package, i_path, _counts)).first->second;
        if (model.millimetresPerUnit != _models.begin()->second.millimetresPerUnit)
            throw std::runtime_error("its models have different units");
        return model;
    }

    /// \param i_path of the model that places the object.
    /// \return the object's name.
    const std::string& _Add(const Placed3mf& i_placed, const std::string& i_path, const Model3mf& i_model,
                            const TavAM::Transform& i_owner, int i_depth)
    {
        const bool isElsewhere = !i_placed.path.empty();
        const auto& path = isElsewhere ? i_placed.path : i_path;
        const auto& model = isElsewhere ? _GetModel(path) : i_model;
        const auto found = model.objects.find(i_placed.id);
        if (found == model.objects.end())
            throw std::runtime_error("it refers to the object " + ShowWord(i_placed.id) + ", which it does not hold");
        const auto& object = found->second;
        if (object.type == "other")
            throw std::runtime_error("it refers to the object " + ShowWord(i_placed.id) +
                                     ", whose type says that it is not to be printed");
        if (++_bodies > MeshBounds::Bodies || i_depth > MaxDepth)
            throw std::runtime_error("its objects hold each other beyond measure");
        if (object.triangles.empty() && object.components.empty())
            throw std::runtime_error("its object " + ShowWord(i_placed.id) +
                                     " has neither triangles nor components that can be read");
        const auto placement = i_owner.After(i_placed.transform);
        _AddBody(object, placement, model.millimetresPerUnit);
        for (const auto& component : object.components)
            _Add(component, path, model, placement, i_depth + 1);
        return object.name;
    }

    void _AddBody(const Object3mf& i_object, const TavAM::Transform& i_placement, double i_millimetres_per_unit)
    {
        const bool isMirrored = i_placement.GetDeterminant() < 0;
        _triangles += i_object.triangles.size();
        if (_triangles > MeshBounds::Triangles)
            throw std::runtime_error("its build items hold more than " + std::to_string(MeshBounds::Triangles) +
                                     " triangles");
        _builder.BeginBody();
        if (_added.size() < i_object.vertices.size())
            _added.resize(i_object.vertices.size(), NotAdded);
        const auto add = [&](std::uint32_t i_index) {
            if (_added[i_index] == NotAdded) {
                const auto& vertex = i_object.vertices[i_index];
                const auto point = i_placement.Apply({vertex.x, vertex.y, vertex.z});
                const auto scale = [&](double i_value) {
                    return static_cast<float>(i_millimetres_per_unit * i_value);
                };
                _added[i_index] = _builder.AddVertex({scale(point.x), scale(point.y), scale(point.z)});
            }
            return _added[i_index];
        };
        for (const auto& triangle : i_object.triangles) {
            const auto a = add(triangle[0]);
            const auto b = add(triangle[1]);
            const auto c = add(triangle[2]);
            _builder.AddTriangle(a, isMirrored ? c : b, isMirrored ? b : c);
        }
        // Only what was used: a body of few triangles over many vertices may be placed often.
        for (const auto& triangle : i_object.triangles) {
            for (const auto index : triangle)
                _added[index] = NotAdded;
        }
    }

    Package3mf _package;
    std::map<std::string, Model3mf> _models; ///< by path
    Model3mf::Counts _counts;
    std::size_t _bodies = 0;
    std::size_t _triangles = 0;
    MeshBuilder _builder;              ///< of the item
    std::vector<std::uint32_t> _added; ///< by index in the object, the vertices that the part has of the body
};

} // namespace

std::vector<ReadPart> Read3mf(std::string_view i_bytes)
{
    return Unfolder(i_bytes).Read();
}

} // namespace VexlorCore
