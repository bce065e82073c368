#include "workbench/preview/PreviewModel.h"

#include "tavam/Part.h"
#include "vexlorcore/DataSet.h"

#include <QMetaObject>

#include <algorithm>
#include <exception>
#include <fstream>
#include <utility>

namespace Workbench {

namespace {

bool IsArchive(const std::filesystem::path& i_path)
{
    char signature[2] = {};
    std::ifstream(i_path, std::ios::binary).read(signature, 2);
    return signature[0] == 'P' && signature[1] == 'K';
}

/// As Representation::ForEachMesh, but the meshes are kept: another thread reads them.
void Collect(const TavAM::Representation& i_representation, const TavAM::Transform& i_placement,
             std::vector<OutlinedBody>& io_bodies)
{
    const TavAM::Transform placement = i_placement.After(i_representation.GetPlacement());
    if (i_representation.GetMesh())
        io_bodies.push_back({i_representation.GetMesh(), placement});
    for (const TavAM::Representation& member : i_representation.GetMembers())
        Collect(member, placement, io_bodies);
}

} // namespace

QVector<QLineF> CutOutline(const std::vector<OutlinedBody>& i_bodies, double i_z)
{
    QVector<QLineF> lines;
    for (const OutlinedBody& body : i_bodies) {
        std::vector<TavAM::Point3d> points;
        points.reserve(body.mesh->vertices.size());
        for (const TavAM::Point3f& point : body.mesh->vertices)
            points.push_back(body.placement.Apply({point.x, point.y, point.z}));
        for (const auto& triangle : body.mesh->triangles) {
            QPointF ends[2];
            int count = 0;
            for (std::size_t corner = 0; corner < 3; ++corner) {
                const TavAM::Point3d& from = points[triangle[corner]];
                const TavAM::Point3d& to = points[triangle[(corner + 1) % 3]];
                // A corner at the very height counts as above, so that each line has two ends.
                if ((from.z < i_z) == (to.z < i_z))
                    continue;
                const double part = (i_z - from.z) / (to.z - from.z);
                ends[count++] = QPointF(from.x + part * (to.x - from.x), from.y + part * (to.y - from.y));
            }
            if (count == 2)
                lines << QLineF(ends[0], ends[1]);
        }
    }
    return lines;
}

PreviewModel::PreviewModel(QObject* ip_parent)
    : QObject(ip_parent)
    , _worker([this](const std::stop_token& i_stop) { _Work(i_stop); })
{}

PreviewModel::~PreviewModel()
{
    _worker.request_stop();
    {
        const std::lock_guard lock(_mutex);
        _running.request_stop();
    }
    _worker.join();
}

void PreviewModel::Open(const std::filesystem::path& i_path)
{
    _index.reset();
    _pictureCount = 0;
    _shown.reset();
    _failure.clear();
    _wanted.reset();
    ++_number;
    _Send({i_path, {}, {}, {}, _number});
}

void PreviewModel::SetParts(const VexlorCore::DataSet* ip_scene)
{
    _bodies.clear();
    if (ip_scene) {
        for (const TavAM::Part& part : ip_scene->GetParts())
            Collect(part.GetRepresentation(), part.GetPlacement(), _bodies);
    }
    if (_wanted)
        ShowLayer(*_wanted);
}

void PreviewModel::ShowLayer(std::size_t i_number)
{
    if (i_number >= GetLayerCount())
        return;
    _wanted = i_number;
    _Send({{}, i_number, _bodies, {}, _number});
}

double PreviewModel::GetLayerSeconds(std::size_t i_number) const
{
    if (_index)
        return _index->layers.at(i_number).seconds;
    return _pictureCount > 0 ? _pictureSeconds / static_cast<double>(_pictureCount) : 0;
}

double PreviewModel::GetSeconds() const
{
    return _index ? _index->GetSeconds() : _pictureSeconds;
}

double PreviewModel::GetLayerTop(std::size_t i_number) const
{
    return _index ? _index->layers.at(i_number).z : _pictureHeight * static_cast<double>(i_number + 1);
}

void PreviewModel::_Send(Wish i_wish)
{
    _isBusy = true;
    const std::lock_guard lock(_mutex);
    _running.request_stop();
    _wish = std::move(i_wish);
    _wake.notify_one();
}

void PreviewModel::_Work(const std::stop_token& i_stop)
{
    File file;
    while (true) {
        Wish wish;
        {
            std::unique_lock lock(_mutex);
            if (!_wake.wait(lock, i_stop, [this] { return _wish.has_value(); }) || i_stop.stop_requested())
                return;
            wish = std::move(*_wish);
            _wish.reset();
            _running = wish.stop;
        }
        try {
            if (wish.file)
                _OpenFile(wish, file);
            else
                _ReadLayer(wish, file);
        } catch (const std::exception& error) {
            const QString reason = QString::fromUtf8(error.what());
            _Post(wish.number, [this, reason] {
                _isBusy = false;
                _failure = reason;
                Q_EMIT Failed(reason);
            });
        }
    }
}

void PreviewModel::_OpenFile(const Wish& i_wish, File& io_file)
{
    io_file = {*i_wish.file, nullptr, nullptr};
    if (IsArchive(io_file.path)) {
        io_file.pictures = std::make_unique<LayerPictures>(io_file.path);
    } else {
        auto index = IndexMachineFile(io_file.path, i_wish.stop.get_token(), [&](double i_part) {
            _Post(i_wish.number, [this, i_part] { Q_EMIT Progress(i_part); });
        });
        if (!index)
            return;
        io_file.index = std::make_shared<const MachineFileIndex>(std::move(*index));
    }
    const LayerPictures* const pictures = io_file.pictures.get();
    _Post(i_wish.number,
          [this, index = io_file.index, count = pictures ? pictures->GetCount() : 0,
           height = pictures ? pictures->GetLayerHeight() : 0, seconds = pictures ? pictures->GetSeconds() : 0] {
              _isBusy = false;
              _index = index;
              _pictureCount = count;
              _pictureHeight = height;
              _pictureSeconds = seconds;
              Q_EMIT Opened();
          });
}

void PreviewModel::_ReadLayer(const Wish& i_wish, const File& i_file)
{
    auto layer = std::make_shared<ShownLayer>();
    layer->number = *i_wish.layer;
    double middle = 0;
    if (i_file.index && layer->number < i_file.index->layers.size()) {
        const LayerSummary& summary = i_file.index->layers[layer->number];
        layer->moves = ReadLayerMoves(i_file.path, summary, i_wish.stop.get_token());
        middle = summary.z - summary.height / 2;
    } else if (i_file.pictures && layer->number < i_file.pictures->GetCount()) {
        layer->picture = i_file.pictures->Read(layer->number);
        middle = i_file.pictures->GetLayerHeight() * (static_cast<double>(layer->number) + 0.5);
    } else {
        return;
    }
    layer->outline = CutOutline(i_wish.bodies, middle);
    if (i_wish.stop.stop_requested())
        return;
    _Post(i_wish.number, [this, layer] {
        _isBusy = _wanted && *_wanted != layer->number;
        _shown = layer;
        Q_EMIT LayerShown();
    });
}

/// Dropped when another file was opened meanwhile.
void PreviewModel::_Post(int i_number, const std::function<void()>& i_what)
{
    QMetaObject::invokeMethod(
        this,
        [this, i_number, i_what] {
            if (i_number == _number)
                i_what();
        },
        Qt::QueuedConnection);
}

} // namespace Workbench
