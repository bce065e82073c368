#include "Figures.h"

#include "tavam/PropertyNames.h"

#include <QCoreApplication>

namespace Workbench {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Workbench::Figures)
};

} // namespace

QString GetProperty(const TavAM::Object& i_object, const wchar_t* ip_name)
{
    return QString::fromStdWString(i_object.GetAMXProperties().GetText(ip_name).value_or(L""));
}

bool ShowFigures(const TavAM::Platform& i_platform, Transcript& io_transcript)
{
    namespace Names = TavAM::PropertyNames::Print3D;
    if (GetProperty(i_platform, Names::LayerCount).isEmpty())
        return false;
    const auto show = [&](const QString& i_label, const wchar_t* ip_name, const QString& i_unit) {
        const QString value = GetProperty(i_platform, ip_name);
        if (!value.isEmpty())
            io_transcript.Line(
                QStringLiteral("  %1 %2 %3").arg(i_label.leftJustified(10), value.rightJustified(12), i_unit));
    };
    show(Texts::tr("layers"), Names::LayerCount, {});
    show(Texts::tr("time"), Names::PrintTimeSeconds, QStringLiteral("s"));
    show(Texts::tr("material"), Names::MaterialMillimetres, QStringLiteral("mm"));
    show(QString(), Names::MaterialCubicCentimetres, QStringLiteral("cm³"));
    show(QString(), Names::MaterialGrams, QStringLiteral("g"));
    for (const auto& part : i_platform.GetParts()) {
        io_transcript.Line(Texts::tr("  %1 %2 layers %3 cm³")
                               .arg(QString::fromStdWString(part.GetName()).leftJustified(24),
                                    GetProperty(part, Names::LayerCount).rightJustified(6),
                                    GetProperty(part, Names::MaterialCubicCentimetres).rightJustified(10)));
    }
    return true;
}

} // namespace Workbench
