#include "vexlorcore/Notifications.h"

namespace VexlorCore {

// Here, so that each class has one vtable: listeners in other libraries ask for the class of a notification, and
// compilers may answer for a final class by comparing vtables.
INotification::~INotification() = default;
DataSetActivated::~DataSetActivated() = default;
DataSetCopied::~DataSetCopied() = default;
OperationCompleted::~OperationCompleted() = default;
BeforeExecuteOperation::~BeforeExecuteOperation() = default;
AfterExecuteOperation::~AfterExecuteOperation() = default;
SelectionChanged::~SelectionChanged() = default;
DataSetNotification::~DataSetNotification() = default;
DataSetClosing::~DataSetClosing() = default;
BPPlatformDetached::~BPPlatformDetached() = default;
BPQueueChanged::~BPQueueChanged() = default;
BPPlatformRevisionChanged::~BPPlatformRevisionChanged() = default;

} // namespace VexlorCore
