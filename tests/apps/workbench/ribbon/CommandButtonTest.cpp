#include "workbench/ribbon/CommandButton.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QSignalSpy>
#include <QTest>

namespace {

TEST(CommandButtonTest, TellsWhyItIsRefusedByClickKeyAndToScreenReaders)
{
    Workbench::CommandButton button;
    button.SetTexts(QStringLiteral("Automatic Placement"), QStringLiteral("Places <parts>."));
    QSignalSpy triggered(&button, &Workbench::CommandButton::Triggered);
    QSignalSpy told(&button, &Workbench::CommandButton::RefusalShown);
    button.show();
    QAccessibleInterface* const reader = QAccessible::queryAccessibleInterface(&button);
    ASSERT_TRUE(reader);
    for (const bool is_refused : {true, false}) {
        button.SetRefusal(is_refused ? QStringLiteral("The door is open.") : QString());
        EXPECT_EQ(reader->state().disabled, is_refused);
        EXPECT_EQ(reader->role(), QAccessible::PushButton);
        EXPECT_EQ(reader->text(QAccessible::Name), QStringLiteral("Automatic Placement"));
        EXPECT_EQ(reader->text(QAccessible::Description).contains(QLatin1String("The door is open.")), is_refused);
        EXPECT_TRUE(button.toolTip().contains(QLatin1String("&lt;parts&gt;")));
        QTest::mouseClick(&button, Qt::LeftButton);
        button.setFocus();
        QTest::keyClick(&button, Qt::Key_Space);
        reader->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        EXPECT_EQ(triggered.count(), is_refused ? 0 : 3);
        EXPECT_EQ(told.count(), 3);
    }
}

} // namespace
