#pragma once

#include "vexlorcore_export.h"

#include <cstdint>

namespace VexlorCore {

class DataSet;

/// Actions on the database that an operation can report when it completed; flags.
enum class DatabaseAction : std::uint32_t
{
    None = 0,
    PartsAdded = 1,
    PartsRemoved = 2,
    PartsMoved = 4,
    PropertiesChanged = 8,
    /// The operation changed which platform is current, for example by undoing its removal.
    PlatformChanged = 4096,
};

/// Something that happened in the host. Listeners tell the kinds apart with dynamic_cast.
///
/// Thread: UI thread. A notification lives only while it is delivered; do not keep it.
class VEXLORCORE_EXPORT INotification
{
public:
    virtual ~INotification();
};

/// The active scene of the database changed.
class VEXLORCORE_EXPORT DataSetActivated final : public INotification
{
public:
    ~DataSetActivated() override;
};

class VEXLORCORE_EXPORT DataSetCopied final : public INotification
{
public:
    DataSetCopied(DataSet* ip_original, DataSet* ip_copied)
        : _original(ip_original)
        , _copied(ip_copied)
    {}
    ~DataSetCopied() override;
    DataSet* GetOriginal() const { return _original; }
    DataSet* GetCopied() const { return _copied; }

private:
    DataSet* _original;
    DataSet* _copied;
};

class VEXLORCORE_EXPORT OperationCompleted final : public INotification
{
public:
    explicit OperationCompleted(std::uint32_t i_actions)
        : _actions(i_actions)
    {}
    ~OperationCompleted() override;
    bool HasDatabaseAction(DatabaseAction i_action) const
    {
        return (_actions & static_cast<std::uint32_t>(i_action)) != 0;
    }

private:
    std::uint32_t _actions;
};

class VEXLORCORE_EXPORT BeforeExecuteOperation final : public INotification
{
public:
    ~BeforeExecuteOperation() override;
};

class VEXLORCORE_EXPORT AfterExecuteOperation final : public INotification
{
public:
    ~AfterExecuteOperation() override;
};

class VEXLORCORE_EXPORT SelectionChanged final : public INotification
{
public:
    ~SelectionChanged() override;
};

/// Base of the notifications about one scene.
class VEXLORCORE_EXPORT DataSetNotification : public INotification
{
public:
    explicit DataSetNotification(DataSet* ip_data_set)
        : _dataSet(ip_data_set)
    {}
    ~DataSetNotification() override;
    DataSet* GetDataSet() const { return _dataSet; }

private:
    DataSet* _dataSet;
};

/// Raised before a scene is destroyed; the scene is still whole.
class VEXLORCORE_EXPORT DataSetClosing final : public DataSetNotification
{
public:
    using DataSetNotification::DataSetNotification;
    ~DataSetClosing() override;
};

/// The machine attached to the scene is not there any more; the attachment itself is unchanged.
class VEXLORCORE_EXPORT BPPlatformDetached final : public DataSetNotification
{
public:
    using DataSetNotification::DataSetNotification;
    ~BPPlatformDetached() override;
};

/// Another machine, or none, is attached to the scene.
class VEXLORCORE_EXPORT BPQueueChanged final : public DataSetNotification
{
public:
    using DataSetNotification::DataSetNotification;
    ~BPQueueChanged() override;
};

/// The configuration of the scene's machine is newer than the one that the scene was prepared for.
class VEXLORCORE_EXPORT BPPlatformRevisionChanged final : public DataSetNotification
{
public:
    using DataSetNotification::DataSetNotification;
    ~BPPlatformRevisionChanged() override;
};

} // namespace VexlorCore
