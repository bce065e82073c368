#include "platform/ErrorMessages.h"
#include "support/Test.h"

namespace {

using namespace MachineService;

TEST(ErrorMessagesTest, TableGoesBeforeTheFailuresOwnText)
{
    const struct
    {
        int code;
        const char* own;
        const char* shown;
    } rows[] = {
        {0, "abc", "abc"},
        {1, "own 100% text", "own 100% text"},
        {2, "", "Could not collect information about Build Processors"},
        {3, "own", "own"},
        {5, "own", "own"},
        {6, "own",
         "Build Processor command cannot be found. Please check the machine properties from the Build Processor "
         "Manager."},
        {7, "own", "The Build Process doesn't support report generation"},
        {8, "own", "Unexpected Build Processor output."},
        {9, "own", "own"},
        {10, "", "Machine cannot be found. Please check the machines added to the Build Processor Manager."},
        {11, "own", "Build Processor queue is paused. Please resume the queue from the Build Processor Manager."},
        {12, "own",
         "Build Processor queue has an error. Please check the machine status from the Build Processor Manager."},
        {13, "own",
         "Build Processor queue is offline. Please check the connection to the network machine from the Build "
         "Processor Manager."},
        {14, "Unsupported input file format.", "Unsupported input file format."},
        {14, "\xC3\xA4", "\xC3\xA4"},
        {15, "own", "Unsupported input file format."},
        {16, "own", "An error occurred while processing the job."},
        {17, "own", "Job processing was aborted."},
        {18, "own", "The platform failed to be sent for processing to the Machine Manager."},
        {19, "own", "own"},
        {21, "own", "own"},
        {22, "own", "An error occurred while loading the machine."},
        {-5, "own", "own"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.shown,
                  GetExceptionErrorMessage(CommunicationException(static_cast<ErrorCode>(row.code), row.own)));
        PlatformInfo info;
        info.code = row.code;
        info.message = row.own;
        EXPECT_EQ(row.shown, GetResultErrorMessage(info));
        CommandResult result;
        result.status = row.code;
        result.message = row.own;
        EXPECT_EQ(row.shown, GetResultErrorMessage(result));
    }
}

} // namespace
