#include "app/shell/WindowMemory.h"

#include "ui/Splitter.h"
#include "ui/TableView.h"

#include <QCoreApplication>
#include <QEvent>
#include <QJsonArray>
#include <QScreen>
#include <QWidget>

#include <algorithm>
#include <utility>

namespace kopertal {
namespace {

const auto layoutKey = QStringLiteral("window.layout");
const auto sizeKey = QStringLiteral("size");
const auto maximizedKey = QStringLiteral("isMaximized");

/// The splitter's own minimums bound what is left.
bool areSizes(const QList<int>& sizes, const morvik::Splitter& splitter) {
    const int most = splitter.screen()->availableSize().width();
    return sizes.size() == splitter.count() &&
           std::all_of(sizes.begin(), sizes.end(),
                       [most](int size) { return size > 0 && size <= most; });
}

} // namespace

WindowMemory::WindowMemory(PreferencesStore store, QWidget& window)
    : m_store(std::move(store)),
      m_window(window),
      m_stored(m_store.object(layoutKey).value_or(QJsonObject())),
      m_layout(m_stored) {
    restoreWindow();
    watch(&window);
    connect(qApp, &QCoreApplication::aboutToQuit, this, &WindowMemory::save);
}

void WindowMemory::restoreWindow() {
    const QList<int> size = numbers(sizeKey);
    if (size.size() == 2 && size[0] > 0 && size[1] > 0)
        m_window.resize(QSize(size[0], size[1])
                            .boundedTo(m_window.screen()->availableSize())
                            .expandedTo(m_window.minimumSizeHint()));
    if (m_layout.value(maximizedKey).toBool())
        m_window.setWindowState(m_window.windowState() | Qt::WindowMaximized);
}

void WindowMemory::restore(QWidget& page) {
    for (auto* splitter : page.findChildren<morvik::Splitter*>()) {
        if (splitter->objectName().isEmpty())
            continue;
        const QList<int> sizes = numbers(splitter->objectName());
        if (areSizes(sizes, *splitter))
            splitter->setSizes(sizes);
        watch(splitter);
        for (int pane = 0; pane < splitter->count(); ++pane) // which may hide by themselves
            splitter->widget(pane)->installEventFilter(this);
    }
    for (auto* table : page.findChildren<morvik::TableView*>()) {
        if (table->objectName().isEmpty())
            continue;
        table->setColumns(numbers(table->objectName()));
        watch(table);
    }
}

void WindowMemory::watch(QWidget* part) {
    m_parts << part;
    part->installEventFilter(this);
    connect(part, &QObject::destroyed, this, [this, part] { m_parts.removeOne(part); });
}

bool WindowMemory::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Hide) {
        const auto* widget = static_cast<QWidget*>(watched);
        remember(m_parts.contains(widget) ? widget : widget->parentWidget());
    }
    return QObject::eventFilter(watched, event);
}

void WindowMemory::remember(const QWidget* part) {
    if (const auto* splitter = qobject_cast<const morvik::Splitter*>(part)) {
        const QList<int> sizes = splitter->sizes();
        if (areSizes(sizes, *splitter)) // not while a pane is hidden
            setNumbers(part->objectName(), sizes);
    } else if (const auto* table = qobject_cast<const morvik::TableView*>(part)) {
        setNumbers(part->objectName(), table->columns());
    } else {
        const bool isWhole = part->isMaximized() || part->isFullScreen();
        const QSize size = isWhole ? part->normalGeometry().size() : part->size();
        if (size.isValid()) // a window that began maximised may have no other size yet
            setNumbers(sizeKey, {size.width(), size.height()});
        m_layout.insert(maximizedKey, part->isMaximized());
    }
}

bool WindowMemory::save() {
    for (const QWidget* part : std::as_const(m_parts)) {
        if (part->isVisible())
            remember(part);
    }
    if (m_layout == m_stored)
        return true;
    m_stored = m_layout;
    return m_store.setObject(layoutKey, m_layout);
}

/// Empty when it is no list of whole numbers.
QList<int> WindowMemory::numbers(const QString& key) const {
    constexpr int none = -1;
    QList<int> numbers;
    for (const auto& value : m_layout.value(key).toArray()) {
        numbers << value.toInt(none);
        if (numbers.back() == none)
            return {};
    }
    return numbers;
}

void WindowMemory::setNumbers(const QString& key, const QList<int>& numbers) {
    QJsonArray array;
    for (const int number : numbers)
        array << number;
    m_layout.insert(key, array);
}

} // namespace kopertal
