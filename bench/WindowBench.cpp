#include "Comparison.h"
#include "PlateBench.h"

#include "workbench/MainWindow.h"
#include "workbench/base/Preferences.h"
#include "workbench/look/ThemePalette.h"
#include "workbench/machines/MachineFilter.h"
#include "workbench/machines/MachineList.h"
#include "workbench/preview/MachineFileIndex.h"

#include "hosting/Host.h"
#include "hosting/PluginUtility.h"

#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QLocalServer>
#include <QMainWindow>
#include <QProcess>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <numbers>

// Of the window, in a program of its own: it has the real services behind it, and widgets.

namespace Bench {

int RunAll(int i_argc, char** ip_argv);

namespace {

using namespace Workbench;

bool WaitFor(const std::function<bool()>& i_condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!i_condition() && timer.elapsed() < 120'000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    return i_condition();
}

/// Until something of the window was painted; a window that is covered by its parts paints nothing of its own.
void ShowUntilPainted(QMainWindow& io_window)
{
    class Painted final : public QObject
    {
    public:
        explicit Painted(const QMainWindow& i_window)
            : _window(i_window)
        {}
        bool isPainted = false;

    protected:
        bool eventFilter(QObject* ip_object, QEvent* ip_event) override
        {
            const auto* const widget = ip_object->isWidgetType() ? static_cast<QWidget*>(ip_object) : nullptr;
            isPainted = isPainted || (ip_event->type() == QEvent::Paint && widget && widget->window() == &_window);
            return false;
        }

    private:
        const QMainWindow& _window;
    } painted(io_window);
    QCoreApplication::instance()->installEventFilter(&painted);
    io_window.show();
    if (!WaitFor([&] { return painted.isPainted; }))
        throw std::runtime_error("the window was not painted");
}

/// Services, folders and settings as at a first start.
struct Start
{
    explicit Start(Hosting::ServiceChoice i_services = {})
    {
        for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
            qputenv(name, dir.filePath(QLatin1String(name)).toUtf8());
        host = std::make_unique<Hosting::Host>(GetPath("documents"), GetPath("data"), std::move(i_services));
        preferences = std::make_unique<Preferences>(dir.filePath(QStringLiteral("a.ini")));
    }
    std::filesystem::path GetPath(const char* ip_name) const
    {
        return dir.filePath(QLatin1String(ip_name)).toStdString();
    }

    QTemporaryDir dir;
    std::unique_ptr<Hosting::Host> host;
    std::unique_ptr<Preferences> preferences;
};

Body MakeFirstPaint()
{
    const auto start = std::make_shared<Start>();
    return [start] {
        MainWindow window(*start->host, *start->preferences, start->dir.filePath(QStringLiteral("recovery")));
        ShowUntilPainted(window);
    };
}

std::shared_ptr<QStandardItemModel> MakeMachines()
{
    const auto model = std::make_shared<QStandardItemModel>();
    auto* const service = new QStandardItem(QStringLiteral("Service"));
    model->appendRow(service);
    for (int number = 0; number < 1000; ++number) {
        auto* const machine = new QStandardItem(QStringLiteral("Machine %1").arg(number));
        machine->setData(QStringLiteral("machine %1 maker %2 200 × 200 × 200 mm").arg(number).arg(number % 7),
                         MachineList::SearchRole);
        machine->setData(QUuid::createUuid(), MachineList::IdRole);
        service->appendRow(machine);
    }
    return model;
}

const QStringList Keys{QStringLiteral("m"),
                       QStringLiteral("ma"),
                       QStringLiteral("mak"),
                       QStringLiteral("make"),
                       QStringLiteral("maker"),
                       QStringLiteral("maker 3"),
                       QString()};

/// As a view does: until somebody asks, a filter has not filtered.
void CountRows(const QAbstractItemModel& i_model)
{
    benchmark::DoNotOptimize(i_model.rowCount(i_model.index(0, 0)));
}

Body MakeSearch()
{
    const auto model = MakeMachines();
    const auto filter = std::make_shared<MachineFilter>();
    filter->setSourceModel(model.get());
    return [model, filter] {
        for (const QString& words : Keys) {
            filter->SetWords(words);
            CountRows(*filter);
        }
    };
}

Body MakeBareSearch()
{
    const auto model = MakeMachines();
    const auto filter = std::make_shared<QSortFilterProxyModel>();
    filter->setSourceModel(model.get());
    filter->setRecursiveFilteringEnabled(true);
    filter->setFilterRole(MachineList::SearchRole);
    return [model, filter] {
        for (const QString& words : Keys) {
            filter->setFilterFixedString(words);
            CountRows(*filter);
        }
    };
}

/// 100 MB of what an engine writes: rings, layer by layer.
void WriteMachineFile(const QTemporaryDir& i_dir)
{
    std::ofstream file(i_dir.filePath(QStringLiteral("a.gcode")).toStdString());
    char line[100];
    std::size_t size = 0;
    for (int layer = 1; size < 100'000'000; ++layer) {
        file << ";LAYER_CHANGE\n;TYPE:External perimeter\nG1 Z" << layer * 0.2 << " F9000\n";
        for (int step = 0; step < 2000; ++step) {
            const double turn = step * 2 * std::numbers::pi / 2000;
            std::snprintf(line, sizeof(line), "G1 X%.3f Y%.3f E%.5f\n", 100 + 60 * std::cos(turn),
                          100 + 60 * std::sin(turn), 0.00627);
            file << line;
            size += std::strlen(line);
        }
    }
}

/// Written once, for that takes longer than anything that is measured.
std::string GetMachineFile()
{
    static const QTemporaryDir mgp_dir;
    static const bool mgp_isWritten = (WriteMachineFile(mgp_dir), true);
    benchmark::DoNotOptimize(mgp_isWritten);
    return mgp_dir.filePath(QStringLiteral("a.gcode")).toStdString();
}

Body MakeIndexing()
{
    return [file = GetMachineFile()] {
        benchmark::DoNotOptimize(IndexMachineFile(file, {}, {}));
    };
}

Body MakeReadingOfLines()
{
    return [path = GetMachineFile()] {
        std::ifstream file(path);
        std::size_t bytes = 0;
        for (std::string line; std::getline(file, line);)
            bytes += line.size();
        benchmark::DoNotOptimize(bytes);
    };
}

/// A ball of two million triangles as binary STL.
void WriteBall(const std::filesystem::path& i_path)
{
    constexpr std::uint32_t rings = 1000;
    std::string bytes(84, '\0');
    const auto put = [&](double i_ring, double i_step) {
        const double up = std::numbers::pi * i_ring / rings;
        const double turn = 2 * std::numbers::pi * i_step / rings;
        const float point[] = {static_cast<float>(20 * std::sin(up) * std::cos(turn)),
                               static_cast<float>(20 * std::sin(up) * std::sin(turn)),
                               static_cast<float>(20 * std::cos(up))};
        bytes.append(reinterpret_cast<const char*>(point), sizeof(point));
    };
    for (std::uint32_t ring = 0; ring < rings; ++ring) {
        for (std::uint32_t step = 0; step < rings; ++step) {
            for (const bool is_lower : {false, true}) {
                bytes.append(12, '\0');
                put(ring + (is_lower ? 1 : 0), step);
                put(ring + 1, is_lower ? step + 1 : step);
                put(ring, step + 1);
                bytes.append(2, '\0');
            }
        }
    }
    const std::uint32_t count = 2 * rings * rings;
    std::memcpy(bytes.data() + 80, &count, sizeof(count));
    std::ofstream(i_path, std::ios::binary) << bytes;
}

/// Says yes to what the window asks and tells, as a user would who is not there.
class Acceptor final : public QObject
{
public:
    Acceptor()
    {
        QObject::connect(&_timer, &QTimer::timeout, this, [] {
            for (QWidget* const widget : QApplication::topLevelWidgets()) {
                auto* const dialog = qobject_cast<QDialog*>(widget);
                if (dialog && dialog->isVisible())
                    dialog->accept();
            }
        });
        _timer.start(100);
    }

private:
    QTimer _timer;
};

/// Start, import, attach, a platform, a build that is cancelled, one that comes to its end: the longest time for which
/// the window did not listen.
double MeasureLongestTurn()
{
    const Start start;
    const Acceptor acceptor;
    WriteBall(start.GetPath("ball.stl"));
    MainWindow window(*start.host, *start.preferences, start.dir.filePath(QStringLiteral("recovery")));
    ShowUntilPainted(window);
    QUuid machine;
    const auto find = [&] {
        const auto& machines = window.GetMachines();
        for (int row = 0; row < machines.rowCount(machines.index(0, 0)); ++row) {
            const auto index = machines.index(row, 0, machines.index(0, 0));
            if (index.data().toString() == QLatin1String("Kestrel 180"))
                machine = index.data(MachineList::IdRole).toUuid();
        }
        return !machine.isNull();
    };
    if (!WaitFor(find))
        throw std::runtime_error("the services have no machine");
    window.TakeFiles({QString::fromStdString(start.GetPath("ball.stl").string())});
    WaitFor([&] { return window.GetBook().GetActive() && !window.GetBook().GetActive()->GetParts().empty(); });
    window.Attach(machine);
    WaitFor([&] { return !window.GetBook().IsBusy(); });
    window.NewPlatform();
    WaitFor([&] { return !window.GetBook().IsBusy(); });
    QTimer cancel;
    QObject::connect(&cancel, &QTimer::timeout, &window, &MainWindow::CancelJob);
    cancel.start(2000);
    window.RunCommand(QStringLiteral("Print3D.Print"));
    cancel.stop();
    window.RunCommand(QStringLiteral("Print3D.Print"));
    if (window.GetJobs().index(0, JobList::StateColumn).data().toString() != QLatin1String("Done"))
        throw std::runtime_error("nothing was built");
    WaitFor([&] { return !window.GetBook().IsBusy(); });
    return static_cast<double>(window.GetLoopWatch().GetLongest().count()) / 1000;
}

/// One service accepts connections and never answers; another one has a thousand machines, none, and so on, and goes.
double MeasureLongestTurnOfServices()
{
    constexpr int machines = 1000;
    QProcess service;
    service.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    service.start(QCoreApplication::applicationDirPath() + QStringLiteral("/wire_benchmarks"),
                  {QStringLiteral("--serve")});
    if (!service.waitForReadyRead())
        throw std::runtime_error("the service does not start");
    const std::string address = service.readLine().trimmed().toStdString();
    const QTemporaryDir dir;
    QLocalServer silent;
    silent.listen(dir.filePath(QStringLiteral("silent")));
    const Start start(Hosting::ChooseServices({"unix:" + silent.fullServerName().toStdString(), address}));
    start.preferences->SetShowsAllMachines(true);
    MainWindow window(*start.host, *start.preferences, start.dir.filePath(QStringLiteral("recovery")));
    ShowUntilPainted(window);
    const auto count = [&] {
        const auto& list = window.GetMachines();
        int sum = 0;
        for (int row = 0; row < list.rowCount(); ++row)
            sum += list.rowCount(list.index(row, 0));
        return sum;
    };
    for (const int number : {machines, 0, machines, 0, machines}) {
        service.write(QByteArray::number(number) + '\n');
        if (!WaitFor([&] { return count() == number; }))
            throw std::runtime_error("the machines were not told");
    }
    service.kill();
    const auto isTrouble = [&] {
        const auto& list = window.GetMachines();
        for (int row = 0; row < list.rowCount(); ++row) {
            const auto index = list.index(row, 0);
            if (list.rowCount(index) > 0 && index.data(MachineList::TroubleRole).toBool())
                return true;
        }
        return false;
    };
    if (!WaitFor(isTrouble))
        throw std::runtime_error("that the service went was not told");
    return static_cast<double>(window.GetLoopWatch().GetLongest().count()) / 1000;
}

} // namespace

void AddWindowBenchmarks()
{
    ComparePrepared("first paint of the window", 2.0, &MakeFirstPaint, [] {
        return [] {
            QMainWindow window;
            window.resize(1280, 800);
            ShowUntilPainted(window);
        };
    });
    ComparePrepared("seven keys in a search, 1,000 machines", 3.0, &MakeSearch, &MakeBareSearch);
    ComparePrepared("index of a machine file, 100 MB", 3.0, &MakeIndexing, &MakeReadingOfLines);
    Limit("longest turn of the event loop", 0.1, "s", &MeasureLongestTurn, 1);
    Limit("longest turn, services in trouble", 0.1, "s", &MeasureLongestTurnOfServices, 1);
}

} // namespace Bench

int main(int i_argc, char** ip_argv)
{
    QApplication application(i_argc, ip_argv);
    Workbench::ApplyTheme(false);
    Bench::AddWindowBenchmarks();
    Bench::AddPlateBenchmarks();
    return Bench::RunAll(i_argc, ip_argv);
}
