#include "platform/ErrorMessages.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTranslator>

namespace MachineService {
namespace {

struct Row
{
    int code;
    const char* own;
    const char* shown;
};

class ErrorMessagesTest : public ::testing::TestWithParam<Row>
{};

TEST_P(ErrorMessagesTest, TableGoesBeforeTheFailuresOwnText)
{
    const Row& row = GetParam();
    EXPECT_EQ(row.shown, GetExceptionErrorMessage(CommunicationException(static_cast<ErrorCode>(row.code), row.own)));
    PlatformInfo info;
    info.code = row.code;
    info.message = row.own;
    EXPECT_EQ(row.shown, GetResultErrorMessage(info));
    CommandResult result;
    result.status = row.code;
    result.message = row.own;
    EXPECT_EQ(row.shown, GetResultErrorMessage(result));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ErrorMessagesTest,
    ::testing::Values(
        Row{0, "abc", "abc"}, Row{1, "own 100% text", "own 100% text"},
        Row{2, "", "Could not collect information about Build Processors"}, Row{3, "own", "own"}, Row{5, "own", "own"},
        Row{6, "own",
            "Build Processor command cannot be found. Please check the machine properties from the Build Processor "
            "Manager."},
        Row{7, "own", "The Build Process doesn't support report generation"},
        Row{8, "own", "Unexpected Build Processor output."}, Row{9, "own", "own"},
        Row{10, "", "Machine cannot be found. Please check the machines added to the Build Processor Manager."},
        Row{11, "own", "Build Processor queue is paused. Please resume the queue from the Build Processor Manager."},
        Row{12, "own",
            "Build Processor queue has an error. Please check the machine status from the Build Processor Manager."},
        Row{13, "own",
            "Build Processor queue is offline. Please check the connection to the network machine from the Build "
            "Processor Manager."},
        Row{14, "Unsupported input file format.", "Unsupported input file format."}, Row{14, "\xC3\xA4", "\xC3\xA4"},
        Row{15, "own", "Unsupported input file format."}, Row{16, "own", "An error occurred while processing the job."},
        Row{17, "own", "Job processing was aborted."},
        Row{18, "own", "The platform failed to be sent for processing to the Machine Manager."}, Row{19, "own", "own"},
        Row{21, "own", "own"}, Row{22, "own", "An error occurred while loading the machine."}, Row{-5, "own", "own"}));

class MarkingTranslator : public QTranslator
{
public:
    QString translate(const char* ip_context, const char* ip_text, const char*, int) const override
    {
        return QLatin1String(ip_context) + QLatin1Char('|') + QString::fromUtf8(ip_text);
    }
    bool isEmpty() const override { return false; }
};

TEST(ErrorMessages, TextsPassThroughTheHostsTranslation)
{
    MarkingTranslator translator;
    QCoreApplication::installTranslator(&translator);
    const std::string fixed = GetExceptionErrorMessage(CommunicationException(ErrorCode::ProcessingAborted));
    const std::string own = GetExceptionErrorMessage(CommunicationException(ErrorCode::FileError, "own"));
    QCoreApplication::removeTranslator(&translator);
    EXPECT_EQ("MachineService|Job processing was aborted.", fixed);
    EXPECT_EQ("MachineService|own", own);
}

} // namespace
} // namespace MachineService
