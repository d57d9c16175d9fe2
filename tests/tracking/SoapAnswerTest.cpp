#include "tracking/SoapAnswer.h"

#include "tracking/ResultBudget.h"
#include "tracking/SoapText.h"

#include <QTest>

#include <ctime>

using namespace kopertal;

namespace {

QString element(const QString& name, const QString& text) {
    return QStringLiteral("<ax21:%1>%2</ax21:%1>").arg(name, text);
}

/// An event of "time|name|locality|unit|final"; what is empty is absent.
QString eventOf(const QString& description) {
    const QStringList parts = description.split(u'|');
    const auto optional = [](const QString& name, const QString& text) {
        return text.isEmpty() ? QString() : element(name, text);
    };
    const QString unit =
        optional("miejscowosc", parts.value(2)) + optional("nazwa", parts.value(3));
    return element("zdarzenie", optional("czas", parts.value(0)) + optional("jednostka", unit) +
                                    optional("nazwa", parts.value(1)) +
                                    optional("konczace", parts.value(4)));
}

} // namespace

class SoapAnswerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void extractsTags() {
        const std::pair<QString, QString> cases[] = {{"<a>1</a><a>2</a>", "1"},
                                                     {"<a>\n &amp;  </a>", "\n &amp;  "},
                                                     {"<a x='1' y=\"2\">1</a>", "1"},
                                                     {"<ab>1</a>", "1"},
                                                     {"<a xsi:nil=\"false\">1</a>", "1"},
                                                     {"<a>1</a><b xsi:nil=\"true\"/>", "1"},
                                                     {"<a/>1</a>", "1"}};
        for (const auto& [xml, content] : cases)
            QCOMPARE(extractTag(u"a", xml).value_or(u"none").toString(), content);
        for (const QString xml :
             {"<ab>1</ab><a>2</a>", "<b>1</b>", "<a>1", "</a><a>1", "<a", "<a></a><a>1</a>",
              "<a>1<b/></a>", "<a xsi:nil=\"true\">1</a>", "<a xsi:nil=\"true\"/>", "<A>1</A>"})
            QVERIFY2(!extractTag(u"a", xml), qPrintable(xml));
    }

    void extractsBlocks() {
        const std::pair<QString, QStringList> cases[] = {
            {"", {}},
            {"x<a>1</a>y<a b='c'><d/></a>", {"<a>1</a>", "<a b='c'><d/></a>"}},
            {"<a><a>1</a>2</a>", {"<a><a>1</a>"}}, // the first closing tag wins
            {"<a>1</a><a>2", {"<a>1</a>"}},
            {"</a><a></a></a>", {"<a></a>"}},
            {"<ab>1</ab><a>2</a>", {"<ab>1</ab><a>2</a>"}}};
        for (const auto& [xml, blocks] : cases) {
            QStringList found;
            for (const QStringView block : extractAllBlocks(u"a", xml))
                found << block.toString();
            QCOMPARE(found, blocks);
            QCOMPARE(extractFirstBlock(u"a", xml).value_or(u"").toString(), blocks.value(0));
        }
    }

    void removesEveryOccurrenceOfABlock() {
        const std::pair<QString, QString> cases[] = {
            {"<a>1</a><a>1</a>x<a>1</a>", "x"},
            {"<a>1</a><a>2</a>x<a>11</a>", "<a>2</a>x<a>11</a>"},
            {"<a<a>1</a>x<a>1</a><a<a>1</a>", "x<a>1</a>"}, // with openings inside
            {"</a><a>1</a></a><a>1</a>", "</a></a>"},
            {"<a>1</a<a>1</a>><a>1</a>", "><a>1</a>"}};
        for (const auto& [xml, rest] : cases) {
            const auto block = extractFirstBlock(u"a", xml);
            QCOMPARE(QString(xml).remove(block->toString()), rest);
            QCOMPARE(withoutBlock(u"a", *block, xml), rest);
        }
    }

    void summarisesEvents() {
        const struct {
            QStringList events;
            QString status, lastEvent, lastPlace;
        } cases[] = {
            {{}, "Brak zdarzeń", "—", ""},
            {{"1|A|||", "2|B|W|UP 1|false"}, "B", "2 — B", "W — UP 1\nW"},
            {{"1|A|G||", "2|B|||true", "3|C|W||true"}, "B", "3 — C", "W\nW"}, // the first final one
            {{"1|A|||TRUE", "2|B|||1", "3|C|||"}, "C", "3", ""}, // final is exactly "true"
            {{"1||W||"}, "", "1 — ", "W\nW"},
            {{"|A|W||"}, "A", " — A", "W\nW"},
            {{"1|A||UP 1|"}, "A", "1 — A", "UP 1"},
            {{"1|Odebrano w placówce|||"}, "Awizowana — doręczono", "1", ""},
            {{"1|Odebrano w placówce |||"}, "Odebrano w placówce ", "1", ""},
            {{"1|A|W|UP 1|", "2|B|Centralny System||", "3|C|||"}, "C", "3", "W — UP 1\nW"},
            {{"1|A|W|Centralny System WER|"}, "A", "1 — A", ""}};
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

    void joinsAddresses() {
        const QStringList tags{"miejscowosc", "nazwa", "ulica", "nrDomu", "pna"};
        const struct {
            QStringList unit;
            QString place, address;
        } cases[] = {{{"W", "U", "M", "1", "00"}, "W — U", "M 1, 00 W"},
                     {{"W", "U", "M", "", "00"}, "W — U", "M, 00 W"},
                     {{"W", "U", "", "1", "00"}, "W — U", "00 W"}, // no street: no house either
                     {{"", "U", "M", "1", ""}, "U", "M 1"},
                     {{"", "", "", "", "00"}, "", "00"},
                     {{"", "", "", "", ""}, "", ""}};
        for (const auto& [unit, place, address] : cases) {
            QString xml;
            for (qsizetype i = 0; i < tags.size(); ++i)
                xml += unit[i].isEmpty() ? QString() : element(tags[i], unit[i]);
            const TrackingResult result =
                parseSOAP(element("zdarzenie", element("jednostka", xml) + element("nazwa", "A")));
            const TrackingEvent& event = result.events.constFirst();
            QCOMPARE(QStringList({event.name, event.place, event.placeAddress}),
                     QStringList({"A", place, address}));
        }
    }

    void readsTheDetails() {
        const QString office = element("nazwa", "UP 1") + element("kod", "9");
        const QString details = element("rodzPrzes", "List") + "<ax21:masa xsi:nil=\"true\"/>" +
                                element("dataNadania", "2025-03-10") +
                                element("urzadNadania", office) +
                                element("zakonczonoObsluge", "true");
        const QString outside = element("rodzPrzes", "x") + element("urzadPrzezn", office);
        TrackingResult expected;
        expected.status = "Brak zdarzeń";
        expected.lastEvent = "—";
        expected.rodzajPrzesylki = "List";
        expected.dataNadania = "2025-03-10";
        expected.urzadNadania = "UP 1";
        expected.zakonczonoObsluge = true;
        expected.isAnswered = true;
        QCOMPARE(parseSOAP(outside + element("danePrzesylki", details)), expected);

        // Without that block the whole answer is searched; events need not stand in it.
        const TrackingResult loose = parseSOAP(outside + details + eventOf("1|A|||"));
        QCOMPARE(loose.rodzajPrzesylki, "x");
        QCOMPARE(loose.urzadPrzeznaczenia, "UP 1");
        QCOMPARE(parseSOAP(element("danePrzesylki", "") + eventOf("1|A|||")).status, "A");
        QCOMPARE(parseSOAP(element("zakonczonoObsluge", "True")).zakonczonoObsluge, false);
    }

    void onlyMinusOneIsUnknown() {
        TrackingResult unknown;
        unknown.status = "Nie znaleziono";
        unknown.lastEvent = "Brak danych dla tego numeru";
        unknown.isAnswered = true;
        const QString rest = element("masa", "1") + eventOf("1|A|||");
        QCOMPARE(parseSOAP(element("status", "-1") + rest), unknown);
        for (const char* other : {"0", "-2", " -1", "-10", ""})
            QVERIFY2(parseSOAP(element("status", other) + rest).status == "A", other);
    }

    void onlyUtf8IsRead() {
        TrackingResult unreadable;
        unreadable.status = "Błąd";
        unreadable.lastEvent = "Nie można odczytać odpowiedzi";
        const auto isRead = [&](const QByteArray& name) {
            return parseAnswer("<ax21:zdarzenie><ax21:nazwa>" + name +
                               "</ax21:nazwa></ax21:zdarzenie>") != unreadable;
        };
        for (const char* name : {"Doręczono", "\U0001F4E6"})
            QVERIFY2(isRead(name), name);
        QVERIFY(isRead(QByteArray(1, '\0')));
        for (const char* name : {"Dor\xea\x63zono", "\xc0\xaf", "\xed\xa0\x80"})
            QVERIFY2(!isRead(name), name);
        QCOMPARE(parseAnswer("cut at the end \xc4"), unreadable);
    }

    void ofTooMuchTheEssentialIsKept() {
        QString many = eventOf("0|first|||") + eventOf("1|decisive|||true");
        for (int i = 2; i < 1'000; ++i)
            many += eventOf(QStringLiteral("%1|x|||").arg(i));
        const TrackingResult whole = parseSOAP(many);
        QCOMPARE(whole.events.size(), 1'000);
        const TrackingResult result = shortened(whole);
        QCOMPARE(result.events.size(), 200);
        QCOMPARE(result.status, "decisive");
        QCOMPARE(result.events.first().time, "1");
        QCOMPARE(result.events[1].time, "801");
        QCOMPARE(result.events.last().time, "999");

        const QString astral = QStringLiteral("\U0001F4E6").repeated(1'000);
        const TrackingResult cut =
            shortened(parseSOAP(element("masa", astral) + eventOf("|x" + astral + "|W||")));
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
        } cases[] = {{"", "<ax21:zdarzenie", ""},
                     {"", "<ax21:zdarzenie", "</ax21:zdarzenie>"},
                     {"", "<ax21:zdarzenie></ax21:zdarzenie>", ""},
                     {"<ax21:zdarzenie>", "<ax21:jednostka", "</ax21:zdarzenie>"},
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
