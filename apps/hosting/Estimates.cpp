#include "hosting/Estimates.h"

#include "tavam/PropertyNames.h"

namespace Hosting {

namespace {

QString GetText(const TavAM::Object& i_object, const wchar_t* ip_name)
{
    return QString::fromStdWString(i_object.GetAMXProperties().GetText(ip_name).value_or(L""));
}

} // namespace

std::optional<Estimates> ReadEstimates(const TavAM::Platform& i_platform)
{
    namespace Names = TavAM::PropertyNames::Print3D;
    Estimates estimates;
    estimates.layers = GetText(i_platform, Names::LayerCount);
    if (estimates.layers.isEmpty())
        return std::nullopt;
    estimates.seconds = GetText(i_platform, Names::PrintTimeSeconds);
    estimates.millimetres = GetText(i_platform, Names::MaterialMillimetres);
    estimates.cubicCentimetres = GetText(i_platform, Names::MaterialCubicCentimetres);
    estimates.grams = GetText(i_platform, Names::MaterialGrams);
    for (const auto& part : i_platform.GetParts())
        estimates.parts.push_back({QString::fromStdWString(part.GetName()), GetText(part, Names::LayerCount),
                                   GetText(part, Names::MaterialCubicCentimetres)});
    return estimates;
}

} // namespace Hosting
