#pragma once

#include <QTranslator>

namespace kopertal {

/// The words of the menu "Edycja" for the toolkit's own menus of text fields, whose catalogue has
/// others for the same.
class EditWords : public QTranslator {
    Q_OBJECT

public:
    using QTranslator::QTranslator;

    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* source, const char* disambiguation,
                      int count) const override;
};

} // namespace kopertal
