#include "workbench/plate/PlateRenderer.h"

#include "workbench/plate/PlateShaders.h"

#include <QVector4D>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>

namespace Workbench {

namespace {

constexpr float BelowAlpha = 0.35F; ///< of the bed when it is looked at from below

QVector3D ToVector(const QColor& i_colour)
{
    return {static_cast<float>(i_colour.redF()), static_cast<float>(i_colour.greenF()),
            static_cast<float>(i_colour.blueF())};
}

QVector4D ToVector4(const QColor& i_colour)
{
    return {ToVector(i_colour), static_cast<float>(i_colour.alphaF())};
}

QVector4D ToVector4(const PlateBed& i_bed)
{
    return {static_cast<float>(i_bed.minX), static_cast<float>(i_bed.minY), static_cast<float>(i_bed.maxX),
            static_cast<float>(i_bed.maxY)};
}

QMatrix4x4 ToMatrix(const TavAM::Transform& i_transform)
{
    QMatrix4x4 matrix;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 4; ++column)
            matrix(row, column) = static_cast<float>(i_transform.rows[static_cast<std::size_t>(row * 4 + column)]);
    }
    return matrix;
}

void Link(QOpenGLShaderProgram& io_program, const char* i_vertex, const char* i_fragment)
{
    if (!io_program.addShaderFromSourceCode(QOpenGLShader::Vertex, i_vertex) ||
        !io_program.addShaderFromSourceCode(QOpenGLShader::Fragment, i_fragment) || !io_program.link())
        throw std::runtime_error("The graphics driver takes no program: " + io_program.log().toStdString());
}

void AddBox(const TavAM::BoundingBox& i_box, std::vector<QVector3D>& io_points)
{
    const auto corner = [&](int i_number) {
        return QVector3D(static_cast<float>((i_number & 1) ? i_box.max.x : i_box.min.x),
                         static_cast<float>((i_number & 2) ? i_box.max.y : i_box.min.y),
                         static_cast<float>((i_number & 4) ? i_box.max.z : i_box.min.z));
    };
    for (int number = 0; number < 8; ++number) {
        for (const int axis : {1, 2, 4}) {
            if (!(number & axis)) {
                io_points.push_back(corner(number));
                io_points.push_back(corner(number | axis));
            }
        }
    }
}

void AddCircle(const PlateBed& i_bed, double i_z, std::vector<QVector3D>& io_points)
{
    constexpr int sides = 96;
    const double radius = (i_bed.maxX - i_bed.minX) / 2;
    const auto point = [&](int i_number) {
        const double angle = 2 * std::numbers::pi * i_number / sides;
        return QVector3D(static_cast<float>((i_bed.minX + i_bed.maxX) / 2 + radius * std::cos(angle)),
                         static_cast<float>((i_bed.minY + i_bed.maxY) / 2 + radius * std::sin(angle)),
                         static_cast<float>(i_z));
    };
    for (int side = 0; side < sides; ++side) {
        io_points.push_back(point(side));
        io_points.push_back(point(side + 1));
    }
}

/// Over the left shoulder of whoever looks.
QVector3D GetKeyLight(const Camera& i_camera)
{
    return i_camera.GetView().transposed().mapVector(QVector3D(-0.35F, 0.55F, 0.76F)).normalized();
}

} // namespace

void PlateRenderer::PartProgram::Link(const char* i_vertex, const char* i_fragment)
{
    Workbench::Link(program, i_vertex, i_fragment);
    model = program.uniformLocation("u_model");
    normal = program.uniformLocation("u_normal");
    matrix = program.uniformLocation("u_matrix");
    key = program.uniformLocation("u_key");
    sky = program.uniformLocation("u_sky");
    colour = program.uniformLocation("u_colour");
    stripes = program.uniformLocation("u_stripes");
    isStriped = program.uniformLocation("u_isStriped");
}

PlateRenderer::PlateRenderer(QOpenGLFunctions_3_3_Core& io_gl, const GlMeshes& i_meshes)
    : _gl(io_gl)
    , _meshes(i_meshes)
{
    Link(_background, Shaders::BackgroundVertex, Shaders::BackgroundFragment);
    Link(_bed, Shaders::BedVertex, Shaders::BedFragment);
    _part.Link(Shaders::PartVertex, Shaders::PartFragment);
    _coarse.Link(Shaders::CoarseVertex, Shaders::CoarseFragment);
    Link(_shadow, Shaders::PartVertex, Shaders::ShadowFragment);
    Link(_line, Shaders::LineVertex, Shaders::LineFragment);
    _gl.glGenVertexArrays(1, &_empty);
    _gl.glGenVertexArrays(1, &_lineArray);
    _gl.glGenBuffers(1, &_lineBuffer);
    _gl.glBindVertexArray(_lineArray);
    _gl.glBindBuffer(GL_ARRAY_BUFFER, _lineBuffer);
    _gl.glEnableVertexAttribArray(0);
    _gl.glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, sizeof(QVector3D), nullptr);
    _gl.glBindVertexArray(0);
}

PlateRenderer::~PlateRenderer()
{
    _gl.glDeleteVertexArrays(1, &_empty);
    _gl.glDeleteVertexArrays(1, &_lineArray);
    _gl.glDeleteBuffers(1, &_lineBuffer);
}

void PlateRenderer::Begin(const PlateScene& i_scene, const Camera& i_camera, const PlateColours& i_colours, Form i_form)
{
    _scene = &i_scene;
    _form = i_form;
    _camera = i_camera;
    _colours = i_colours;
    _viewProjection = i_camera.GetProjection() * i_camera.GetView();
    _CollectItems(i_form);
    _next = 0;
    _done = 0;

    // Whoever drew before, a painter for one, leaves its own state.
    _gl.glDisable(GL_SCISSOR_TEST);
    _gl.glDisable(GL_CULL_FACE);
    _gl.glDisable(GL_STENCIL_TEST);
    _gl.glDisable(GL_BLEND);
    _gl.glDepthMask(GL_TRUE);
    _gl.glStencilMask(0xFF);
    _gl.glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    _gl.glClear(GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    _gl.glEnable(GL_DEPTH_TEST);
    _gl.glDepthFunc(GL_LEQUAL);
    _gl.glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ZERO, GL_ONE);
    if (i_form == Form::Coarse) {
        _CopyBackground();
        // From the front to the back: of the bed, what parts cover is not drawn.
        _step = Step::Parts;
        return;
    }
    _DrawBackground();
    _step = i_camera.IsFromBelow() ? Step::Parts : Step::Bed;
}

bool PlateRenderer::Draw(std::size_t i_triangles)
{
    switch (_step) {
    case Step::Bed:
        _DrawBed(1);
        _step = _scene->bed.isKnown ? Step::Shadows : Step::Parts;
        break;
    case Step::Shadows:
        _DrawShadows();
        _step = Step::Parts;
        break;
    case Step::Parts:
        if (_DrawParts(i_triangles))
            _step = Step::Lines;
        break;
    case Step::Lines:
        if (_form == Form::Coarse && !_camera.IsFromBelow())
            _DrawBed(1);
        _DrawLines();
        if (_camera.IsFromBelow())
            _DrawBed(BelowAlpha);
        _step = Step::Done;
        break;
    case Step::Done:
        break;
    }
    return _step == Step::Done;
}

void PlateRenderer::_CollectItems(Form i_form)
{
    _items.clear();
    _triangles = 0;
    const std::size_t share = CoarseTriangles / std::max<std::size_t>(_scene->bodies.size(), 1);
    for (const PlateScene::Body& body : _scene->bodies) {
        const GlMesh* const mesh = _meshes.Find(*body.mesh);
        if (!mesh || mesh->grades.empty())
            continue;
        Item& item = _items.emplace_back();
        item.mesh = mesh;
        item.model = ToMatrix(body.placement);
        item.normal = item.model.normalMatrix();
        item.grade = i_form == Form::Full ? mesh->grades.front() : FindGrade(mesh->grades, share);
        item.isSelected = body.isSelected;
        item.hasProblem = body.hasProblem;
        _triangles += item.grade.count / 3;
    }
}

void PlateRenderer::_DrawBackground()
{
    _gl.glDisable(GL_BLEND);
    _gl.glDepthMask(GL_FALSE);
    _background.bind();
    _background.setUniformValue("u_top", ToVector(_colours.backgroundTop));
    _background.setUniformValue("u_bottom", ToVector(_colours.backgroundBottom));
    _gl.glBindVertexArray(_empty);
    _gl.glDrawArrays(GL_TRIANGLES, 0, 3);
    _gl.glDepthMask(GL_TRUE);
}

/// Where the processor draws, copying takes a fraction of the time.
void PlateRenderer::_CopyBackground()
{
    GLint target = 0;
    GLint viewport[4] = {};
    _gl.glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &target);
    _gl.glGetIntegerv(GL_VIEWPORT, viewport);
    const QSize size(viewport[2], viewport[3]);
    if (!_surroundings || _surroundings->size() != size ||
        _surroundingsColours.backgroundTop != _colours.backgroundTop ||
        _surroundingsColours.backgroundBottom != _colours.backgroundBottom) {
        _surroundings = std::make_unique<QOpenGLFramebufferObject>(size);
        _surroundingsColours = _colours;
        _surroundings->bind();
        _DrawBackground();
    }
    _gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, _surroundings->handle());
    _gl.glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(target));
    _gl.glBlitFramebuffer(0, 0, size.width(), size.height(), 0, 0, size.width(), size.height(), GL_COLOR_BUFFER_BIT,
                          GL_NEAREST);
    _gl.glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(target));
}

void PlateRenderer::_DrawBed(float i_alpha)
{
    const PlateBed& bed = _scene->bed;
    // The finest lines that are some pixels apart.
    const double pixel = _camera.GetMillimetresPerPixel();
    const float fine = pixel < 0.12 ? 1.0F : pixel < 2.5 ? 10.0F : 100.0F;
    QVector4D plate = ToVector4(_colours.plate);
    plate.setW(i_alpha * (bed.isKnown ? 1.0F : 0.45F));
    QVector4D edge = ToVector4(_colours.edge);
    edge.setW(bed.isKnown ? 1.0F : 0.0F);

    // The smooth edge needs what is behind it.
    if (_form == Form::Full || i_alpha < 1)
        _gl.glEnable(GL_BLEND);
    _bed.bind();
    _bed.setUniformValue("u_viewProjection", _viewProjection);
    _bed.setUniformValue("u_rectangle", ToVector4(bed));
    _bed.setUniformValue("u_isCircular", bed.isCircular);
    _bed.setUniformValue("u_plate", plate);
    _bed.setUniformValue("u_fineColour", ToVector(_colours.gridFine));
    _bed.setUniformValue("u_coarseColour", ToVector(_colours.gridCoarse));
    _bed.setUniformValue("u_edge", edge);
    _bed.setUniformValue("u_zoneColour", ToVector(_colours.zone));
    _bed.setUniformValue("u_fine", fine);
    _bed.setUniformValue("u_coarse", fine * 5);
    QVector4D zones[Shaders::MaxZones];
    const int zoneCount = std::min(Shaders::MaxZones, static_cast<int>(bed.zones.size()));
    for (int zone = 0; zone < zoneCount; ++zone) {
        const TavAM::BoundingBox& box = bed.zones[static_cast<std::size_t>(zone)].box;
        zones[zone] = {static_cast<float>(box.min.x), static_cast<float>(box.min.y), static_cast<float>(box.max.x),
                       static_cast<float>(box.max.y)};
    }
    _bed.setUniformValue("u_zoneCount", zoneCount);
    _bed.setUniformValueArray("u_zones", zones, Shaders::MaxZones);
    _gl.glBindVertexArray(_empty);
    _gl.glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    _gl.glDisable(GL_BLEND);
}

void PlateRenderer::_DrawShadows()
{
    // Flattened onto the bed along the light; the stencil keeps what overlaps from getting darker.
    QMatrix4x4 flatten;
    flatten(0, 2) = 0.30F;
    flatten(1, 2) = 0.18F;
    flatten(2, 2) = 0;
    flatten(2, 3) = -0.015F;
    _gl.glEnable(GL_BLEND);
    _gl.glEnable(GL_STENCIL_TEST);
    _gl.glStencilFunc(GL_EQUAL, 0, 0xFF);
    _gl.glStencilOp(GL_KEEP, GL_KEEP, GL_INCR);
    _shadow.bind();
    _shadow.setUniformValue("u_viewProjection", _viewProjection);
    _shadow.setUniformValue("u_rectangle", ToVector4(_scene->bed));
    _shadow.setUniformValue("u_isCircular", _scene->bed.isCircular);
    _shadow.setUniformValue("u_shadow", ToVector4(_colours.shadow));
    _shadow.setUniformValue("u_normal", QMatrix3x3());
    const int model = _shadow.uniformLocation("u_model");
    for (const Item& item : _items) {
        constexpr std::size_t enough = 600;
        const MeshForms::Grade& grade = FindGrade(item.mesh->grades, enough);
        _shadow.setUniformValue(model, flatten * item.model);
        _gl.glBindVertexArray(item.mesh->vertexArray);
        _gl.glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(grade.count), GL_UNSIGNED_INT,
                           reinterpret_cast<const void*>(grade.begin * sizeof(std::uint32_t)));
    }
    _gl.glDisable(GL_STENCIL_TEST);
    _gl.glDisable(GL_BLEND);
}

void PlateRenderer::_UsePartProgram()
{
    QOpenGLShaderProgram& program = _GetPartProgram().program;
    program.bind();
    program.setUniformValue("u_viewProjection", _viewProjection);
    program.setUniformValue("u_eye", _camera.GetView().inverted().map(QVector3D()));
    program.setUniformValue("u_key", GetKeyLight(_camera));
    program.setUniformValue("u_ambient", 0.36F);
    _gl.glEnable(GL_DEPTH_TEST);
    _gl.glDisable(GL_BLEND);
}

void PlateRenderer::_SetItem(const Item& i_item)
{
    PartProgram& part = _GetPartProgram();
    const QColor base = i_item.isSelected ? _colours.selected : i_item.hasProblem ? _colours.problem : _colours.part;
    if (_form == Form::Full) {
        part.program.setUniformValue(part.model, i_item.model);
        part.program.setUniformValue(part.normal, i_item.normal);
    } else {
        _SetCoarseItem(i_item);
    }
    part.program.setUniformValue(part.colour, ToVector(base));
    part.program.setUniformValue(part.isStriped, i_item.hasProblem);
    if (i_item.hasProblem)
        part.program.setUniformValue(part.stripes,
                                     ToVector(i_item.isSelected ? _colours.problem : _colours.problem.darker(150)));
    _gl.glBindVertexArray(i_item.mesh->vertexArray);
}

void PlateRenderer::_SetCoarseItem(const Item& i_item)
{
    PartProgram& part = _GetPartProgram();
    part.program.setUniformValue(part.matrix, _viewProjection * i_item.model);
    // Exact for what is turned, mirrored and scaled alike along all axes; for anything else as good as a coarse form
    // is.
    const double size = i_item.model.determinant();
    const float scale = static_cast<float>(std::copysign(std::cbrt(std::abs(size)), size));
    const auto toMesh = [&](const QVector3D& i_direction) {
        QVector3D turned;
        for (int axis = 0; axis < 3; ++axis) {
            for (int world = 0; world < 3; ++world)
                turned[axis] += i_item.normal(world, axis) * i_direction[world];
        }
        return turned * scale;
    };
    part.program.setUniformValue(part.key, toMesh(GetKeyLight(_camera)));
    part.program.setUniformValue(part.sky, toMesh({0, 0, 1}));
}

bool PlateRenderer::_DrawParts(std::size_t i_triangles)
{
    _UsePartProgram();
    std::size_t left = i_triangles * 3;
    while (_next < _items.size() && left > 0) {
        const Item& item = _items[_next];
        const std::size_t count = std::min(left, item.grade.count - _done);
        _SetItem(item);
        _gl.glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(count), GL_UNSIGNED_INT,
                           reinterpret_cast<const void*>((item.grade.begin + _done) * sizeof(std::uint32_t)));
        left -= count;
        _done += count;
        if (_done == item.grade.count) {
            ++_next;
            _done = 0;
        }
    }
    _gl.glBindVertexArray(0);
    return _next == _items.size();
}

void PlateRenderer::_DrawLines()
{
    const PlateBed& bed = _scene->bed;
    if (bed.isKnown) {
        std::vector<QVector3D> volume;
        if (bed.isCircular) {
            AddCircle(bed, 0, volume);
            AddCircle(bed, bed.height, volume);
        } else {
            AddBox(bed.GetBox(), volume);
        }
        _DrawLines(volume, _colours.volume);
    }
    std::vector<QVector3D> zones;
    for (const PlateZone& zone : bed.zones) {
        TavAM::BoundingBox box = zone.box;
        // A zone may reach to the sky.
        box.min.z = std::clamp(box.min.z, 0.0, bed.height);
        box.max.z = std::clamp(box.max.z, 0.0, bed.height);
        AddBox(box, zones);
    }
    _DrawLines(zones, _colours.zone);
}

void PlateRenderer::_DrawLines(const std::vector<QVector3D>& i_points, const QColor& i_colour)
{
    if (i_points.empty())
        return;
    _gl.glEnable(GL_BLEND);
    _line.bind();
    _line.setUniformValue("u_viewProjection", _viewProjection);
    _line.setUniformValue("u_colour", ToVector4(i_colour));
    _gl.glBindVertexArray(_lineArray);
    _gl.glBindBuffer(GL_ARRAY_BUFFER, _lineBuffer);
    _gl.glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(i_points.size() * sizeof(QVector3D)), i_points.data(),
                     GL_STREAM_DRAW);
    _gl.glDrawArrays(GL_LINES, 0, static_cast<GLsizei>(i_points.size()));
    _gl.glBindVertexArray(0);
    _gl.glDisable(GL_BLEND);
}

} // namespace Workbench
