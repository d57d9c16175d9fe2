#pragma once

#include <QDate>
#include <QString>

namespace kopertal {

/// The name of a register made on `date`: "kopertal_yyyyMMdd.docx", Gregorian.
QString registerFileName(QDate date);

/// `base`, or where something is there already (a dangling link too) the first free of STEM_1.EXT,
/// STEM_2.EXT, … Free at the time of the call: another program may take the name in between.
QString uniqueURL(const QString& base);

} // namespace kopertal
