#pragma once

#include "workbench/plate/Camera.h"
#include "workbench/plate/GlMeshes.h"
#include "workbench/plate/PlateColours.h"
#include "workbench/plate/PlateScene.h"

#include <QOpenGLFramebufferObject>
#include <QOpenGLShaderProgram>

#include <memory>

namespace Workbench {

/// Draws a plate with its parts into the framebuffer that is bound, step by step: surroundings, bed, shadows, the
/// parts, some triangles at a time, lines.
///
/// \code
/// renderer.Begin(scene, camera, colours, Form::Coarse);
/// while (!renderer.Draw(40'000)) ...
/// \endcode
///
/// Thread: that of the context, which is current, also to be made and destroyed.
class PlateRenderer
{
public:
    enum class Form
    {
        Coarse, ///< of all parts together no more than CoarseTriangles, if that leaves anything of each; no shadows
        Full,
    };
    static constexpr std::size_t CoarseTriangles = 60'000;

    /// A stretch of indices of one mesh, drawn with one set of values.
    struct Item
    {
        const GlMesh* mesh = nullptr;
        QMatrix4x4 model;
        QMatrix3x3 normal;
        MeshForms::Grade grade;
        bool isSelected = false;
        bool hasProblem = false;
    };

    /// \throws std::runtime_error when the programs cannot be made.
    PlateRenderer(QOpenGLFunctions_3_3_Core& io_gl, const GlMeshes& i_meshes);
    ~PlateRenderer();
    PlateRenderer(const PlateRenderer&) = delete;
    PlateRenderer& operator=(const PlateRenderer&) = delete;

    /// Clears, and draws the surroundings. Meshes that are not whole yet are left out. The scene must stay until all is
    /// drawn.
    void Begin(const PlateScene& i_scene, const Camera& i_camera, const PlateColours& i_colours, Form i_form);
    /// The next step. \param i_triangles of parts that it draws at most.
    /// \return true when everything is drawn.
    bool Draw(std::size_t i_triangles);
    bool IsDrawingParts() const { return _step == Step::Parts; }

    /// Of the parts, in the form that was begun.
    std::size_t GetTriangleCount() const { return _triangles; }
    const std::vector<Item>& GetItems() const { return _items; }

private:
    enum class Step
    {
        Bed,
        Shadows,
        Parts,
        Lines,
        Done,
    };

    /// A program that draws parts, and where its values go: asking by name for each part costs more than a small part.
    struct PartProgram
    {
        QOpenGLShaderProgram program;
        int model = -1;
        int normal = -1;
        int matrix = -1;
        int key = -1;
        int sky = -1;
        int colour = -1;
        int stripes = -1;
        int isStriped = -1;

        void Link(const char* i_vertex, const char* i_fragment);
    };

    PartProgram& _GetPartProgram() { return _form == Form::Full ? _part : _coarse; }
    bool _DrawParts(std::size_t i_triangles);
    void _CollectItems(Form i_form);
    void _DrawBackground();
    void _CopyBackground();
    void _DrawBed(float i_alpha);
    void _DrawShadows();
    void _DrawLines();
    void _DrawLines(const std::vector<QVector3D>& i_points, const QColor& i_colour);
    void _UsePartProgram();
    void _SetCoarseItem(const Item& i_item);
    void _SetItem(const Item& i_item);

    QOpenGLFunctions_3_3_Core& _gl;
    const GlMeshes& _meshes;
    QOpenGLShaderProgram _background;
    QOpenGLShaderProgram _bed;
    PartProgram _part;
    PartProgram _coarse;
    QOpenGLShaderProgram _shadow;
    QOpenGLShaderProgram _line;
    std::unique_ptr<QOpenGLFramebufferObject> _surroundings; ///< the background by itself
    PlateColours _surroundingsColours;                       ///< that it was drawn with
    GLuint _empty = 0;                                       ///< vertex array of what has no vertices
    GLuint _lineArray = 0;
    GLuint _lineBuffer = 0;

    const PlateScene* _scene = nullptr;
    Camera _camera;
    PlateColours _colours;
    QMatrix4x4 _viewProjection;
    Step _step = Step::Done;
    Form _form = Form::Full;
    std::vector<Item> _items;
    std::size_t _next = 0; ///< item that is drawn next
    std::size_t _done = 0; ///< indices of it
    std::size_t _triangles = 0;
};

} // namespace Workbench
