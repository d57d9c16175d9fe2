// How long answers of 1, 10 and 100 MB take to read: realistic ones, and such as are made to be
// slow. Linear means the same figure per megabyte in each line.
#include "bench/Result.h"
#include "tracking/SoapAnswer.h"

#include <QString>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <limits>
#include <vector>

using namespace kopertal;

namespace {

struct Answer {
    const char* name;
    QString before;
    QString repeated;
    QString after;
};

QString megabytes(const Answer& answer, qsizetype count) {
    const qsizetype fixed = answer.before.size() + answer.after.size();
    const qsizetype room = std::max<qsizetype>(count * 1'000'000 - fixed, 0);
    return answer.before + answer.repeated.repeated(room / answer.repeated.size()) + answer.after;
}

/// Of processor time, which a busy machine hardly lengthens; the least disturbed of some runs.
double milliseconds(const QByteArray& bytes) {
    std::clock_t best = std::numeric_limits<std::clock_t>::max();
    for (int run = 0; run < 3; ++run) {
        const std::clock_t start = std::clock();
        parseAnswer(bytes);
        best = std::min(best, std::clock() - start);
    }
    return static_cast<double>(best) * 1e3 / CLOCKS_PER_SEC;
}

} // namespace

int main() {
    const auto event = QStringLiteral(
        "<ax21:zdarzenie xsi:type=\"ax21:Zdarzenie\"><ax21:czas>2025-03-11 06:15</ax21:czas>"
        "<ax21:jednostka><ax21:daneSzczegolowe><ax21:miejscowosc>Warszawa</ax21:miejscowosc>"
        "<ax21:nrDomu>1</ax21:nrDomu><ax21:pna>00-001</ax21:pna><ax21:ulica>Prosta</ax21:ulica>"
        "</ax21:daneSzczegolowe><ax21:nazwa>UP Warszawa 1</ax21:nazwa></ax21:jednostka>"
        "<ax21:kod>P_PRZ</ax21:kod><ax21:konczace>false</ax21:konczace>"
        "<ax21:nazwa>Wysłanie</ax21:nazwa></ax21:zdarzenie>");
    const auto opening = QStringLiteral("<ax21:zdarzenie");
    const auto closing = QStringLiteral("</ax21:zdarzenie>");
    const auto unit = QStringLiteral("<ax21:jednostka");
    const auto unitEnd = QStringLiteral("</ax21:jednostka>");
    const Answer answers[] = {
        {"events as they are", {}, event, {}},
        {"openings, none closed", {}, opening, {}},
        {"openings, one closing", {}, opening, closing},
        {"empty events", {}, opening + closing, {}},
        {"an event of unit openings", opening, unit, closing},
        {"an event of equal units", opening, unit + unitEnd, closing},
        {"a long unit, nearly repeated", opening + unit.repeated(30'000) + unitEnd, unit,
         unitEnd + closing},
        {"a long unit, its end repeated", opening + unit + QString(500'000, u' ') + unitEnd,
         unitEnd, closing},
        {"no tag at all", {}, QStringLiteral("<"), {}},
    };
    std::printf("%-34s %10s %10s %10s   ms per MB\n", "answer", "1 MB", "10 MB", "100 MB");
    bench::Result worst{.promise = "an answer of 100 MB, the worst of nine kinds",
                        .figure = 0,
                        .unit = "ms/MB",
                        .reference = "10 MB of it",
                        .relation = "<=",
                        .mark = 2};
    for (const Answer& answer : answers) {
        std::printf("%-34s", answer.name);
        std::vector<double> times;
        for (const qsizetype size : {1, 10, 100}) {
            const QByteArray bytes = megabytes(answer, size).toUtf8();
            times.push_back(milliseconds(bytes) / static_cast<double>(size));
            std::printf(" %10.2f", times.back());
            std::fflush(stdout);
        }
        std::printf("\n");
        if (times.back() > worst.ratio * times[1]) { // a megabyte fits into caches
            worst.figure = times.back();
            worst.referenceFigure = times[1];
            worst.ratio = times.back() / times[1];
        }
    }
    bench::record(worst);
}
