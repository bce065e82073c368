#pragma once

#include "tavam/Platform.h"
#include "vexlorcore/NotificationSender.h"
#include "vexlorcore/PropertyCollection.h"
#include "vexlorcore_export.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace VexlorCore {

class Database;

/// A part of a scene is the AM part itself.
using Part = TavAM::Part;

/// A scene: one build platform with its parts, and what the host keeps beside it.
///
/// Scenes are made by Database::CreateDataSet, which holds them by shared_ptr; code that comes back to a scene after
/// the event loop ran keeps a weak_ptr (weak_from_this) or asks Database::Contains.
///
/// Thread: UI thread.
class VEXLORCORE_EXPORT DataSet : public std::enable_shared_from_this<DataSet>
{
public:
    ~DataSet();
    DataSet(const DataSet&) = delete;
    DataSet& operator=(const DataSet&) = delete;

    /// The platform as AM object: carries the scene's persistent properties.
    TavAM::Object& GetAMObject() { return *_platform; }
    TavAM::Platform& GetPlatform() { return *_platform; }
    const TavAM::Platform& GetPlatform() const { return *_platform; }
    /// For those who take a platform as shared; the scene keeps it.
    std::shared_ptr<TavAM::Platform> SharePlatform() const { return _platform; }
    /// Takes the platform over as it is. References to the platform stay valid, those to its parts do not; parts that
    /// are gone leave the selection, which is all that is announced.
    void SetPlatform(TavAM::Platform i_platform);

    std::vector<Part>& GetParts() { return _platform->GetParts(); }
    const std::vector<Part>& GetParts() const { return _platform->GetParts(); }

    /// Revision ids of the selected parts. Setting another selection sends SelectionChanged.
    const std::vector<boost::uuids::uuid>& GetSelection() const { return _selection; }
    void SetSelection(std::vector<boost::uuids::uuid> i_selection);

    /// Stacks of slices that the host keeps with the scene beside the parts; they are not saved with the platform.
    std::size_t GetSliceStackCount() const { return _sliceStackCount; }
    void SetSliceStackCount(std::size_t i_count) { _sliceStackCount = i_count; }
    /// Parts whose core the host keeps as lattice and not as representation; they are not saved with the platform.
    std::size_t GetHybridCorePartCount() const { return _hybridCorePartCount; }
    void SetHybridCorePartCount(std::size_t i_count) { _hybridCorePartCount = i_count; }

    PropertyCollection& GetPropertyCollection() { return _properties; }
    const PropertyCollection& GetPropertyCollection() const { return _properties; }

    /// Null when the scene has none, for example while it is not part of a database.
    NotificationSender* GetNotificationSender() const { return _sender.get(); }
    void SetNotificationSender(std::unique_ptr<NotificationSender> ip_sender);
    /// Null after the database is gone.
    Database* GetDatabase() const { return _database; }

    /// File that the scene was loaded from or saved to: a full path, empty for a scene without a name.
    const std::wstring& GetFileName() const { return _fileName; }
    void SetFileName(const std::wstring& i_file_name) { _fileName = i_file_name; }

private:
    friend class Database;
    explicit DataSet(Database* ip_database);

    Database* _database;
    std::shared_ptr<TavAM::Platform> _platform;
    PropertyCollection _properties;
    std::vector<boost::uuids::uuid> _selection;
    std::unique_ptr<NotificationSender> _sender;
    std::wstring _fileName;
    std::size_t _sliceStackCount = 0;
    std::size_t _hybridCorePartCount = 0;
};

} // namespace VexlorCore
