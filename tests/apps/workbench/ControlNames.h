#pragma once

#include <QAccessible>
#include <QStringList>
#include <QWidget>

namespace TestSupport {

/// What a keyboard reaches must have a name. Parts of a control, such as the line in a spin box, go by their control's.
inline void FindNameless(QAccessibleInterface* ip_reader, QStringList& io_nameless, int& io_count)
{
    if (!ip_reader || !ip_reader->isValid() || ip_reader->state().invisible)
        return;
    const auto* const parent = ip_reader->parent();
    const bool isPart = parent && (parent->role() == QAccessible::SpinBox || parent->role() == QAccessible::ComboBox);
    if (ip_reader->state().focusable && !isPart && ip_reader->role() != QAccessible::Window) {
        ++io_count;
        const QObject* const object = ip_reader->object();
        if (ip_reader->text(QAccessible::Name).isEmpty() && object)
            io_nameless << QStringLiteral("%1 '%2' role %3")
                               .arg(QLatin1String(object->metaObject()->className()), object->objectName())
                               .arg(ip_reader->role());
    }
    for (int child = 0; child < ip_reader->childCount(); ++child)
        FindNameless(ip_reader->child(child), io_nameless, io_count);
}

/// \param i_least controls that there are; fewer mean that they were not found.
/// \return those without a name, a line each.
inline QString FindNameless(QWidget& io_widget, int i_least)
{
    QStringList nameless;
    int count = 0;
    FindNameless(QAccessible::queryAccessibleInterface(&io_widget), nameless, count);
    if (count < i_least)
        nameless << QStringLiteral("only %1 controls were found").arg(count);
    return nameless.join(QLatin1Char('\n'));
}

} // namespace TestSupport
