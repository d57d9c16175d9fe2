#pragma once

#include <QString>

namespace kopertal {

/// "3 adresy  ·  1 strona": three word forms, by the number alone (1, 2 to 4, others).
QString previewCountLine(qsizetype recipients, qsizetype pages);

/// The same with two forms: "1 adres", "3 adresów".
QString successCountLine(qsizetype recipients, qsizetype pages);

} // namespace kopertal
