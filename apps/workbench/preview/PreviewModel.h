#pragma once

#include "workbench/preview/LayerPictures.h"
#include "workbench/preview/MachineFileIndex.h"

#include "tavam/Geometry.h"

#include <QImage>
#include <QLineF>
#include <QObject>
#include <QString>
#include <QVector>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace VexlorCore {
class DataSet;
}

namespace Workbench {

/// A mesh of a part, and where it stands.
struct OutlinedBody
{
    std::shared_ptr<const TavAM::Mesh> mesh;
    TavAM::Transform placement;
};

/// Where a level plane cuts the bodies. Units: mm.
/// Thread: any.
QVector<QLineF> CutOutline(const std::vector<OutlinedBody>& i_bodies, double i_z);

/// One layer with all that is shown of it.
struct ShownLayer
{
    std::size_t number = 0; ///< from 0
    std::vector<LayerMove> moves;
    QImage picture;          ///< of a resin printer's layer; null otherwise
    QVector<QLineF> outline; ///< of the parts of the scene, mm
};

/// A machine file that is looked at: read by a thread of its own, one layer of it in memory.
///
/// Order: Progress() while the file is indexed, then Opened() or Failed(); after it LayerShown() for the layer asked
/// for last.
/// Thread: UI thread.
class PreviewModel final : public QObject
{
    Q_OBJECT

public:
    explicit PreviewModel(QObject* ip_parent = nullptr);
    /// Waits for the reading at hand to be given up, some milliseconds.
    ~PreviewModel() override;

    /// Gives up what is read at the time. The file must stay where it is while it is shown.
    void Open(const std::filesystem::path& i_path);
    /// The parts whose outline lies over the layers. Null: none.
    void SetParts(const VexlorCore::DataSet* ip_scene);
    /// The layer that is wanted; earlier wishes that were not met are dropped.
    void ShowLayer(std::size_t i_number);

    bool IsBusy() const { return _isBusy; }
    bool HasFile() const { return _index || _pictureCount > 0; }
    bool HasPictures() const { return _pictureCount > 0; }
    std::size_t GetLayerCount() const { return _index ? _index->layers.size() : _pictureCount; }
    /// Null for pictures.
    const MachineFileIndex* GetIndex() const { return _index.get(); }
    /// Units: seconds; 0 when nobody knows.
    double GetLayerSeconds(std::size_t i_number) const;
    double GetSeconds() const;
    /// Top of the layer. Units: mm.
    double GetLayerTop(std::size_t i_number) const;
    /// Null until one is shown.
    const std::shared_ptr<const ShownLayer>& GetShown() const { return _shown; }
    const QString& GetFailure() const { return _failure; }

Q_SIGNALS:
    void Progress(double i_part);
    void Opened();
    void Failed(const QString& i_reason);
    void LayerShown();

private:
    struct Wish
    {
        std::optional<std::filesystem::path> file; ///< to be opened; empty: a layer of the one that is open
        std::optional<std::size_t> layer;
        std::vector<OutlinedBody> bodies;
        std::stop_source stop;
        int number = 0;
    };
    /// What the thread has open.
    struct File
    {
        std::filesystem::path path;
        std::shared_ptr<const MachineFileIndex> index;
        std::unique_ptr<LayerPictures> pictures;
    };

    void _Send(Wish i_wish);
    void _Work(const std::stop_token& i_stop);
    void _OpenFile(const Wish& i_wish, File& io_file);
    void _ReadLayer(const Wish& i_wish, const File& i_file);
    void _Post(int i_number, const std::function<void()>& i_what);

    std::shared_ptr<const MachineFileIndex> _index;
    std::size_t _pictureCount = 0;
    double _pictureHeight = 0;
    double _pictureSeconds = 0;
    std::shared_ptr<const ShownLayer> _shown;
    std::vector<OutlinedBody> _bodies;
    std::optional<std::size_t> _wanted;
    QString _failure;
    bool _isBusy = false;
    int _number = 0; ///< of the file that was opened last

    std::mutex _mutex; ///< guards _wish and _running
    std::condition_variable_any _wake;
    std::optional<Wish> _wish; ///< the next one
    std::stop_source _running; ///< of the one at hand
    std::jthread _worker;      ///< last: ended before what it uses goes
};

} // namespace Workbench
