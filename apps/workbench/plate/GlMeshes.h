#pragma once

#include "workbench/plate/MeshForms.h"

#include <QOpenGLFunctions_3_3_Core>

#include <map>
#include <memory>

namespace Workbench {

/// A mesh in the graphics card's memory.
struct GlMesh
{
    GLuint vertexArray = 0;
    GLuint vertices = 0;
    GLuint indices = 0;
    std::vector<MeshForms::Grade> grades; ///< empty when there was no memory to make them
    std::size_t vertexCount = 0;
    std::size_t sent = 0; ///< bytes
    std::size_t size = 0; ///< bytes
    bool IsWhole() const { return sent == size; }
};

/// Brings the forms of meshes to the graphics card, a piece at a time.
///
/// Thread: that of the context, which is current, also to be destroyed.
/// Ownership: the functions must outlive it.
class GlMeshes
{
public:
    explicit GlMeshes(QOpenGLFunctions_3_3_Core& io_gl)
        : _gl(io_gl)
    {}
    ~GlMeshes();
    GlMeshes(const GlMeshes&) = delete;
    GlMeshes& operator=(const GlMeshes&) = delete;

    /// Sends up to so many bytes of the given meshes, and frees what is not among them.
    /// \return false while something is left to send.
    bool Update(const std::vector<MeshSource>& i_meshes, std::size_t i_bytes);
    /// Null until it can be drawn.
    const GlMesh* Find(const TavAM::Mesh& i_mesh) const;
    /// Of all meshes. Units: bytes.
    std::size_t GetSize() const;

private:
    void _Begin(GlMesh& io_mesh, const MeshForms& i_forms);
    std::size_t _Send(GlMesh& io_mesh, const MeshForms& i_forms, std::size_t i_bytes);
    void _Free(const GlMesh& i_mesh);

    QOpenGLFunctions_3_3_Core& _gl;
    std::map<const TavAM::Mesh*, GlMesh> _meshes;
    std::map<const TavAM::Mesh*, std::shared_ptr<const TavAM::Mesh>> _kept; ///< so that no other mesh gets the address
};

} // namespace Workbench
