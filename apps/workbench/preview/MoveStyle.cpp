#include "workbench/preview/MoveStyle.h"

#include <QCoreApplication>

#include <cstddef>

namespace Workbench {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Workbench::MoveStyle)
};

struct Row
{
    MoveKind kind;
    QRgb light;
    QRgb dark;
    const char* name;
};

constexpr Row Rows[MoveKindCount] = {
    {MoveKind::OuterWall, 0xFFC2410C, 0xFFFB923C, QT_TRANSLATE_NOOP("Workbench::MoveStyle", "Outer wall")},
    {MoveKind::InnerWall, 0xFFD9A404, 0xFFFDE047, QT_TRANSLATE_NOOP("Workbench::MoveStyle", "Inner wall")},
    {MoveKind::Overhang, 0xFF1E3A8A, 0xFF60A5FA, QT_TRANSLATE_NOOP("Workbench::MoveStyle", "Overhang")},
    {MoveKind::Infill, 0xFF9F1239, 0xFFFB7185, QT_TRANSLATE_NOOP("Workbench::MoveStyle", "Infill")},
    {MoveKind::SolidInfill, 0xFF7E22CE, 0xFFC084FC, QT_TRANSLATE_NOOP("Workbench::MoveStyle", "Solid infill")},
    {MoveKind::TopSurface, 0xFFDB2777, 0xFFF9A8D4, QT_TRANSLATE_NOOP("Workbench::MoveStyle", "Top surface")},
    {MoveKind::Bridge, 0xFF0E7490, 0xFF67E8F9, QT_TRANSLATE_NOOP("Workbench::MoveStyle", "Bridge")},
    {MoveKind::GapFill, 0xFF57534E, 0xFFD6D3D1, QT_TRANSLATE_NOOP("Workbench::MoveStyle", "Gap fill")},
    {MoveKind::Skirt, 0xFF0F766E, 0xFF5EEAD4, QT_TRANSLATE_NOOP("Workbench::MoveStyle", "Skirt and brim")},
    {MoveKind::Support, 0xFF15803D, 0xFF4ADE80, QT_TRANSLATE_NOOP("Workbench::MoveStyle", "Support")},
    {MoveKind::SupportInterface, 0xFF4D7C0F, 0xFFBEF264,
     QT_TRANSLATE_NOOP("Workbench::MoveStyle", "Support interface")},
    {MoveKind::PrimeTower, 0xFF78716C, 0xFFA8A29E, QT_TRANSLATE_NOOP("Workbench::MoveStyle", "Prime tower")},
    {MoveKind::Other, 0xFF4B5563, 0xFF9CA3AF, QT_TRANSLATE_NOOP("Workbench::MoveStyle", "Other")},
    {MoveKind::Travel, 0xFF2563EB, 0xFF93C5FD, QT_TRANSLATE_NOOP("Workbench::MoveStyle", "Travel")},
};

} // namespace

QString GetMoveName(MoveKind i_kind)
{
    return Texts::tr(Rows[static_cast<std::size_t>(i_kind)].name);
}

QColor GetMoveColour(MoveKind i_kind, const QPalette& i_palette)
{
    const Row& row = Rows[static_cast<std::size_t>(i_kind)];
    return QColor(i_palette.color(QPalette::Base).lightness() < 128 ? row.dark : row.light);
}

} // namespace Workbench
