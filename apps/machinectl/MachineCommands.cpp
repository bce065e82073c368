#include "hosting/HostingError.h"
#include "machinectl/CommandTable.h"
#include "machinectl/Commands.h"
#include "machinectl/Groups.h"
#include "machinectl/JobJson.h"
#include "machinectl/JobViews.h"
#include "machinectl/Session.h"
#include "tavsdk/Text.h"

#include <QCoreApplication>
#include <QJsonDocument>

#include <cstdio>

namespace MachineCtl::Commands {

namespace {

using namespace Hosting;

constexpr std::size_t LongestPrinter = 64 << 10;

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(MachineCtl::MachineCommands)
};

ExitStatus Show(Session& io_session, const Jobs::Machine& i_machine)
{
    auto& console = io_session.GetConsole();
    console.Print(io_session.WantsJson()
                      ? FormatJson(ToJson(i_machine))
                      : MachineCtl::DescribeMachine(i_machine).Format(console.GetWidth(), console.IsColoured()));
    return Succeeded;
}

std::optional<double> ParseNozzle(const std::string& i_text)
{
    if (i_text.empty())
        return std::nullopt;
    constexpr double largest = 100;
    const auto number = TavSDK::ParseNumber(i_text);
    const bool isGood = number && *number > 0 && *number <= largest;
    if (!isGood)
        throw UsageError(
            Texts::tr("--nozzle is a diameter in mm of at most 100, not '%1'.").arg(QString::fromStdString(i_text)));
    return number;
}

std::string ReadInput()
{
    std::string text(LongestPrinter + 1, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), stdin));
    if (text.size() > LongestPrinter)
        throw UsageError(Texts::tr("What is read from standard input is too long to tell of a printer."));
    return text;
}

ExitStatus DescribeGroup(Session& io_session)
{
    const auto all = io_session.GetClient().GetMachines();
    const auto group = FindGroup(io_session.GetLine(), all);
    const auto machines = SelectGroup(group, all);
    auto& console = io_session.GetConsole();
    if (!io_session.WantsJson()) {
        console.Print(MakeGroupTable(group, machines).Format(console.GetWidth(), console.IsColoured()));
        return Succeeded;
    }
    QJsonArray list;
    for (const auto& machine : machines) {
        auto shown = ToJson(machine);
        shown.insert(QStringLiteral("hindrance"), FindHindrance(group, machine));
        list.append(shown);
    }
    console.Print(FormatJson(QJsonObject{{QStringLiteral("model"), QString::fromStdString(group.model)},
                                         {QStringLiteral("material"), QString::fromStdString(group.material)},
                                         {QStringLiteral("machines"), list}}));
    return Succeeded;
}

} // namespace

ExitStatus ListMachines(Session& io_session)
{
    const auto machines = io_session.GetClient().GetMachines();
    auto& console = io_session.GetConsole();
    if (io_session.WantsJson())
        console.Print(FormatJson(ToJsonArray(machines)));
    else if (machines.empty())
        console.Tell(Texts::tr("There are no machines."));
    else
        console.Print(MakeMachineTable(machines).Format(console.GetWidth(), console.IsColoured()));
    return Succeeded;
}

ExitStatus DescribeMachine(Session& io_session)
{
    const auto& line = io_session.GetLine();
    CheckOneTarget(line, !line.operands.empty());
    if (line.Has("group"))
        return DescribeGroup(io_session);
    return Show(io_session, io_session.GetClient().GetMachine(io_session.GetOperand(0)));
}

ExitStatus TellLoaded(Session& io_session)
{
    const auto& line = io_session.GetLine();
    const auto nozzle = ParseNozzle(line.Get("nozzle"));
    const auto& client = io_session.GetClient();
    const auto machine = client.GetMachine(io_session.GetOperand(0));
    auto loaded = machine.loaded;
    if (line.Has("material"))
        loaded.material = line.Get("material");
    if (line.Has("nozzle"))
        loaded.nozzle = nozzle;
    if (line.Has("plate"))
        loaded.plate = line.Get("plate");
    if (line.Has("material") || line.Has("nozzle") || line.Has("plate"))
        loaded = client.SetLoaded(machine.id, loaded).loaded;
    const auto text = FormatLoaded(loaded);
    io_session.GetConsole().Print(io_session.WantsJson()
                                      ? FormatJson(ToJson(loaded))
                                      : (text.isEmpty() ? Texts::tr("not known") : text) + QLatin1Char('\n'));
    return Succeeded;
}

ExitStatus PauseMachine(Session& io_session)
{
    return Show(io_session, io_session.GetClient().Pause(io_session.GetOperand(0), io_session.GetLine().Get("reason")));
}

ExitStatus ResumeMachine(Session& io_session)
{
    return Show(io_session, io_session.GetClient().Resume(io_session.GetOperand(0)));
}

ExitStatus TellPrinter(Session& io_session)
{
    auto printer = io_session.GetOperand(1);
    if (printer == "-")
        printer = ReadInput();
    if (printer == "none")
        printer.clear();
    QJsonParseError error;
    const bool isGood =
        printer.empty() || QJsonDocument::fromJson(QByteArray::fromStdString(printer), &error).isObject();
    if (!isGood)
        throw UsageError(
            Texts::tr("A printer is told by a JSON object, or by none; this is neither: %1.")
                .arg(error.error == QJsonParseError::NoError ? Texts::tr("it is no object") : error.errorString()));
    return Show(io_session, io_session.GetClient().SetPrinter(io_session.GetOperand(0), printer));
}

} // namespace MachineCtl::Commands
