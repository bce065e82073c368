#include "vexlorcore/meshimport/PolygonSplitter.h"

#include <assimp/BaseImporter.h>
#include <assimp/DefaultIOSystem.h>
#include <assimp/IOStream.hpp>
#include <assimp/IOSystem.hpp>
#include <assimp/Importer.hpp>
#include <assimp/importerdesc.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace VexlorCore {

namespace {

constexpr const char* FileName = "polygons.in-memory";

/// The library works on scenes that an importer of its own made of a file, so this is one without a file.
class PolygonImporter final : public Assimp::BaseImporter
{
public:
    PolygonImporter(const std::vector<TavAM::Point3f>& i_vertices, const std::vector<std::uint32_t>& i_corners,
                    const std::vector<std::size_t>& i_ends)
        : _vertices(i_vertices)
        , _corners(i_corners)
        , _ends(i_ends)
    {}

    bool CanRead(const std::string&, Assimp::IOSystem*, bool) const override { return true; }
    const aiImporterDesc* GetInfo() const override
    {
        static const aiImporterDesc description = {"Polygons", "", "", "", 0, 0, 0, 0, 0, "in-memory"};
        return &description;
    }

private:
    void InternReadFile(const std::string&, aiScene* op_scene, Assimp::IOSystem*) override
    {
        auto mesh = std::make_unique<aiMesh>();
        mesh->mPrimitiveTypes = aiPrimitiveType_POLYGON;
        mesh->mNumVertices = static_cast<unsigned>(_vertices.size());
        mesh->mVertices = new aiVector3D[_vertices.size()];
        for (std::size_t i = 0; i < _vertices.size(); ++i)
            mesh->mVertices[i] = {_vertices[i].x, _vertices[i].y, _vertices[i].z};
        mesh->mFaces = new aiFace[_ends.size()];
        mesh->mNumFaces = static_cast<unsigned>(_ends.size());
        std::size_t begin = 0;
        for (std::size_t i = 0; i < _ends.size(); ++i) {
            auto& face = mesh->mFaces[i];
            face.mNumIndices = static_cast<unsigned>(_ends[i] - begin);
            face.mIndices = new unsigned[face.mNumIndices];
            std::copy(_corners.data() + begin, _corners.data() + _ends[i], face.mIndices);
            begin = _ends[i];
        }
        op_scene->mMaterials = new aiMaterial* [1] {
            new aiMaterial
        };
        op_scene->mNumMaterials = 1;
        op_scene->mMeshes = new aiMesh* [1] {
            mesh.release()
        };
        op_scene->mNumMeshes = 1;
        op_scene->mRootNode = new aiNode;
        op_scene->mRootNode->mMeshes = new unsigned[1]{0};
        op_scene->mRootNode->mNumMeshes = 1;
    }

    const std::vector<TavAM::Point3f>& _vertices;
    const std::vector<std::uint32_t>& _corners;
    const std::vector<std::size_t>& _ends;
};

/// There is one file, and it is empty.
class NoFiles final : public Assimp::IOSystem
{
public:
    bool Exists(const char* ip_file) const override { return std::string(FileName) == ip_file; }
    char getOsSeparator() const override { return '/'; }
    Assimp::IOStream* Open(const char*, const char*) override { return nullptr; }
    void Close(Assimp::IOStream*) override {}
};

} // namespace

void SplitPolygons(const std::vector<TavAM::Point3f>& i_vertices, const std::vector<std::uint32_t>& i_corners,
                   const std::vector<std::size_t>& i_ends, std::vector<std::uint32_t>& io_triangles)
{
    Assimp::Importer importer;
    // The importer owns both.
    importer.SetIOHandler(new NoFiles);
    importer.RegisterLoader(new PolygonImporter(i_vertices, i_corners, i_ends));
    const auto* scene = importer.ReadFile(FileName, aiProcess_Triangulate);
    if (!scene || scene->mNumMeshes != 1)
        throw std::runtime_error("its faces cannot be split into triangles");
    const auto& mesh = *scene->mMeshes[0];
    for (unsigned i = 0; i < mesh.mNumFaces; ++i) {
        const auto& face = mesh.mFaces[i];
        if (face.mNumIndices == 3)
            io_triangles.insert(io_triangles.end(), face.mIndices, face.mIndices + 3);
    }
}

} // namespace VexlorCore
