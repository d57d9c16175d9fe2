#include "tracking/SoapAnswer.h"

#include "tracking/ResultBudget.h"
#include "tracking/SoapText.h"

#include <QTest>

#include <ctime>

using namespace kopertal;

namespace {

/// What is empty is absent.
QString element(const QString& name, const QString& text) {
    return text.isEmpty() ? QString() : QStringLiteral("<ax21:%1>%2</ax21:%1>").arg(name, text);
}

/// An event of "time|name|final|locality|unit|street|house|postal code".
QString eventOf(const QString& description) {
    const QStringList parts = description.split(u'|');
    QString unit;
    qsizetype part = 3;
    for (const char* tag : {"miejscowosc", "nazwa", "ulica", "nrDomu", "pna"})
        unit += element(tag, parts.value(part++));
    return element("zdarzenie", element("czas", parts.value(0)) + element("jednostka", unit) +
                                    element("nazwa", parts.value(1)) +
                                    element("konczace", parts.value(2)));
}

} // namespace

/// What the texts' searches find is checked against a plain one by SoapAnswerFuzz.
class SoapAnswerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void extractsTags() {
        const std::pair<QString, QString> cases[] = {{"<a>1</a><a>2</a>", "1"},
                                                     {"<a>\n &amp;  </a>", "\n &amp;  "},
                                                     {"<a x='1' y=\"2\">1</a>", "1"},
                                                     {"<a/>1</a>", "1"},
                                                     {"<a xsi:nil=\"true\">1</a>", "none"},
                                                     {"<A>1</A>", "none"}};
        for (const auto& [xml, content] : cases)
            QCOMPARE(extractTag(u"a", xml).value_or(u"none").toString(), content);
    }

    void summarisesEvents() {
        const struct {
            QStringList events;
            QString status, lastEvent, lastPlace;
        } cases[] = {
            {{}, "Brak zdarzeń", "—", ""},
            {{"1|A", "2|B|false|W|UP 1"}, "B", "2 — B", "W — UP 1\nW"},
            {{"1|A||G", "2|B|true", "3|C|true|W"}, "B", "3 — C", "W\nW"}, // the first final one
            {{"1|A|TRUE", "2|B|1", "3|C"}, "C", "3", ""},                 // final is exactly "true"
            {{"1|Odebrano w placówce"}, "Awizowana — doręczono", "1", ""},
            {{"1|A||W|UP 1", "2|B||Centralny System", "3|C"}, "C", "3", "W — UP 1\nW"},
            {{"1|A||W|U|M|1|00"}, "A", "1 — A", "W — U\nM 1, 00 W"},
            {{"1|A||W|U||1|00"}, "A", "1 — A", "W — U\n00 W"}, // no street: no house either
            {{"1|A|||U|M|1"}, "A", "1 — A", "U\nM 1"}};
        for (const auto& [events, status, lastEvent, lastPlace] : cases) {
            QString xml;
            for (const QString& event : events)
                xml += eventOf(event);
            const TrackingResult result = parseSOAP(xml);
            QCOMPARE(QStringList({result.status, result.lastEvent, result.lastPlace}),
                     QStringList({status, lastEvent, lastPlace}));
            QCOMPARE(result.events.size(), events.size());
        }
    }

    void readsTheDetails() {
        const QString office = element("nazwa", "UP 1") + element("kod", "9");
        const QString details = element("rodzPrzes", "List") + "<ax21:masa xsi:nil=\"true\"/>" +
                                element("dataNadania", "2025-03-10") +
                                element("urzadNadania", office) +
                                element("zakonczonoObsluge", "true");
        const QString outside = element("rodzPrzes", "x") + element("urzadPrzezn", office);
        const TrackingResult expected{"Brak zdarzeń", "—", "List", "",  "2025-03-10", "UP 1", "",
                                      true,           {},  "",     true};
        QCOMPARE(parseSOAP(outside + element("danePrzesylki", details)), expected);

        // Without that block the whole answer is searched; events need not stand in it.
        const TrackingResult loose = parseSOAP(outside + details + eventOf("1|A"));
        QCOMPARE(loose.rodzajPrzesylki, "x");
        QCOMPARE(loose.urzadPrzeznaczenia, "UP 1");
        QCOMPARE(parseSOAP(element("danePrzesylki", " ") + eventOf("1|A")).status, "A");
        QCOMPARE(parseSOAP(element("zakonczonoObsluge", "True")).zakonczonoObsluge, false);
    }

    void onlyMinusOneIsUnknown() {
        const QString rest = element("masa", "1") + eventOf("1|A");
        TrackingResult unknown;
        unknown.status = "Nie znaleziono";
        unknown.lastEvent = "Brak danych dla tego numeru";
        unknown.isAnswered = true;
        QCOMPARE(parseSOAP(element("status", "-1") + rest), unknown);
        for (const char* other : {"0", "-2", " -1", "-10", ""})
            QVERIFY2(parseSOAP(element("status", other) + rest).status == "A", other);
    }

    void onlyUtf8IsRead() {
        const TrackingResult unreadable = parseAnswer("cut at the end \xc4");
        QCOMPARE(unreadable.status, "Błąd");
        QCOMPARE(unreadable.lastEvent, "Nie można odczytać odpowiedzi");
        for (const char* name : {"Dor\xea\x63zono", "\xc0\xaf", "\xed\xa0\x80"})
            QCOMPARE(parseAnswer(name), unreadable);
        QVERIFY(parseAnswer(QByteArray(1, '\0')) != unreadable);
    }

    void ofTooMuchTheEssentialIsKept() {
        QString many = eventOf("0|first") + eventOf("1|decisive|true");
        for (int i = 2; i < 1'000; ++i)
            many += eventOf(QStringLiteral("%1|x").arg(i));
        const TrackingResult whole = parseSOAP(many);
        const TrackingResult result = shortened(whole);
        QCOMPARE(result.status, "decisive");
        QCOMPARE(result.events.mid(1), whole.events.last(199));
        QCOMPARE(result.events.first(), whole.events[1]);

        const QString astral = QStringLiteral("\U0001F4E6").repeated(1'000);
        const TrackingResult cut =
            shortened(parseSOAP(element("masa", astral) + eventOf("|x" + astral + "||W")));
        QCOMPARE(cut.masa, astral.first(100));
        QCOMPARE(cut.events[0].name, "x" + astral.first(98));
        QCOMPARE(cut.events[0].place, "W");

        ResultBudget budget(400'000);
        for (int i = 0; i < 3; ++i)
            budget.started();
        QCOMPARE(budget.finished(whole), whole);
        QCOMPARE(budget.finished(whole).events.size(), 200); // there is room for one
        QCOMPARE(budget.finished(cut), cut);
        budget.started();
        QCOMPARE(budget.finished(whole), whole); // others
    }

    void hostileAnswersTakeLinearTime() {
        const struct {
            QString prefix, repeated, suffix;
        } cases[] = {{"", "<ax21:zdarzenie", "</ax21:zdarzenie>"},
                     {"", "<ax21:zdarzenie></ax21:zdarzenie>", ""},
                     {"<ax21:zdarzenie><ax21:jednostka" +
                          QStringLiteral("<ax21:jednostka").repeated(100'000) + "</ax21:jednostka>",
                      "<ax21:jednostka",
                      "</ax21:jednostka></ax21:zdarzenie>"}, // a long one, nearly repeated
                     {"<ax21:zdarzenie>", "<ax21:jednostka></ax21:jednostka>", "</ax21:zdarzenie>"},
                     {"<ax21:zdarzenie><ax21:jednostka" + QStringLiteral(" ").repeated(1'000'000) +
                          "</ax21:jednostka>",
                      "</ax21:jednostka>", "</ax21:zdarzenie>"}};
        for (const auto& [prefix, repeated, suffix] : cases) {
            const QString xml = prefix + repeated.repeated(10'000'000 / repeated.size()) + suffix;
            const std::clock_t begin = std::clock();
            parseSOAP(xml);
            // More than 10 s of the processor for 10 MB, under sanitizers, is no linear time.
            QVERIFY2(std::clock() - begin < 10 * CLOCKS_PER_SEC, qPrintable(xml.first(80)));
        }
    }
};

QTEST_APPLESS_MAIN(SoapAnswerTest)
#include "SoapAnswerTest.moc"
