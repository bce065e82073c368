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
    Filtered(std::size_t i_count, Machines i_machines)
        : source(i_count, i_machines)
        , proxy(&source, AcceptAll)
    {
        proxy.Invalidate();
    }

    StubCatalog source;
    ProxyMachinesCatalog proxy;
};

std::function<Body()> MakeInvalidate(std::size_t i_count, Machines i_machines)
{
    return [i_count, i_machines]() -> Body {
        const auto filtered = std::make_shared<Filtered>(i_count, i_machines);
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
    ComparePrepared("Invalidate, 10,000 unchanged", 1.5, MakeInvalidate(10'000, Machines::Held), MakeAsking(10'000));
    // Machines that the stub holds would be measured more than the proxy: 10,000 of them fit the processor's caches,
    // 100,000 do not.
    ComparePrepared("Invalidate, 100,000 against 10,000", 14, MakeInvalidate(100'000, Machines::Made),
                    MakeInvalidate(10'000, Machines::Made));
}

} // namespace Bench
