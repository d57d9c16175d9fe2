#pragma once

#include <QAccessible>
#include <QApplication>
#include <QStringList>
#include <QWidget>

namespace kopertal::testing {

inline void collectNameless(QAccessibleInterface* node, QStringList& nameless) {
    static const QList<QAccessible::Role> named{
        QAccessible::Window,   QAccessible::Dialog,       QAccessible::Button,
        QAccessible::MenuItem, QAccessible::EditableText, QAccessible::Table,
        QAccessible::List,     QAccessible::AlertMessage, QAccessible::PageTab,
        QAccessible::CheckBox, QAccessible::Link,         QAccessible::ComboBox,
        QAccessible::SpinBox,  QAccessible::Graphic};
    if (!node->state().invisible && (node->state().focusable || named.contains(node->role())) &&
        node->text(QAccessible::Name).isEmpty())
        nameless << QString::fromLatin1(node->object() ? node->object()->metaObject()->className()
                                                       : "?");
    for (int child = 0; child < node->childCount(); ++child) {
        if (QAccessibleInterface* next = node->child(child))
            collectNameless(next, nameless);
    }
}

/// The classes of what stands in the open windows, can be worked with, and says nothing to a screen
/// reader.
inline QStringList namelessParts() {
    QStringList nameless;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->isVisible())
            collectNameless(QAccessible::queryAccessibleInterface(window), nameless);
    }
    return nameless;
}

} // namespace kopertal::testing
