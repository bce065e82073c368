#include "workbench/scene/Selection.h"
#include "support/HostFixture.h"

#include <QSignalSpy>

namespace {

using SelectionTest = TestSupport::HostFixture;

TEST_F(SelectionTest, IsThatOfItsSceneWhoeverChangesIt)
{
    auto& parts = _host.scene->GetParts();
    parts = {TestSupport::MakePart(L"one"), TestSupport::MakePart(L"two")};
    const auto one = parts[0].GetRevisionId();
    const auto two = parts[1].GetRevisionId();
    Workbench::Selection selection(*_host.scene);
    QSignalSpy changes(&selection, &Workbench::Selection::Changed);

    selection.Set({two, two, boost::uuids::uuid{}});
    EXPECT_EQ(_host.scene->GetSelection(), (std::vector{two}));
    selection.Toggle(one);
    EXPECT_EQ(selection.GetParts(), (std::vector{&parts[0], &parts[1]})); // as they stand in the scene
    _host.scene->SetSelection({one});
    EXPECT_EQ(selection.GetIds(), (std::vector{one}));
    _host.GetDatabase().CreateDataSet()->SetSelection({two}); // of another scene
    EXPECT_EQ(changes.count(), 3);

    _host.GetDatabase().CloseDataSet(_host.scene);
    selection.SelectAll();
    EXPECT_TRUE(selection.GetParts().empty());
}

} // namespace
