#include <QCoreApplication>

namespace Bench {

int RunAll(int i_argc, char** ip_argv);
void AddCanRunBenchmarks();
void AddCommandBenchmarks();
void AddConfigurationBenchmarks();
void AddFileBenchmarks();
void AddManagerBenchmarks();
void AddNewsBenchmarks();
void AddPlatformBenchmarks();
void AddProxyBenchmarks();
void AddSlicingBenchmarks();
void AddXmlBenchmarks();

} // namespace Bench

int main(int i_argc, char** ip_argv)
{
    QCoreApplication application(i_argc, ip_argv);
    Bench::AddCanRunBenchmarks();
    Bench::AddProxyBenchmarks();
    Bench::AddNewsBenchmarks();
    Bench::AddXmlBenchmarks();
    Bench::AddFileBenchmarks();
    Bench::AddPlatformBenchmarks();
    Bench::AddConfigurationBenchmarks();
    Bench::AddCommandBenchmarks();
    Bench::AddManagerBenchmarks();
    Bench::AddSlicingBenchmarks();
    return Bench::RunAll(i_argc, ip_argv);
}
