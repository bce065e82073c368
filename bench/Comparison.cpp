#include "Comparison.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace Bench {

namespace {

struct Row
{
    std::string name;
    double bound = 0;
    double limit = 0; ///< of a Limit; otherwise 0
    double enough = 0;
    std::string unit;
    std::vector<double> ours;
    std::vector<double> floor;
};

std::vector<Row>& Rows()
{
    static std::vector<Row> mgp_rows;
    return mgp_rows;
}

void Register(const std::string& i_name, std::function<Body()> i_make)
{
    benchmark::RegisterBenchmark(i_name.c_str(), [make = std::move(i_make)](benchmark::State& io_state) {
        const Body body = make();
        for (auto _ : io_state)
            body();
    })->UseRealTime();
}

double Median(std::vector<double> i_values)
{
    std::sort(i_values.begin(), i_values.end());
    return i_values[i_values.size() / 2];
}

std::string Format(double i_value, const std::string& i_unit)
{
    char text[64];
    if (i_unit == "bytes")
        std::snprintf(text, sizeof text, "%.0f B", i_value);
    else if (i_unit != "s")
        std::snprintf(text, sizeof text, "%.1f", i_value);
    else if (i_value < 1e-6)
        std::snprintf(text, sizeof text, "%.1f ns", i_value * 1e9);
    else if (i_value < 1e-3)
        std::snprintf(text, sizeof text, "%.2f us", i_value * 1e6);
    else
        std::snprintf(text, sizeof text, "%.2f ms", i_value * 1e3);
    return text;
}

/// Gathers the repetitions; a row is printed when it has all of them.
class Collector final : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& i_runs) override
    {
        for (const Run& run : i_runs) {
            if (run.run_type != Run::RT_Iteration)
                continue;
            const std::string name = run.run_name.function_name;
            const auto value = run.counters.find("value");
            const double measured = value != run.counters.end()
                                        ? static_cast<double>(value->second)
                                        : run.real_accumulated_time / static_cast<double>(run.iterations);
            for (Row& row : Rows()) {
                if (name == row.name + "/ours")
                    row.ours.push_back(measured);
                else if (name == row.name + "/floor")
                    row.floor.push_back(measured);
            }
        }
    }
};

void PrintHeading()
{
    std::printf("%-52s %12s %12s %8s %8s\n", "name", "ours", "floor", "ratio", "bound");
}

/// At once: some rows take minutes.
/// \return false when it exceeds its bound.
bool Print(const Row& i_row)
{
    // One side alone, as profiles are taken of.
    if (i_row.ours.empty() || (i_row.limit <= 0 && i_row.floor.empty()))
        return true;
    const double ours = Median(i_row.ours);
    const double floor = i_row.limit > 0 ? i_row.limit : Median(i_row.floor);
    const double ratio = ours / floor;
    const bool isEnough = ours <= i_row.enough;
    const bool exceeds = ratio > i_row.bound && !isEnough;
    std::printf("%-52s %12s %12s %8.2f %8.2f%s\n", i_row.name.c_str(), Format(ours, i_row.unit).c_str(),
                Format(floor, i_row.unit).c_str(), ratio, i_row.bound,
                exceeds               ? "  EXCEEDED"
                : ratio > i_row.bound ? "  fast enough"
                                      : "");
    std::fflush(stdout);
    return !exceeds;
}

/// For a regular expression.
std::string Escape(const std::string& i_name)
{
    std::string escaped;
    for (const char character : i_name) {
        if (std::strchr(".[]{}()*+?^$|\\", character) != nullptr)
            escaped += '\\';
        escaped += character;
    }
    return escaped;
}

/// Mutexes are free of charge in a process with one thread; no host is one.
class SecondThread
{
public:
    SecondThread()
        : _thread([this] {
            std::unique_lock lock(_mutex);
            _wakeUp.wait(lock, [this] { return _stop; });
        })
    {}
    ~SecondThread()
    {
        {
            const std::lock_guard lock(_mutex);
            _stop = true;
        }
        _wakeUp.notify_all();
        _thread.join();
    }

private:
    std::mutex _mutex; // guards _stop
    std::condition_variable _wakeUp;
    bool _stop = false;
    std::thread _thread;
};

} // namespace

void Compare(const std::string& i_name, double i_bound, Body i_ours, Body i_floor, double i_enough)
{
    ComparePrepared(
        i_name, i_bound, [ours = std::move(i_ours)] { return ours; }, [floor = std::move(i_floor)] { return floor; },
        i_enough);
}

void ComparePrepared(const std::string& i_name, double i_bound, std::function<Body()> i_make_ours,
                     std::function<Body()> i_make_floor, double i_enough)
{
    Rows().push_back({i_name, i_bound, 0, i_enough, "s", {}, {}});
    Register(i_name + "/ours", std::move(i_make_ours));
    Register(i_name + "/floor", std::move(i_make_floor));
}

void Limit(const std::string& i_name, double i_limit, const std::string& i_unit, std::function<double()> i_measure,
           int i_repetitions)
{
    Rows().push_back({i_name, 1, i_limit, 0, i_unit, {}, {}});
    benchmark::RegisterBenchmark((i_name + "/ours").c_str(),
                                 [measure = std::move(i_measure)](benchmark::State& io_state) {
                                     double value = 0;
                                     for (auto _ : io_state)
                                         value = measure();
                                     io_state.counters["value"] = value;
                                 })
        ->Iterations(1)
        ->Repetitions(i_repetitions);
}

int RunAll(int i_argc, char** ip_argv)
{
    const std::string repetitions = "--benchmark_repetitions=" + std::to_string(UsualRepetitions);
    std::vector<std::string> arguments = {ip_argv[0], repetitions, "--benchmark_enable_random_interleaving=true",
                                          "--benchmark_min_time=0.05"};
    arguments.insert(arguments.end(), ip_argv + 1, ip_argv + i_argc);
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    int count = static_cast<int>(pointers.size());
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data()))
        return 2;
    const SecondThread second;
    Collector collector;
    const bool isFiltered = std::any_of(arguments.begin(), arguments.end(), [](const std::string& i_argument) {
        return i_argument.find("--benchmark_filter") == 0;
    });
    if (isFiltered)
        benchmark::RunSpecifiedBenchmarks(&collector);
    PrintHeading();
    bool isWithin = true;
    for (const Row& row : Rows()) {
        // Row by row, so that the two sides of a row alternate within seconds and meet the same heap and caches.
        if (!isFiltered)
            benchmark::RunSpecifiedBenchmarks(&collector, nullptr, '^' + Escape(row.name) + '/');
        isWithin = Print(row) && isWithin;
    }
    return isWithin ? 0 : 1;
}

} // namespace Bench
