#include "workbench/plate/GlMeshes.h"

#include <algorithm>
#include <cstddef>

namespace Workbench {

GlMeshes::~GlMeshes()
{
    for (auto& [mesh, item] : _meshes)
        _Free(item);
}

bool GlMeshes::Update(const std::vector<MeshSource>& i_meshes, std::size_t i_bytes)
{
    std::map<const TavAM::Mesh*, std::shared_ptr<const TavAM::Mesh>> kept;
    for (const MeshSource& source : i_meshes)
        kept.emplace(source.mesh.get(), source.mesh);
    std::erase_if(_meshes, [&](auto& io_item) {
        const bool isGone = !kept.contains(io_item.first);
        if (isGone)
            _Free(io_item.second);
        return isGone;
    });
    _kept = std::move(kept);

    bool isWhole = true;
    for (const auto& [mesh, forms] : i_meshes) {
        if (!forms)
            continue;
        GlMesh& item = _meshes[mesh.get()];
        if (item.vertexArray == 0)
            _Begin(item, *forms);
        if (!item.IsWhole() && i_bytes > 0)
            i_bytes -= std::min(i_bytes, _Send(item, *forms, i_bytes));
        isWhole = isWhole && item.IsWhole();
    }
    return isWhole;
}

const GlMesh* GlMeshes::Find(const TavAM::Mesh& i_mesh) const
{
    const auto found = _meshes.find(&i_mesh);
    return found == _meshes.end() || !found->second.IsWhole() ? nullptr : &found->second;
}

std::size_t GlMeshes::GetSize() const
{
    std::size_t size = 0;
    for (const auto& [mesh, item] : _meshes)
        size += item.size;
    return size;
}

void GlMeshes::_Begin(GlMesh& io_mesh, const MeshForms& i_forms)
{
    const std::size_t vertexBytes = i_forms.vertices.size() * sizeof(MeshVertex);
    const std::size_t indexBytes = i_forms.indices.size() * sizeof(std::uint32_t);
    io_mesh.grades = i_forms.grades;
    io_mesh.vertexCount = i_forms.vertices.size();
    io_mesh.size = vertexBytes + indexBytes;
    _gl.glGenVertexArrays(1, &io_mesh.vertexArray);
    _gl.glBindVertexArray(io_mesh.vertexArray);
    _gl.glGenBuffers(1, &io_mesh.vertices);
    _gl.glBindBuffer(GL_ARRAY_BUFFER, io_mesh.vertices);
    _gl.glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(vertexBytes), nullptr, GL_STATIC_DRAW);
    _gl.glGenBuffers(1, &io_mesh.indices);
    _gl.glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, io_mesh.indices);
    _gl.glBufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(indexBytes), nullptr, GL_STATIC_DRAW);
    _gl.glEnableVertexAttribArray(0);
    _gl.glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, sizeof(MeshVertex), nullptr);
    _gl.glEnableVertexAttribArray(1);
    _gl.glVertexAttribPointer(1, 4, GL_INT_2_10_10_10_REV, GL_TRUE, sizeof(MeshVertex),
                              reinterpret_cast<const void*>(offsetof(MeshVertex, normal)));
    _gl.glBindVertexArray(0);
}

std::size_t GlMeshes::_Send(GlMesh& io_mesh, const MeshForms& i_forms, std::size_t i_bytes)
{
    const std::size_t vertexBytes = i_forms.vertices.size() * sizeof(MeshVertex);
    const bool areVertices = io_mesh.sent < vertexBytes;
    const std::size_t offset = areVertices ? io_mesh.sent : io_mesh.sent - vertexBytes;
    const std::size_t whole = areVertices ? vertexBytes : io_mesh.size - vertexBytes;
    const std::size_t count = std::min(i_bytes, whole - offset);
    const auto* const data = areVertices ? reinterpret_cast<const std::byte*>(i_forms.vertices.data())
                                         : reinterpret_cast<const std::byte*>(i_forms.indices.data());
    // Bound as vertices both times: binding indices would change the vertex array that happens to be bound.
    _gl.glBindBuffer(GL_ARRAY_BUFFER, areVertices ? io_mesh.vertices : io_mesh.indices);
    _gl.glBufferSubData(GL_ARRAY_BUFFER, static_cast<GLintptr>(offset), static_cast<GLsizeiptr>(count), data + offset);
    io_mesh.sent += count;
    return count;
}

void GlMeshes::_Free(const GlMesh& i_mesh)
{
    _gl.glDeleteVertexArrays(1, &i_mesh.vertexArray);
    _gl.glDeleteBuffers(1, &i_mesh.vertices);
    _gl.glDeleteBuffers(1, &i_mesh.indices);
}

} // namespace Workbench
