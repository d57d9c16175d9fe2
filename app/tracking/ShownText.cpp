#include "app/tracking/ShownText.h"

#include "app/common/Theme.h"
#include "ui/Tones.h"

#include <algorithm>

namespace kopertal {

namespace {

/// Marks and controls of direction, with which one number could look like another.
bool turnsText(QChar c) {
    return c == u'\u061c' || c == u'\u200e' || c == u'\u200f' ||
           (c >= u'\u202a' && c <= u'\u202e') || (c >= u'\u2066' && c <= u'\u2069');
}

} // namespace

QString shownText(const QString& text, qsizetype most) {
    QString shown = text.size() > most ? text.first(most) + QStringLiteral("…") : text;
    const auto isLayout = [](QChar c) {
        return c.category() == QChar::Other_Control || c.category() == QChar::Separator_Line ||
               c.category() == QChar::Separator_Paragraph;
    };
    std::replace_if(shown.begin(), shown.end(), isLayout, QChar(u' '));
    shown.removeIf(turnsText);
    return shown;
}

QString shownTextOrDash(const QString& text) {
    return text.isEmpty() ? QStringLiteral("—") : shownText(text);
}

QColor statusInk(StatusColor color) {
    switch (color) {
    case StatusColor::success:
        return Theme::success;
    case StatusColor::systemRed:
        return morvik::MorvikTheme::Colors::error;
    case StatusColor::systemOrange:
        return morvik::Tones::inProgress;
    case StatusColor::mainText:
        break;
    }
    return Theme::textMain;
}

} // namespace kopertal
