#include "ui/AccessibleRole.h"

#include <QAbstractButton>
#include <QAccessibleWidget>
#include <QVariant>

namespace morvik {
namespace {

const char* const roleProperty = "morvikRole";

class RoleInterface : public QAccessibleWidget {
public:
    RoleInterface(QWidget* widget, QAccessible::Role role) : QAccessibleWidget(widget, role) {}

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        if (role() == QAccessible::Dialog)
            state.modal = true;
        if (role() == QAccessible::PageTab) {
            state.selectable = true;
            state.selected = button() && button()->isChecked();
        }
        return state;
    }

    QString text(QAccessible::Text kind) const override {
        QString text = QAccessibleWidget::text(kind);
        if (kind == QAccessible::Name && text.isEmpty() && button())
            text = button()->text();
        return text;
    }

    QStringList actionNames() const override {
        QStringList names = QAccessibleWidget::actionNames();
        if (button() && button()->isEnabled())
            names.prepend(pressAction());
        return names;
    }

    void doAction(const QString& name) override {
        if (button() && name == pressAction())
            button()->animateClick();
        else
            QAccessibleWidget::doAction(name);
    }

private:
    QAbstractButton* button() const { return qobject_cast<QAbstractButton*>(widget()); }
};

QAccessibleInterface* makeInterface(const QString&, QObject* object) {
    auto* widget = qobject_cast<QWidget*>(object);
    const QVariant role = widget ? widget->property(roleProperty) : QVariant();
    return role.isValid() ? new RoleInterface(widget, static_cast<QAccessible::Role>(role.toInt()))
                          : nullptr;
}

} // namespace

void setAccessibleRole(QWidget* widget, QAccessible::Role role) {
    [[maybe_unused]] static const bool isInstalled = [] {
        QAccessible::installFactory(makeInterface);
        return true;
    }();
    widget->setProperty(roleProperty, static_cast<int>(role));
    if (QAccessible::isActive()) // a base class may have been asked for one already
        QAccessible::deleteAccessibleInterface(
            QAccessible::uniqueId(QAccessible::queryAccessibleInterface(widget)));
}

} // namespace morvik
