#include "PlateBench.h"
#include "Comparison.h"
#include "ProcessStatus.h"

#include "vexlorcore/Application.h"
#include "vexlorcore/UiThread.h"
#include "workbench/plate/MeshStore.h"
#include "workbench/plate/PlateModel.h"
#include "workbench/plate/PlateRenderer.h"
#include "workbench/scene/Selection.h"

#include <QCoreApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QPalette>

#include <chrono>
#include <cmath>
#include <memory>
#include <numbers>
#include <stdexcept>

namespace Bench {

namespace {

using namespace Workbench;

constexpr int Columns = 10;
constexpr QSize PictureSize(1280, 800);

/// Of rings and sectors.
std::shared_ptr<TavAM::Mesh> MakeBall(std::uint32_t i_rings, float i_radius)
{
    auto mesh = std::make_shared<TavAM::Mesh>();
    const std::uint32_t sectors = 2 * i_rings;
    mesh->vertices.reserve((i_rings + 1) * sectors);
    mesh->triangles.reserve(std::size_t{i_rings} * sectors * 2);
    for (std::uint32_t ring = 0; ring <= i_rings; ++ring) {
        for (std::uint32_t sector = 0; sector < sectors; ++sector) {
            const double polar = std::numbers::pi * (ring + 0.001) / (i_rings + 0.002);
            const double around = 2 * std::numbers::pi * sector / sectors;
            mesh->vertices.push_back({static_cast<float>(i_radius * std::sin(polar) * std::cos(around)),
                                      static_cast<float>(i_radius * std::sin(polar) * std::sin(around)),
                                      static_cast<float>(i_radius * (1 - std::cos(polar)))});
            if (ring == i_rings)
                continue;
            const std::uint32_t a = ring * sectors + sector;
            const std::uint32_t b = ring * sectors + (sector + 1) % sectors;
            mesh->triangles.push_back({a, a + sectors, b});
            mesh->triangles.push_back({b, a + sectors, b + sectors});
        }
    }
    return mesh;
}

/// A scene of balls in rows, sent to a graphics context without a window.
class Plate
{
public:
    Plate(int i_parts, std::uint32_t i_rings)
    {
        _application.CreateDatabase();
        _scene = _application.GetDatabase()->CreateDataSet();
        for (int number = 0; number < i_parts; ++number) {
            TavAM::Part part;
            part.SetRepresentation(TavAM::Representation::FromMesh(MakeBall(i_rings, 8)));
            part.SetPlacement(TavAM::Transform::Translation(20.0 * (number % Columns), 20.0 * (number / Columns), 0));
            _scene->GetParts().push_back(std::move(part));
        }
        _selection = std::make_unique<Selection>(*_scene);
        _model = std::make_unique<PlateModel>(*_scene, *_selection);
        _MakeContext();
        _gl.initializeOpenGLFunctions();
        _meshes = std::make_unique<GlMeshes>(_gl);
        _renderer = std::make_unique<PlateRenderer>(_gl, *_meshes);
        _store.Keep(_model->GetMeshes());
        while (_store.IsBusy())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        _Send();
        _parts = _model->TakeScene();
        _picture =
            std::make_unique<QOpenGLFramebufferObject>(PictureSize, QOpenGLFramebufferObject::CombinedDepthStencil);
        _camera.SetViewport(PictureSize);
        _camera.Fit(_model->GetPartsBox());
    }
    ~Plate()
    {
        _context.makeCurrent(&_surface);
        _picture.reset();
        _bare.reset();
        _renderer.reset();
        _meshes.reset();
    }
    Plate(const Plate&) = delete;
    Plate& operator=(const Plate&) = delete;

    void Draw()
    {
        _BeginPicture();
        _renderer->Begin(_parts, _camera, _colours, PlateRenderer::Form::Coarse);
        while (!_renderer->Draw(std::size_t{1} << 30)) {
        }
        _gl.glFinish();
    }

    /// The same stretches of the same buffers in one colour by one light; nothing round them.
    void DrawBare()
    {
        _BeginPicture();
        if (!_bare) {
            _renderer->Begin(_parts, _camera, _colours, PlateRenderer::Form::Coarse);
            _MakeBareProgram();
        }
        _gl.glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        _gl.glEnable(GL_DEPTH_TEST);
        _bare->bind();
        const QMatrix4x4 eye = _camera.GetProjection() * _camera.GetView();
        for (const PlateRenderer::Item& item : _renderer->GetItems()) {
            _bare->setUniformValue(_bareMatrix, eye * item.model);
            _gl.glBindVertexArray(item.mesh->vertexArray);
            _gl.glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(item.grade.count), GL_UNSIGNED_INT,
                               reinterpret_cast<const void*>(item.grade.begin * sizeof(std::uint32_t)));
        }
        _gl.glBindVertexArray(0);
        _gl.glFinish();
    }

private:
    void _MakeContext()
    {
        QSurfaceFormat format;
        format.setVersion(3, 3);
        format.setProfile(QSurfaceFormat::CoreProfile);
        _context.setFormat(format);
        _surface.setFormat(format);
        _surface.create();
        if (!_context.create() || !_context.makeCurrent(&_surface))
            throw std::runtime_error("there is no OpenGL 3.3 here");
    }
    void _Send()
    {
        const std::vector<MeshSource> sources = _store.GetSources(_model->GetMeshes());
        while (!_meshes->Update(sources, std::size_t{1} << 30)) {
        }
        for (const MeshSource& source : sources)
            _store.ReleaseForms(source);
    }
    void _BeginPicture()
    {
        _context.makeCurrent(&_surface);
        _picture->bind();
        _gl.glViewport(0, 0, PictureSize.width(), PictureSize.height());
    }
    void _MakeBareProgram()
    {
        _bare = std::make_unique<QOpenGLShaderProgram>();
        _bare->addShaderFromSourceCode(QOpenGLShader::Vertex, "#version 330 core\n"
                                                              "layout(location = 0) in vec3 a_position;\n"
                                                              "layout(location = 1) in vec4 a_normal;\n"
                                                              "uniform mat4 u_matrix;\n"
                                                              "out vec3 v_normal;\n"
                                                              "void main() { v_normal = a_normal.xyz;\n"
                                                              "gl_Position = u_matrix * vec4(a_position, 1.0); }");
        _bare->addShaderFromSourceCode(QOpenGLShader::Fragment, "#version 330 core\n"
                                                                "in vec3 v_normal;\n"
                                                                "out vec4 o_colour;\n"
                                                                "void main() { float light = 0.3 + 0.7 * max(0.0, "
                                                                "dot(normalize(v_normal), vec3(0.48, 0.6, 0.64)));\n"
                                                                "o_colour = vec4(vec3(0.4, 0.6, 0.8) * light, 1.0); }");
        if (!_bare->link())
            throw std::runtime_error(_bare->log().toStdString());
        _bareMatrix = _bare->uniformLocation("u_matrix");
    }

    VexlorCore::UiThread _uiThread;
    VexlorCore::Application _application;
    VexlorCore::DataSet* _scene = nullptr; ///< of the database
    std::unique_ptr<Selection> _selection;
    std::unique_ptr<PlateModel> _model;
    MeshStore _store;
    PlateScene _parts;
    QOffscreenSurface _surface;
    QOpenGLContext _context;
    QOpenGLFunctions_3_3_Core _gl;
    std::unique_ptr<GlMeshes> _meshes;
    std::unique_ptr<PlateRenderer> _renderer;
    std::unique_ptr<QOpenGLFramebufferObject> _picture;
    std::unique_ptr<QOpenGLShaderProgram> _bare;
    int _bareMatrix = -1;
    Camera _camera;
    PlateColours _colours = GetPlateColours(QPalette(Qt::white));
};

constexpr int Parts = 100;
constexpr std::uint32_t RingsOfPart = 71; ///< 4 × 71² triangles: two million in a hundred parts

Body MakeFrame()
{
    const auto plate = std::make_shared<Plate>(Parts, RingsOfPart);
    plate->Draw(); // the driver compiles what it meets for the first time
    return [plate] {
        plate->Draw();
    };
}

Body MakeBareFrame()
{
    const auto plate = std::make_shared<Plate>(Parts, RingsOfPart);
    plate->DrawBare();
    return [plate] {
        plate->DrawBare();
    };
}

double MeasureFrame()
{
    Plate plate(Parts, RingsOfPart);
    plate.Draw();
    const auto begin = std::chrono::steady_clock::now();
    constexpr int frames = 10;
    for (int frame = 0; frame < frames; ++frame)
        plate.Draw();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count() / frames;
}

/// What a million triangles on the plate add, beside what their corners and numbers take.
double MeasureMemory()
{
    constexpr std::uint32_t rings = 500;
    // What the driver loads with the first one stays.
    {
        Plate small(1, 5);
        small.Draw();
    }
    const auto before = static_cast<double>(ResetPeakMemory());
    Plate large(1, rings);
    large.Draw();
    const auto after = static_cast<double>(ResetPeakMemory());
    const double corners = (rings + 1.0) * 2 * rings * sizeof(TavAM::Point3f);
    const double triangles = 4.0 * rings * rings * 3 * sizeof(std::uint32_t);
    return (after - before) / (corners + triangles);
}

} // namespace

void AddPlateBenchmarks()
{
    ComparePrepared("frame of 100 parts, 2 million triangles, coarse", 1.3, &MakeFrame, &MakeBareFrame);
    Limit("time of such a frame", 1.0 / 15, "s", &MeasureFrame);
    Limit("memory of a million triangles, times their buffers", 2.5, "times", &MeasureMemory);
}

} // namespace Bench
