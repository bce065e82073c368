#include "buildprocessor/verify/GCodeCheck.h"

#include "buildprocessor/engine/EngineFailure.h"
#include "buildprocessor/engine/GCodeEstimates.h"
#include "buildprocessor/engine/GCodeReader.h"
#include "buildprocessor/engine/UsedSettings.h"
#include "buildprocessor/verify/PartLayerCheck.h"

#include <algorithm>
#include <memory>

namespace MachineService::BuildProcessor {

namespace {

/// What belongs to no part, or carries one, may lie outside of them.
bool IsAuxiliary(std::string_view i_type)
{
    return i_type.starts_with("Skirt") || i_type == "Brim" || i_type.starts_with("Support") || i_type == "Wipe tower" ||
           i_type == "Custom";
}

bool Hangs(std::string_view i_type)
{
    return i_type == "Overhang perimeter" || i_type.find("ridge") != std::string_view::npos;
}

class GCodeCheck final : public IGCodeVisitor
{
public:
    GCodeCheck(const MachineProfile& i_profile, const std::vector<PartGeometry>& i_parts, UsedSettings i_used,
               SectionsAhead& io_sections, const std::stop_token& i_stop)
        : _profile(i_profile)
        , _parts(i_parts)
        , _used(std::move(i_used))
        , _sections(io_sections)
        , _stop(i_stop)
        , _checks(i_parts.size())
    {}

    void OnMove(const GCodeMove& i_move) override
    {
        _motorsOn = true;
        if (i_move.pushed <= 0 || !i_move.travels || !_hasLayer || _isAuxiliary)
            return;
        if (!_check)
            FailMachineFile("material that belongs to no part is put at a height of " + FormatMillimetres(_label.top));
        _check->AddMove(i_move, _label);
    }
    void OnArc() override
    {
        if (_hasLayer)
            FailMachineFile("it holds arcs, which cannot be checked");
    }
    void OnCommand(std::string_view i_name, std::string_view i_words) override
    {
        if (i_name == "M104" || i_name == "M109")
            _SetHeater(_nozzle, i_words);
        else if (i_name == "M140" || i_name == "M190")
            _SetHeater(_bed, i_words);
        else if (i_name == "G28")
            _motorsOn = true;
        else if (i_name == "M84" || i_name == "M18")
            _motorsOn = _motorsOn && !_IsBare(i_words);
    }
    void OnPart(std::optional<std::size_t> i_part) override
    {
        // The estimates know that there is such a part.
        if (i_part && !_checks[*i_part])
            _MakeCheck(*i_part);
        _check = i_part ? _checks[*i_part].get() : nullptr;
    }
    void OnComment(std::string_view i_text) override
    {
        if (i_text.starts_with("TYPE:")) {
            _SetType(i_text.substr(5));
        } else if (i_text.starts_with("WIDTH:")) {
            _Read(i_text.substr(6), _label.width);
        } else if (i_text.starts_with("HEIGHT:")) {
            _Read(i_text.substr(7), _label.height);
        } else if (i_text.starts_with("Z:")) {
            _StartLayer(i_text.substr(2));
        } else if (constexpr std::string_view width = " extrusion width = "; !_hasLayer) {
            const std::size_t at = i_text.find(width);
            double value = 0;
            if (at != std::string_view::npos && i_text.find("support") == std::string_view::npos &&
                ReadNumber(i_text.substr(at + width.size()), value))
                _width = std::max(_width, value);
        }
    }

    std::vector<std::string> Finish()
    {
        std::vector<std::string> notes;
        for (std::size_t index = 0; index < _parts.size(); ++index) {
            if (!_checks[index])
                _MakeCheck(index);
            _checks[index]->Finish();
            if (auto note = _checks[index]->GetNote(); !note.empty())
                notes.push_back(std::move(note));
        }
        if (_nozzle != 0)
            FailMachineFile("it leaves the nozzle's heater on; end_gcode of the printer's profile must switch it off");
        if (_bed != 0)
            FailMachineFile("it leaves the bed's heater on; end_gcode of the printer's profile must switch it off");
        if (_motorsOn)
            FailMachineFile("it leaves the motors on; end_gcode of the printer's profile must switch them off");
        return notes;
    }

private:
    static bool _IsBare(std::string_view i_words) { return i_words.find_first_not_of(' ') == std::string_view::npos; }
    static void _SetHeater(double& o_temperature, std::string_view i_words)
    {
        if (double value = 0; FindWord(i_words, 'S', value) || FindWord(i_words, 'R', value))
            o_temperature = value;
    }
    static void _Read(std::string_view i_text, double& o_value)
    {
        if (!ReadNumber(i_text, o_value))
            FailMachineFile("a label of it is not a number");
    }
    void _StartLayer(std::string_view i_top)
    {
        const double before = _label.top;
        _Read(i_top, _label.top);
        if (_hasLayer && _label.top <= before)
            FailMachineFile("its layer at " + FormatMillimetres(_label.top) + " comes again, or too late");
        _hasLayer = true;
    }
    void _SetType(std::string_view i_type)
    {
        _isAuxiliary = IsAuxiliary(i_type);
        _label.hangs = Hangs(i_type);
        if (_check && i_type.starts_with("Support"))
            _check->AddSupport();
    }
    void _MakeCheck(std::size_t i_index)
    {
        const PartGeometry& part = _parts[i_index];
        _checks[i_index] = std::make_unique<PartLayerCheck>(
            part, i_index, MakeLayerRules(part, _profile, _used, _width), _sections, _stop);
    }

    const MachineProfile& _profile;
    const std::vector<PartGeometry>& _parts;
    const UsedSettings _used;
    SectionsAhead& _sections;
    const std::stop_token _stop;
    std::vector<std::unique_ptr<PartLayerCheck>> _checks; ///< by part, once it was met
    PartLayerCheck* _check = nullptr;
    ExtrusionLabel _label;
    double _width = 0;
    double _nozzle = 0;
    double _bed = 0;
    bool _motorsOn = false;
    bool _hasLayer = false;
    bool _isAuxiliary = false;
};

} // namespace

SectionsAhead ExpectGCode(const MachineProfile& i_profile, const std::vector<PartGeometry>& i_parts)
{
    return {i_parts, GetLayerGrid(i_profile), ExpectLayers(i_profile, i_parts)};
}

SlicingResult CheckGCode(const std::filesystem::path& i_path, const MachineProfile& i_profile,
                         const std::vector<PartGeometry>& i_parts, SectionsAhead& io_sections,
                         const std::stop_token& i_stop)
{
    GCodeEstimates estimates(i_profile, i_parts);
    GCodeCheck check(i_profile, i_parts, ReadUsedSettings(i_path), io_sections, i_stop);
    IGCodeVisitor* const visitors[] = {&estimates, &check};
    ReadGCode(i_path, visitors, i_stop);
    SlicingResult result;
    result.estimates = estimates.Finish();
    result.notes = check.Finish();
    return result;
}

} // namespace MachineService::BuildProcessor
