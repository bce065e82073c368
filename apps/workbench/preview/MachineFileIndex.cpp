#include "workbench/preview/MachineFileIndex.h"

#include "workbench/preview/LayerTimes.h"

#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"

#include <QCoreApplication>

#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace Workbench {

namespace {

constexpr std::size_t PieceSize = 1 << 20;
constexpr std::size_t TailSize = 256 << 10; ///< of the file, where engines leave their settings
constexpr double LeastStep = 0.03;          ///< mm, between two layers of a file without labels

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Workbench::MachineFile)
};

[[noreturn]] void Fail(const QString& i_text)
{
    throw TavSDK::FileError(i_text.toStdString());
}

/// Calls i_read(line, offset) for each line between two offsets, until it answers false or the token asks.
template <class Read>
void ForEachLine(const std::filesystem::path& i_path, std::uint64_t i_begin, std::uint64_t i_end,
                 const std::stop_token& i_stop, const Read& i_read)
{
    TavSDK::InputFile file(i_path);
    if (i_begin > 0 && ::lseek(file.GetDescriptor(), static_cast<off_t>(i_begin), SEEK_SET) < 0)
        Fail(Texts::tr("The machine file cannot be read."));
    // The rest of a line, a piece, and an end for the last line.
    const auto buffer = std::make_unique_for_overwrite<char[]>(2 * PieceSize + 1);
    std::uint64_t offset = i_begin; ///< of the buffer in the file
    std::size_t had = 0;            ///< bytes of the rest
    bool isEnd = false;
    while (!isEnd && !i_stop.stop_requested()) {
        if (had > PieceSize)
            Fail(Texts::tr("A line of the machine file has no end."));
        const std::size_t want = static_cast<std::size_t>(std::min<std::uint64_t>(PieceSize, i_end - offset - had));
        const std::size_t got = want > 0 ? file.Read(buffer.get() + had, want) : 0;
        isEnd = got < PieceSize;
        char* end = buffer.get() + had + got;
        if (isEnd && end != buffer.get() && end[-1] != '\n')
            *end++ = '\n';
        const char* begin = buffer.get();
        while (begin != end) {
            const auto* const lineEnd =
                static_cast<const char*>(std::memchr(begin, '\n', static_cast<std::size_t>(end - begin)));
            if (!lineEnd)
                break;
            i_read(std::string_view(begin, static_cast<std::size_t>(lineEnd - begin)),
                   offset + static_cast<std::uint64_t>(begin - buffer.get()));
            begin = lineEnd + 1;
        }
        offset += static_cast<std::uint64_t>(begin - buffer.get());
        had = static_cast<std::size_t>(end - begin);
        std::memmove(buffer.get(), begin, had);
    }
}

/// "1d 2h 3m 4s".
std::optional<double> ReadDuration(std::string_view i_text)
{
    double seconds = 0;
    double number = 0;
    bool hasNumber = false;
    bool hasAny = false;
    for (const char character : i_text) {
        if (character >= '0' && character <= '9') {
            number = number * 10 + (character - '0');
            hasNumber = true;
            continue;
        }
        const double unit = character == 'd' ? 86'400 : character == 'h' ? 3600 : character == 'm' ? 60 : 1;
        if (hasNumber && std::strchr("dhms", character)) {
            seconds += number * unit;
            hasAny = true;
            hasNumber = false;
        }
        number = 0;
    }
    return hasAny ? std::optional(seconds) : std::nullopt;
}

/// Engines tell their settings and estimates in comments at the end.
void ReadTail(const std::filesystem::path& i_path, std::uint64_t i_size, const std::stop_token& i_stop,
              MachineFileIndex& io_index)
{
    const std::uint64_t begin = i_size > TailSize ? i_size - TailSize : 0;
    ForEachLine(i_path, begin, i_size, i_stop, [&](std::string_view i_line, std::uint64_t) {
        if (!i_line.starts_with("; "))
            return;
        i_line.remove_prefix(2);
        constexpr std::string_view told = "estimated printing time (normal mode) = ";
        if (i_line.starts_with(told))
            io_index.toldSeconds = ReadDuration(i_line.substr(told.size()));
        else if (i_line.starts_with("machine_max_"))
            TakeMotionSetting(i_line, io_index.limits);
    });
}

class Indexer final : public IGCodeSink
{
public:
    explicit Indexer(MachineFileIndex& io_index)
        : _index(io_index)
        , _parser(*this, MakeState(io_index.limits))
    {}

    void ReadLine(std::string_view i_line, std::uint64_t i_offset)
    {
        _offset = i_offset;
        _parser.ReadLine(i_line);
    }

    void Finish(std::uint64_t i_size)
    {
        const std::vector<double> seconds = _times.Finish();
        _index.preparation = seconds.front();
        for (std::size_t layer = 1; layer < seconds.size(); ++layer)
            _index.layers[layer - 1].seconds = seconds[layer];
        if (!_index.layers.empty())
            _index.layers.back().end = i_size;
        double below = 0;
        for (LayerSummary& layer : _index.layers) {
            layer.height = std::max(0.0, layer.z - below);
            below = layer.z;
        }
    }

private:
    static GCodeState MakeState(const MotionLimits& i_limits)
    {
        GCodeState state;
        state.limits = i_limits;
        return state;
    }

    void OnMove(const GCodeMove& i_move, const GCodeState& i_state) override
    {
        const bool builds = i_move.kind != MoveKind::Travel;
        if (builds && !_hasLabels &&
            (_index.layers.empty() || std::abs(i_move.to[2] - _index.layers.back().z) >= LeastStep))
            _BeginLayer(GetStateBefore(i_move, i_state));
        if (!_index.layers.empty()) {
            LayerSummary& layer = _index.layers.back();
            const double x = i_move.to[0] - i_move.from[0];
            const double y = i_move.to[1] - i_move.from[1];
            layer.lengths[static_cast<std::size_t>(i_move.kind)] += std::sqrt(x * x + y * y);
            layer.filament += i_move.pushed;
            if (builds)
                _Extend(layer, i_move);
        }
        _times.AddMove(i_move, i_state, _index.layers.size());
    }

    /// The state that the parser had before the move, as far as drawing needs it.
    static GCodeState GetStateBefore(const GCodeMove& i_move, const GCodeState& i_state)
    {
        GCodeState state = i_state;
        state.position = i_move.from;
        state.filament -= i_move.filament;
        state.driven -= i_move.filament;
        state.furthest -= i_move.pushed;
        return state;
    }

    static void _Extend(LayerSummary& io_layer, const GCodeMove& i_move)
    {
        if (io_layer.minX > io_layer.maxX) {
            io_layer.minX = io_layer.maxX = i_move.from[0];
            io_layer.minY = io_layer.maxY = i_move.from[1];
        }
        for (const auto* const point : {&i_move.from, &i_move.to}) {
            io_layer.minX = std::min(io_layer.minX, (*point)[0]);
            io_layer.maxX = std::max(io_layer.maxX, (*point)[0]);
            io_layer.minY = std::min(io_layer.minY, (*point)[1]);
            io_layer.maxY = std::max(io_layer.maxY, (*point)[1]);
        }
        io_layer.z = i_move.to[2];
    }

    void OnDwell(double i_seconds) override { _times.AddPause(i_seconds, _index.layers.size()); }

    void OnLayer() override
    {
        if (!_hasLabels) {
            // What was taken for layers before the first label is preparation: lines to clean the nozzle.
            _times.Restart();
            _index.layers.clear();
            _hasLabels = true;
        }
        _BeginLayer(_parser.GetState());
    }

    void _BeginLayer(const GCodeState& i_state)
    {
        if (_index.layers.size() == MostLayers)
            Fail(Texts::tr("The machine file has more layers than any machine makes."));
        double z = i_state.position[2];
        if (!_index.layers.empty()) {
            _index.layers.back().end = _offset;
            z = _index.layers.back().z;
        }
        LayerSummary& layer = _index.layers.emplace_back();
        layer.begin = _offset;
        layer.state = i_state;
        layer.z = z;
    }

    MachineFileIndex& _index;
    GCodeParser _parser;
    LayerTimes _times;
    std::uint64_t _offset = 0;
    bool _hasLabels = false;
};

class MoveCollector final : public IGCodeSink
{
public:
    std::vector<LayerMove> moves;

private:
    void OnMove(const GCodeMove& i_move, const GCodeState&) override
    {
        if (i_move.from[0] == i_move.to[0] && i_move.from[1] == i_move.to[1])
            return;
        moves.push_back({static_cast<float>(i_move.from[0]), static_cast<float>(i_move.from[1]),
                         static_cast<float>(i_move.to[0]), static_cast<float>(i_move.to[1]),
                         static_cast<float>(i_move.width), i_move.kind});
    }
    void OnDwell(double) override {}
    void OnLayer() override {}
};

} // namespace

double MachineFileIndex::GetSeconds() const
{
    double seconds = preparation;
    for (const LayerSummary& layer : layers)
        seconds += layer.seconds;
    return seconds;
}

double MachineFileIndex::GetFilament() const
{
    double filament = 0;
    for (const LayerSummary& layer : layers)
        filament += layer.filament;
    return filament;
}

std::optional<MachineFileIndex> IndexMachineFile(const std::filesystem::path& i_path, const std::stop_token& i_stop,
                                                 const std::function<void(double)>& i_on_progress)
{
    const std::uint64_t size = TavSDK::InputFile(i_path).GetSize();
    MachineFileIndex index;
    ReadTail(i_path, size, i_stop, index);
    Indexer indexer(index);
    std::uint64_t told = 0;
    ForEachLine(i_path, 0, size, i_stop, [&](std::string_view i_line, std::uint64_t i_offset) {
        indexer.ReadLine(i_line, i_offset);
        if (i_on_progress && i_offset >= told + 2 * PieceSize) {
            told = i_offset;
            i_on_progress(static_cast<double>(i_offset) / static_cast<double>(size));
        }
    });
    if (i_stop.stop_requested())
        return std::nullopt;
    indexer.Finish(size);
    const bool builds = std::any_of(index.layers.begin(), index.layers.end(),
                                    [](const LayerSummary& i_layer) { return i_layer.minX <= i_layer.maxX; });
    if (!builds)
        Fail(Texts::tr("The file holds no move that builds anything: it is no machine file that can be shown."));
    return index;
}

std::vector<LayerMove> ReadLayerMoves(const std::filesystem::path& i_path, const LayerSummary& i_layer,
                                      const std::stop_token& i_stop)
{
    MoveCollector collector;
    GCodeParser parser(collector, i_layer.state);
    ForEachLine(i_path, i_layer.begin, i_layer.end, i_stop,
                [&](std::string_view i_line, std::uint64_t) { parser.ReadLine(i_line); });
    return std::move(collector.moves);
}

} // namespace Workbench
