#include "AssimpReader.h"

#include "IsolatedCall.h"

#include <assimp/BaseImporter.h>
#include <assimp/IOStream.hpp>
#include <assimp/IOSystem.hpp>
#include <assimp/Importer.hpp>
#include <assimp/MemoryIOWrapper.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstring>
#include <memory>
#include <set>
#include <stdexcept>
#include <type_traits>
#include <unordered_map>
#include <utility>

namespace VexlorCore {

namespace {

constexpr std::chrono::seconds Deadline(300);

/// Serves one file from memory and nothing else, so that no file can make the importer open another one.
class SingleFileSystem final : public Assimp::IOSystem
{
public:
    SingleFileSystem(std::string i_name, const std::string& i_bytes)
        : _name(std::move(i_name))
        , _bytes(i_bytes)
    {}

    bool Exists(const char* ip_file) const override { return _name == ip_file; }
    char getOsSeparator() const override { return '/'; }
    Assimp::IOStream* Open(const char* ip_file, const char*) override
    {
        if (!Exists(ip_file))
            return nullptr;
        return new Assimp::MemoryIOStream(reinterpret_cast<const std::uint8_t*>(_bytes.data()), _bytes.size());
    }
    void Close(Assimp::IOStream* ip_stream) override { delete ip_stream; }

private:
    const std::string _name;
    const std::string& _bytes;
};

void KeepOurImporters(Assimp::Importer& io_importer)
{
    static const std::set<std::string> wanted = {"stl", "3mf", "obj", "ply"};
    for (auto i = io_importer.GetImporterCount(); i-- > 0;) {
        auto* importer = io_importer.GetImporter(i);
        std::set<std::string> extensions;
        importer->GetExtensionList(extensions);
        if (std::ranges::none_of(extensions, [](const auto& i_one) { return wanted.contains(i_one); })) {
            io_importer.UnregisterLoader(importer);
            delete importer;
        }
    }
}

const char* GetImportName(MeshFormat i_format)
{
    switch (i_format) {
    case MeshFormat::Stl:
        return "mesh.stl";
    case MeshFormat::ThreeMf:
        return "mesh.3mf";
    case MeshFormat::Obj:
        return "mesh.obj";
    case MeshFormat::Ply:
        return "mesh.ply";
    }
    return "";
}

/// Gathers triangles, joining vertices at the same place: what one file shares another repeats for every triangle.
class MeshBuilder
{
public:
    void Add(const aiMesh& i_mesh, const TavAM::Transform& i_placement)
    {
        std::vector<std::uint32_t> indices(i_mesh.mNumVertices);
        for (unsigned i = 0; i < i_mesh.mNumVertices; ++i) {
            const auto& vertex = i_mesh.mVertices[i];
            const auto point = i_placement.Apply({vertex.x, vertex.y, vertex.z});
            indices[i] = _Join({static_cast<float>(point.x), static_cast<float>(point.y), static_cast<float>(point.z)});
        }
        const bool isMirrored = _GetDeterminant(i_placement) < 0;
        for (unsigned i = 0; i < i_mesh.mNumFaces; ++i) {
            const auto& face = i_mesh.mFaces[i];
            if (face.mNumIndices != 3)
                continue;
            std::array<std::uint32_t, 3> triangle = {indices[face.mIndices[0]], indices[face.mIndices[1]],
                                                     indices[face.mIndices[2]]};
            if (isMirrored)
                std::swap(triangle[1], triangle[2]);
            if (triangle[0] != triangle[1] && triangle[1] != triangle[2] && triangle[2] != triangle[0])
                _mesh.triangles.push_back(triangle);
        }
    }

    TavAM::Mesh Take() { return std::move(_mesh); }

private:
    struct Hash
    {
        std::size_t operator()(const TavAM::Point3f& i_point) const
        {
            std::size_t hash = 0;
            for (const float value : {i_point.x, i_point.y, i_point.z}) {
                std::uint32_t bits = 0;
                std::memcpy(&bits, &value, sizeof bits);
                hash = (hash ^ bits) * 0x9E3779B97F4A7C15U;
                hash ^= hash >> 29U;
            }
            return hash;
        }
    };

    static double _GetDeterminant(const TavAM::Transform& i_transform)
    {
        const auto& m = i_transform.rows;
        return m[0] * (m[5] * m[10] - m[6] * m[9]) - m[1] * (m[4] * m[10] - m[6] * m[8]) +
               m[2] * (m[4] * m[9] - m[5] * m[8]);
    }

    std::uint32_t _Join(TavAM::Point3f i_point)
    {
        // A point that is not a number equals none and would never be found again; the caller refuses the mesh for it.
        if (std::isnan(i_point.x) || std::isnan(i_point.y) || std::isnan(i_point.z))
            throw std::runtime_error("it holds a coordinate that is not a number");
        // Zero has two bit patterns.
        for (float* value : {&i_point.x, &i_point.y, &i_point.z}) {
            if (*value == 0.0F)
                *value = 0.0F;
        }
        const auto [found, isNew] = _indices.try_emplace(i_point, static_cast<std::uint32_t>(_mesh.vertices.size()));
        if (isNew)
            _mesh.vertices.push_back(i_point);
        return found->second;
    }

    TavAM::Mesh _mesh;
    std::unordered_map<TavAM::Point3f, std::uint32_t, Hash> _indices;
};

TavAM::Transform ToTransform(const aiMatrix4x4& i_matrix)
{
    TavAM::Transform transform;
    for (unsigned row = 0; row < 3; ++row) {
        for (unsigned column = 0; column < 4; ++column)
            transform.rows[row * 4 + column] = i_matrix[row][column];
    }
    return transform;
}

class SceneReader
{
public:
    SceneReader(const aiScene& i_scene, const MeshFileFacts& i_facts)
        : _scene(i_scene)
        , _facts(i_facts)
    {}

    /// Before faces are split into triangles: the splitting trusts the indices.
    static void CheckFaces(const aiScene& i_scene, const MeshFileFacts& i_facts)
    {
        std::size_t faces = 0;
        std::size_t vertices = 0;
        for (unsigned i = 0; i < i_scene.mNumMeshes; ++i) {
            const auto& mesh = *i_scene.mMeshes[i];
            vertices += mesh.mNumVertices;
            for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
                const auto& face = mesh.mFaces[f];
                faces += face.mNumIndices >= 3 ? 1 : 0;
                const bool isSound = std::all_of(face.mIndices, face.mIndices + face.mNumIndices,
                                                 [&](unsigned i_index) { return i_index < mesh.mNumVertices; });
                if (!isSound)
                    throw std::runtime_error("a face of it names a vertex that is not there");
            }
        }
        if (faces > MeshBounds::Triangles || vertices > MeshBounds::Vertices)
            throw std::runtime_error("it holds too much");
        if (faces < i_facts.faces.value_or(0))
            throw std::runtime_error("it announces " + std::to_string(*i_facts.faces) + " faces, of which only " +
                                     std::to_string(faces) + " can be read");
    }

    std::vector<NamedMesh> Read()
    {
        TavAM::Transform unit;
        unit.rows = {_facts.millimetresPerUnit, 0, 0, 0, 0, _facts.millimetresPerUnit, 0, 0, 0, 0,
                     _facts.millimetresPerUnit, 0};
        _ReadNode(*_scene.mRootNode, unit, 0);
        if (_parts.empty())
            throw std::runtime_error("it holds no triangle");
        return std::move(_parts);
    }

private:
    void _ReadNode(const aiNode& i_node, const TavAM::Transform& i_owner, int i_depth)
    {
        constexpr int maxDepth = 64;
        if (i_depth > maxDepth)
            throw std::runtime_error("its objects are nested too deep");
        const auto placement = i_owner.After(ToTransform(i_node.mTransformation));
        if (i_node.mNumMeshes > 0)
            _AddPart(i_node, placement);
        for (unsigned i = 0; i < i_node.mNumChildren; ++i)
            _ReadNode(*i_node.mChildren[i], placement, i_depth + 1);
    }

    void _AddPart(const aiNode& i_node, const TavAM::Transform& i_placement)
    {
        MeshBuilder builder;
        for (unsigned i = 0; i < i_node.mNumMeshes; ++i)
            builder.Add(*_scene.mMeshes[i_node.mMeshes[i]], i_placement);
        auto mesh = builder.Take();
        _triangles += mesh.triangles.size();
        if (_triangles > MeshBounds::Triangles || _parts.size() >= MeshBounds::Parts)
            throw std::runtime_error("it holds too much");
        // Objects without any triangle, such as lines, are no parts.
        if (mesh.triangles.empty())
            return;
        if (const auto defect = TavAM::FindMeshDefect(mesh); !defect.empty())
            throw std::runtime_error(defect);
        _parts.push_back({i_node.mName.C_Str(), std::move(mesh)});
    }

    const aiScene& _scene;
    const MeshFileFacts& _facts;
    std::size_t _triangles = 0;
    std::vector<NamedMesh> _parts;
};

/// In the child process.
std::vector<NamedMesh> Import(const std::string& i_bytes, const MeshFileFacts& i_facts)
{
    const std::string name = GetImportName(i_facts.format);
    Assimp::Importer importer;
    KeepOurImporters(importer);
    importer.SetIOHandler(new SingleFileSystem(name, i_bytes)); // the importer owns it
    const auto* scene = importer.ReadFile(name, 0);
    if (!scene || !scene->mRootNode)
        throw std::runtime_error(std::string("it is damaged: ") + importer.GetErrorString());
    SceneReader::CheckFaces(*scene, i_facts);
    scene = importer.ApplyPostProcessing(aiProcess_Triangulate);
    if (!scene || !scene->mRootNode)
        throw std::runtime_error("its faces cannot be split into triangles");
    return SceneReader(*scene, i_facts).Read();
}

/// The meshes as bytes, for the way from one process to the other on the same machine.
class Packer
{
public:
    template <class T>
    void Add(const std::vector<T>& i_values)
    {
        static_assert(std::is_trivially_copyable_v<T>);
        const std::uint64_t count = i_values.size();
        _bytes.append(reinterpret_cast<const char*>(&count), sizeof count);
        _bytes.append(reinterpret_cast<const char*>(i_values.data()), count * sizeof(T));
    }
    std::string Take() { return std::move(_bytes); }

private:
    std::string _bytes;
};

class Unpacker
{
public:
    explicit Unpacker(const std::string& i_bytes)
        : _bytes(i_bytes)
    {}

    bool IsAtEnd() const { return _position == _bytes.size(); }

    /// Checked throughout: a process that a file has damaged may have written anything.
    template <class T>
    std::vector<T> Take()
    {
        std::uint64_t count = 0;
        _Copy(&count, sizeof count);
        if (count > (_bytes.size() - _position) / sizeof(T))
            _Fail();
        std::vector<T> values(count);
        _Copy(values.data(), count * sizeof(T));
        return values;
    }

private:
    [[noreturn]] static void _Fail() { throw std::runtime_error("it is damaged"); }
    void _Copy(void* op_to, std::size_t i_size)
    {
        if (i_size > _bytes.size() - _position)
            _Fail();
        if (i_size > 0)
            std::memcpy(op_to, _bytes.data() + _position, i_size);
        _position += i_size;
    }

    const std::string& _bytes;
    std::size_t _position = 0;
};

} // namespace

std::vector<NamedMesh> ReadMeshes(const std::string& i_bytes, const MeshFileFacts& i_facts)
{
    const auto packed = CallIsolated(
        [&] {
            Packer packer;
            for (const auto& part : Import(i_bytes, i_facts)) {
                packer.Add(std::vector<char>(part.name.begin(), part.name.end()));
                packer.Add(part.mesh.vertices);
                packer.Add(part.mesh.triangles);
            }
            return packer.Take();
        },
        Deadline);
    std::vector<NamedMesh> meshes;
    for (Unpacker unpacker(packed); !unpacker.IsAtEnd();) {
        const auto name = unpacker.Take<char>();
        auto& part = meshes.emplace_back();
        part.name.assign(name.begin(), name.end());
        part.mesh.vertices = unpacker.Take<TavAM::Point3f>();
        part.mesh.triangles = unpacker.Take<std::array<std::uint32_t, 3>>();
        if (const auto defect = TavAM::FindMeshDefect(part.mesh); !defect.empty())
            throw std::runtime_error(defect);
    }
    return meshes;
}

} // namespace VexlorCore
