#include "workbench/machines/MachineList.h"
#include "apps/workbench/WorkbenchFixture.h"
#include "services/ServiceFiles.h"
#include "workbench/machines/MachineFilter.h"

namespace {

using namespace Workbench;
using TestSupport::WaitFor;

constexpr char Id[] = "11111111-2222-3333-4444-555555555555";

class MachineListTest : public TestSupport::WorkbenchFixture
{
protected:
    MachineListTest() { _filter.setSourceModel(&_machines); }
    bool _Start()
    {
        _host->GetClient().Start(MachineService::ServiceId::BuildProcessors);
        return WaitFor([this] { return _machines.GetMachineCount() >= 4; });
    }
    QStringList _GetShown() const
    {
        QStringList names;
        for (int service = 0; service < _filter.rowCount(); ++service) {
            const QModelIndex parent = _filter.index(service, 0);
            for (int row = 0; row < _filter.rowCount(parent); ++row)
                names << _filter.index(row, 0, parent).data().toString();
        }
        return names;
    }
    void _WriteProfile(const char* ip_state)
    {
        std::string text = MachineService::Testing::MakeProfile(Id);
        TestSupport::WriteFile(_ProfilePath("own.json"), text.replace(text.find("running"), 7, ip_state));
    }

    MachineList _machines{_host->GetClient(), *_preferences};
    MachineFilter _filter;
};

TEST_F(MachineListTest, ShowsWhatIsSearchedFor)
{
    ASSERT_TRUE(_Start());
    EXPECT_EQ(_GetShown(), (QStringList{QStringLiteral("Halcyon D260"), QStringLiteral("Kestrel 180"),
                                        QStringLiteral("Kestrel 350 Pro"), QStringLiteral("Lumen 8K")}));
    _preferences->SetFavourite(
        _machines.index(3, 0, _machines.index(0, 0)).data(MachineList::IdRole).toUuid().toString(QUuid::WithoutBraces),
        true);
    struct Row
    {
        const char* words;
        MachineFilter::Kind kind;
        QStringList expected;
    };
    using Kind = MachineFilter::Kind;
    const Row rows[] = {
        {"KES 350", Kind::All, {QStringLiteral("Kestrel 350 Pro")}},
        {"northfell", Kind::All, {QStringLiteral("Kestrel 180"), QStringLiteral("Kestrel 350 Pro")}},
        {"", Kind::Resin, {QStringLiteral("Lumen 8K")}},
        {"", Kind::Favourites, {QStringLiteral("Lumen 8K")}},
        {"180", Kind::Resin, {}},
        {"  ", Kind::Ready, _GetShown()},
    };
    for (const Row& row : rows) {
        _filter.SetWords(QLatin1String(row.words));
        _filter.SetKind(row.kind);
        EXPECT_EQ(_GetShown(), row.expected) << row.words;
        EXPECT_EQ(_filter.GetMachineCount(), row.expected.size());
    }
}

TEST_F(MachineListTest, TellsStatesAndKeepsWhatASceneIsAttachedTo)
{
    _WriteProfile("paused");
    ASSERT_TRUE(_Start());
    const auto find = [this] {
        return _machines.Find(QUuid(QLatin1String(Id)));
    };
    ASSERT_TRUE(WaitFor([&] { return find().isValid(); }));
    const auto state = [&] {
        return find().data(MachineList::StateTextRole).toString();
    };
    EXPECT_EQ(state(), QStringLiteral("Paused – The printer's queue is paused."));
    EXPECT_FALSE(find().data(Qt::DecorationRole).value<QPixmap>().isNull());
    _WriteProfile("running");
    EXPECT_TRUE(WaitFor([&] { return state() == QLatin1String("Ready"); }));
    EXPECT_TRUE(_machines.index(0, 0).data(Qt::AccessibleTextRole).toString().contains(QLatin1String("running")));

    _machines.SetAttached({{QUuid(QLatin1String(Id)), QStringLiteral("kept")}}, QUuid(QLatin1String(Id)));
    std::filesystem::remove(_ProfilePath("own.json"));
    ASSERT_TRUE(WaitFor([&] { return find().data(MachineList::GoneRole).toBool(); }));
    EXPECT_TRUE(state().startsWith(QLatin1String("Gone:")));
    EXPECT_FALSE(_machines.flags(find()) & Qt::ItemIsDragEnabled);
    _WriteProfile("running");
    EXPECT_TRUE(WaitFor([&] { return !find().data(MachineList::GoneRole).toBool(); }));
    std::filesystem::remove(_ProfilePath("own.json"));
    ASSERT_TRUE(WaitFor([&] { return find().data(MachineList::GoneRole).toBool(); }));
    _machines.SetAttached({}, {});
    EXPECT_FALSE(find().isValid());
    // One that was never seen is known by its scene.
    _machines.SetAttached({{QUuid(QLatin1String(Id)), QStringLiteral("of the file")}}, {});
    EXPECT_EQ(find().data().toString(), QStringLiteral("of the file"));
}

} // namespace
