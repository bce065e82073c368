#include "Comparison.h"
#include "StubMachines.h"

#include "catalog/ProxyMachinesCatalog.h"

namespace Bench {

namespace {

using namespace MachineService;

bool AcceptAll(const MachineData& i_data)
{
    return !i_data.name.empty();
}

/// A proxy that knows its machines, over a source of its own.
struct Filtered
{
    explicit Filtered(std::size_t i_count)
        : source(i_count)
        , proxy(&source, AcceptAll)
    {
        proxy.Invalidate();
    }

    StubCatalog source;
    ProxyMachinesCatalog proxy;
};

std::function<Body()> MakeInvalidate(std::size_t i_count)
{
    return [i_count]() -> Body {
        const auto filtered = std::make_shared<Filtered>(i_count);
        return [filtered] {
            filtered->proxy.Invalidate();
        };
    };
}

/// What nobody can do without: asking source and rule for every machine.
std::function<Body()> MakeAsking(std::size_t i_count)
{
    return [i_count]() -> Body {
        const auto source = std::make_shared<StubCatalog>(i_count);
        return [source] {
            std::size_t accepted = 0;
            for (const auto& id : source->GetMachineIds())
                accepted += AcceptAll(source->GetMachine(id).GetMachineData()) ? 1 : 0;
            benchmark::DoNotOptimize(accepted);
        };
    };
}

} // namespace

void AddProxyBenchmarks()
{
    ComparePrepared("Invalidate, 10,000 unchanged", 1.5, MakeInvalidate(10'000), MakeAsking(10'000));
    ComparePrepared("Invalidate, 100,000 against 10,000", 14, MakeInvalidate(100'000), MakeInvalidate(10'000));
}

} // namespace Bench
