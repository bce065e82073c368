#include "buildprocessor/verify/ResinCheck.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/base/NameList.h"
#include "buildprocessor/engine/EngineFailure.h"
#include "buildprocessor/engine/EngineSettings.h"
#include "buildprocessor/engine/UsedSettings.h"
#include "buildprocessor/verify/LayerImages.h"
#include "buildprocessor/verify/PartLayerCheck.h"
#include "contract/Failure.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <future>
#include <memory>
#include <optional>

namespace MachineService::BuildProcessor {

namespace {

constexpr double AllowedShare = 0.02;
// A disc of this many pixels reaches those round a pixel, also across a corner.
constexpr double Ring = 1.5;
// An outline that passes the middle of a pixel as near as this, in pixels, may light it or not.
constexpr double Doubt = 0.25;
constexpr double HeightTolerance = 1e-6; ///< mm
constexpr std::size_t Ahead = 2;         ///< images that are unpacked while one is compared

/// What changes the outline of a part on purpose. Units: mm.
struct ResinRules
{
    double lift = 0; ///< by struts and pad
    double grown = 0;
    double shrunk = 0;
    double foot = 0;
    double footLayers = 0;
    double shell = 0; ///< of a part that is made hollow; 0: it is not
    bool isCarried = false;
    bool isDimmed = false; ///< the edge of an outline is not where half of the light is

    /// \param i_z of the machine file.
    LayerCut MakeCut(double i_z, std::size_t i_layer, double i_pixel) const
    {
        const double inset = static_cast<double>(i_layer) < footLayers ? foot : 0;
        const double less = shrunk + inset;
        // How corners are moved along with an outline is the engine's own affair.
        const double doubt = (less > 0 || grown > 0 || shell > 0 || isDimmed ? Ring : Doubt) * i_pixel;
        return {i_z - lift, doubt + less, doubt + grown};
    }
};

ResinRules MakeRules(const PartGeometry& i_part, const UsedSettings& i_used)
{
    const auto get = [&](std::string_view i_name) {
        return GetSettingNumber(i_part.settings, i_used, i_name);
    };
    const bool hasStruts = get("supports_enable") > 0;
    const bool hasPad = get("pad_enable") > 0;
    ResinRules rules;
    rules.isCarried = hasStruts || hasPad;
    rules.lift = (hasStruts ? get("support_object_elevation") : 0) + (hasPad ? get("pad_wall_thickness") : 0);
    rules.grown = std::max(get("absolute_correction"), 0.0);
    rules.shrunk = std::max(-get("absolute_correction"), 0.0);
    rules.foot = std::max(get("elefant_foot_compensation"), 0.0);
    rules.footLayers = get("faded_layers");
    rules.isDimmed = i_used.contains("gamma_correction") && get("gamma_correction") != 1;
    rules.shell = get("hollowing_enable") > 0 ? get("hollowing_min_thickness") : 0;
    return rules;
}

MaskGrid MakeMask(const MachineProfile& i_profile, const UsedSettings& i_used)
{
    const auto get = [&](std::string_view i_name) {
        return GetSettingNumber({}, i_used, i_name);
    };
    const BedPoint& corner = i_profile.bed.outline[2];
    MaskGrid mask;
    mask.columns = static_cast<std::size_t>(i_profile.displayWidth);
    mask.rows = static_cast<std::size_t>(i_profile.displayHeight);
    mask.width = corner.x / i_profile.displayWidth;
    mask.height = corner.y / i_profile.displayHeight;
    mask.mirrorsX = get("display_mirror_x") > 0;
    mask.mirrorsY = get("display_mirror_y") > 0;
    return mask;
}

/// The images in order, unpacked on another thread while the caller looks at those before.
class LightReader
{
public:
    LightReader(const LayerImages& i_images, const MaskGrid& i_mask)
        : _images(i_images)
        , _mask(i_mask)
    {}

    std::shared_ptr<const RowSpans> Next()
    {
        while (_next < _images.GetCount() && _pending.size() <= Ahead)
            _Start();
        const auto light = _pending.front().get();
        _pending.pop_front();
        return light;
    }

private:
    void _Start()
    {
        std::string png = _images.Read(_next++);
        // Layers of a straight wall are the same image.
        if (_pending.empty() || png != _last) {
            _last = std::move(png);
            _light = std::async(std::launch::async, [bytes = _last, mask = _mask, layer = _next - 1] {
                         return std::make_shared<const RowSpans>(FindLight(bytes, mask, layer));
                     }).share();
        }
        _pending.push_back(_light);
    }

    const LayerImages& _images;
    const MaskGrid _mask;
    std::size_t _next = 0;
    std::string _last;
    std::shared_future<std::shared_ptr<const RowSpans>> _light;
    std::deque<std::shared_future<std::shared_ptr<const RowSpans>>> _pending;
};

class ResinCheck
{
public:
    ResinCheck(const LayerImages& i_images, const MachineProfile& i_profile, const std::vector<PartGeometry>& i_parts,
               SectionsAhead& io_sections)
        : _mask(MakeMask(i_profile, i_images.GetSettings()))
        , _images(i_images)
        , _parts(i_parts)
        , _sections(io_sections)
    {
        for (const PartGeometry& part : i_parts) {
            _rules.push_back(MakeRules(part, i_images.GetSettings()));
            _top = std::max(_top, part.box.max.z + _rules.back().lift);
        }
    }

    void Run(const std::stop_token& i_stop)
    {
        const auto get = [&](std::string_view i_name) {
            return GetSettingNumber({}, _images.GetSettings(), i_name);
        };
        const double first = get("initial_layer_height");
        const double height = get("layer_height");
        if (first <= 0 || height <= 0)
            FailMachineFile("it does not tell its layer heights");
        LightReader reader(_images, _mask);
        double top = 0;
        for (std::size_t layer = 0; layer < _images.GetCount(); ++layer) {
            ThrowIfStopped(i_stop);
            const double own = layer == 0 ? first : height;
            top += own;
            _CheckLayer(*reader.Next(), layer, top, top - own / 2);
        }
        if (std::abs(top - _top) > height)
            _Fail({}, "it ends at " + FormatMillimetres(top) + ", and the parts at " + FormatMillimetres(_top));
    }

private:
    [[noreturn]] static void _Fail(const std::string& i_name, const std::string& i_what)
    {
        Fail(ErrorCode::InternalError, "The slicing engine's machine file is not " +
                                           (i_name.empty() ? "the platform" : "the part " + JoinNames({i_name})) +
                                           ": " + i_what +
                                           ". The file was not kept; build again with another layer height, or turn "
                                           "the part.");
    }

    void _CheckLayer(const RowSpans& i_light, std::size_t i_layer, double i_top, double i_z)
    {
        const double pixel = _mask.width * _mask.height;
        const double ring = Ring * _mask.GetPixel();
        double lit = 0;
        double litNear = 0;
        double allowed = pixel;
        bool isCarried = false;
        for (std::size_t index = 0; index < _parts.size(); ++index) {
            const ResinRules& rules = _rules[index];
            isCarried = isCarried || rules.isCarried;
            const LayerCut cut = rules.MakeCut(i_z, i_layer, _mask.GetPixel());
            const LayerAreas areas = _sections.Take(index, cut);
            const RowSpans& section = areas.section.GetArea();
            if (section.IsEmpty())
                continue;
            const double area = section.GetArea();
            const auto getDark = [&](const RowSpans& i_area) {
                const double dark = i_area.GetAreaWithout(i_light);
                return rules.shell > 0 ? dark - areas.sure.Erode(rules.shell / 2).GetAreaWithout(i_light) : dark;
            };
            // A layer that the part does not fill to its top is left out by the engine.
            const bool isWhole = i_top <= _parts[index].box.max.z + rules.lift + HeightTolerance;
            const double dark = getDark(areas.inner.SnapToColumns(_mask.width));
            if (isWhole && (dark > AllowedShare * area + pixel ||
                            (dark > 0 && getDark(areas.sure.Erode(std::max(cut.shrink, ring))) > pixel)))
                _Fail(_parts[index].name, "in the layer at " + FormatMillimetres(i_top) + " " +
                                              std::to_string(std::lround(100 * dark / area)) + " % of it are dark");
            const auto getLit = [&](const RowSpans& i_area) {
                return i_light.GetArea() - i_light.GetAreaWithout(i_area);
            };
            lit += getLit(areas.outer.SnapToColumns(_mask.width));
            litNear += isCarried ? 0 : getLit(section.Dilate(std::max(cut.grow, ring)));
            allowed += AllowedShare * area;
        }
        const double light = i_light.GetArea();
        if (!isCarried && (light - lit > allowed || light - litNear > pixel))
            _Fail({}, "in the layer at " + FormatMillimetres(i_top) + " there is light outside of the parts");
    }

    const MaskGrid _mask;
    const LayerImages& _images;
    const std::vector<PartGeometry>& _parts;
    SectionsAhead& _sections;
    std::vector<ResinRules> _rules;
    double _top = 0;
};

Estimates ReadEstimates(const LayerImages& i_images, const MachineProfile& i_profile)
{
    const auto get = [&](const char* ip_name) {
        const double value = GetSettingNumber({}, i_images.GetJob(), ip_name);
        if (!(value > 0))
            FailMachineFile(std::string("its value ") + ip_name + " is missing");
        return value;
    };
    Estimates estimates;
    estimates.layers = i_images.GetCount();
    if (estimates.layers == 0 || static_cast<double>(estimates.layers) != get("numFast"))
        FailMachineFile("it does not hold the layers that it tells of");
    if (static_cast<double>(estimates.layers - 1) * get("layerHeight") > i_profile.height)
        FailMachineFile("a layer lies above the machine's height");
    estimates.seconds = get("printTime");
    estimates.cubicCentimetres = get("usedMaterial");
    estimates.grams = estimates.cubicCentimetres * i_profile.GetDefaultMaterial().density;
    return estimates;
}

} // namespace

SectionsAhead ExpectResin(const MachineProfile& i_profile, const std::vector<PartGeometry>& i_parts)
{
    const EngineConfiguration configuration = MakeEngineConfiguration(i_profile);
    UsedSettings settings(configuration.begin(), configuration.end());
    // The engine's own, where a profile says nothing.
    for (const auto& [name, value] : {std::pair("elefant_foot_compensation", "0.2"), std::pair("faded_layers", "10"),
                                      std::pair("support_object_elevation", "5"), std::pair("pad_wall_thickness", "2")})
        settings.try_emplace(name, value);
    const MaskGrid mask = MakeMask(i_profile, settings);
    const double height = GetSettingNumber({}, settings, "layer_height");
    std::vector<std::vector<LayerCut>> expected(i_parts.size());
    for (std::size_t index = 0; index < i_parts.size() && height > 0; ++index) {
        const ResinRules rules = MakeRules(i_parts[index], settings);
        const double top = i_parts[index].box.max.z + rules.lift;
        for (std::size_t layer = 0; static_cast<double>(layer) * height < top; ++layer)
            expected[index].push_back(
                rules.MakeCut((static_cast<double>(layer) + 0.5) * height, layer, mask.GetPixel()));
    }
    return {i_parts, mask.GetRows(), std::move(expected)};
}

SlicingResult CheckResin(const std::filesystem::path& i_path, const MachineProfile& i_profile,
                         const std::vector<PartGeometry>& i_parts, SectionsAhead& io_sections,
                         const std::stop_token& i_stop)
{
    const LayerImages images(i_path);
    SlicingResult result;
    result.estimates = ReadEstimates(images, i_profile);
    ResinCheck(images, i_profile, i_parts, io_sections).Run(i_stop);
    return result;
}

} // namespace MachineService::BuildProcessor
