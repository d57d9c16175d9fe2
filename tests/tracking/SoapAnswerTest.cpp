#include "tracking/SoapAnswer.h"

#include "tracking/ResultBudget.h"
#include "tracking/SoapText.h"

#include <QElapsedTimer>
#include <QTest>

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
    void extractsTags_data() {
        QTest::addColumn<QString>("xml");
        QTest::addColumn<QString>("content"); // "-": none
        const auto row = [](const char* name, const char* xml, const char* content) {
            QTest::newRow(name) << xml << content;
        };
        row("the first", "<a>1</a><a>2</a>", "1");
        row("untouched", "<a>\n &amp;  </a>", "\n &amp;  ");
        row("with attributes", "<a x='1' y=\"2\">1</a>", "1");
        row("start of a longer name", "<ab>1</ab><a>2</a>", "-");
        row("start of a longer name, closed", "<ab>1</a>", "1");
        row("absent", "<b>1</b>", "-");
        row("unclosed", "<a>1", "-");
        row("closed before", "</a><a>1", "-");
        row("unfinished", "<a", "-");
        row("empty", "<a></a><a>1</a>", "-");
        row("with children", "<a>1<b/></a>", "-");
        row("nil", "<a xsi:nil=\"true\">1</a>", "-");
        row("nil and empty", "<a xsi:nil=\"true\"/>", "-");
        row("nil false", "<a xsi:nil=\"false\">1</a>", "1");
        row("nil of another", "<a>1</a><b xsi:nil=\"true\"/>", "1");
        row("case", "<A>1</A>", "-");
        row("empty element takes what follows", "<a/>1</a>", "1");
    }

    void extractsTags() {
        QFETCH(QString, xml);
        const auto content = extractTag(u"a", xml);
        QTEST(content ? content->toString() : QStringLiteral("-"), "content");
    }

    void extractsBlocks_data() {
        QTest::addColumn<QString>("xml");
        QTest::addColumn<QStringList>("blocks");
        const auto row = [](const char* name, const char* xml, QStringList blocks) {
            QTest::newRow(name) << xml << blocks;
        };
        row("none", "", {});
        row("all", "x<a>1</a>y<a b='c'><d/></a>", {"<a>1</a>", "<a b='c'><d/></a>"});
        row("nested: the first closing tag wins", "<a><a>1</a>2</a>", {"<a><a>1</a>"});
        row("the last one unclosed", "<a>1</a><a>2", {"<a>1</a>"});
        row("closing tags around", "</a><a></a></a>", {"<a></a>"});
        row("longer name", "<ab>1</ab><a>2</a>", {"<ab>1</ab><a>2</a>"});
    }

    void extractsBlocks() {
        QFETCH(QString, xml);
        QFETCH(QStringList, blocks);
        QStringList found;
        for (const QStringView block : extractAllBlocks(u"a", xml))
            found << block.toString();
        QCOMPARE(found, blocks);
        const auto first = extractFirstBlock(u"a", xml);
        QCOMPARE(first ? first->toString() : QString(), blocks.value(0));
    }

    void removesEveryOccurrenceOfABlock_data() {
        QTest::addColumn<QString>("xml");
        QTest::addColumn<QString>("rest");
        QTest::newRow("once") << "x<a>1</a>y"
                              << "xy";
        QTest::newRow("several") << "<a>1</a><a>1</a>x<a>1</a>"
                                 << "x";
        QTest::newRow("others stay") << "<a>1</a><a>2</a>x<a>11</a>"
                                     << "<a>2</a>x<a>11</a>";
        QTest::newRow("with openings inside") << "<a<a>1</a>x<a>1</a><a<a>1</a>"
                                              << "x<a>1</a>";
        QTest::newRow("stray closing tags") << "</a><a>1</a></a><a>1</a>"
                                            << "</a></a>";
        QTest::newRow("a closing tag cut short") << "<a>1</a<a>1</a>><a>1</a>"
                                                 << "><a>1</a>";
    }

    void removesEveryOccurrenceOfABlock() {
        QFETCH(QString, xml);
        const auto block = extractFirstBlock(u"a", xml);
        QVERIFY(block);
        QCOMPARE(withoutBlock(u"a", *block, xml), QString(xml).remove(block->toString()));
        QTEST(withoutBlock(u"a", *block, xml), "rest");
    }

    void summarisesEvents_data() {
        QTest::addColumn<QStringList>("events");
        QTest::addColumn<QString>("status");
        QTest::addColumn<QString>("lastEvent");
        QTest::addColumn<QString>("lastPlace");
        const auto row = [](const char* name, QStringList events, const char* status,
                            const char* lastEvent, const char* lastPlace) {
            QTest::newRow(name) << events << status << lastEvent << lastPlace;
        };
        row("none", {}, "Brak zdarzeń", "—", "");
        row("the last tells", {"1|A|||", "2|B|W|UP 1|false"}, "B", "2 — B", "W — UP 1\nW");
        row("a final one tells", {"1|A|G||", "2|B|||true", "3|C|W||true"}, "B", "3 — C", "W\nW");
        row("final is exactly true", {"1|A|||TRUE", "2|B|||1", "3|C|||"}, "C", "3", "");
        row("no place: the time alone", {"1|A|||"}, "A", "1", "");
        row("no name", {"1||W||"}, "", "1 — ", "W\nW");
        row("no time", {"|A|W||"}, "A", " — A", "W\nW");
        row("unit without a locality", {"1|A||UP 1|"}, "A", "1 — A", "UP 1");
        row("renamed", {"1|Odebrano w placówce|||"}, "Awizowana — doręczono", "1", "");
        row("only the exact name is renamed", {"1|Odebrano w placówce |||"}, "Odebrano w placówce ",
            "1", "");
        row("the relay is no place", {"1|A|W|UP 1|", "2|B|Centralny System||", "3|C|||"}, "C", "3",
            "W — UP 1\nW");
        row("nothing but the relay", {"1|A|W|Centralny System WER|"}, "A", "1 — A", "");
    }

    void summarisesEvents() {
        QFETCH(QStringList, events);
        QString xml;
        for (const QString& event : events)
            xml += eventOf(event);
        const TrackingResult result = parseSOAP(xml);
        QTEST(result.status, "status");
        QTEST(result.lastEvent, "lastEvent");
        QTEST(result.lastPlace, "lastPlace");
        QCOMPARE(result.events.size(), events.size());
    }

    void joinsAddresses_data() {
        QTest::addColumn<QString>("unit");
        QTest::addColumn<QString>("place");
        QTest::addColumn<QString>("address");
        const auto row = [](const char* name, QStringList unit, const char* place,
                            const char* address) {
            const QStringList tags{"miejscowosc", "nazwa", "ulica", "nrDomu", "pna"};
            QString xml;
            for (qsizetype i = 0; i < tags.size(); ++i)
                xml += unit[i].isEmpty() ? QString() : element(tags[i], unit[i]);
            QTest::newRow(name) << xml << place << address;
        };
        row("all", {"Warszawa", "UP Warszawa 1", "Marszałkowska", "1", "00-001"},
            "Warszawa — UP Warszawa 1", "Marszałkowska 1, 00-001 Warszawa");
        row("no house", {"W", "U", "M", "", "00"}, "W — U", "M, 00 W");
        row("no street: no house either", {"W", "U", "", "1", "00"}, "W — U", "00 W");
        row("street alone", {"", "U", "M", "1", ""}, "U", "M 1");
        row("code alone", {"", "", "", "", "00"}, "", "00");
        row("nothing", {"", "", "", "", ""}, "", "");
    }

    void joinsAddresses() {
        QFETCH(QString, unit);
        const TrackingResult result =
            parseSOAP(element("zdarzenie", element("jednostka", unit) + element("nazwa", "A")));
        QCOMPARE(result.events.size(), 1);
        QCOMPARE(result.events[0].name, "A");
        QTEST(result.events[0].place, "place");
        QTEST(result.events[0].placeAddress, "address");
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

    void onlyMinusOneIsUnknown_data() {
        QTest::addColumn<QString>("status");
        QTest::addColumn<bool>("isUnknown");
        for (const char* other : {"0", "-2", " -1", "-10", ""})
            QTest::addRow("'%s'", other) << other << false;
        QTest::newRow("-1") << "-1" << true;
    }

    void onlyMinusOneIsUnknown() {
        QFETCH(QString, status);
        QFETCH(bool, isUnknown);
        const TrackingResult result =
            parseSOAP(element("status", status) + element("masa", "1") + eventOf("1|A|||"));
        TrackingResult unknown;
        unknown.status = "Nie znaleziono";
        unknown.lastEvent = "Brak danych dla tego numeru";
        unknown.isAnswered = true;
        QCOMPARE(result == unknown, isUnknown);
        QCOMPARE(result.status == "A", !isUnknown);
    }

    void onlyUtf8IsRead_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("isRead");
        const auto event = [](const char* name) {
            return "<ax21:zdarzenie><ax21:nazwa>" + QByteArray(name) +
                   "</ax21:nazwa></ax21:zdarzenie>";
        };
        QTest::newRow("Polish") << event("Doręczono") << true;
        QTest::newRow("empty") << QByteArray() << true;
        QTest::newRow("NUL") << event("a") + QByteArray(1, '\0') << true;
        QTest::newRow("beyond the first plane") << event("\U0001F4E6") << true;
        QTest::newRow("windows-1250") << event("Dor\xea\x63zono") << false;
        QTest::newRow("cut at the end") << event("a") + "\xc4" << false;
        QTest::newRow("overlong") << event("\xc0\xaf") << false;
        QTest::newRow("surrogate") << event("\xed\xa0\x80") << false;
    }

    void onlyUtf8IsRead() {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, isRead);
        TrackingResult unreadable;
        unreadable.status = "Błąd";
        unreadable.lastEvent = "Nie można odczytać odpowiedzi";
        QCOMPARE(parseAnswer(bytes) != unreadable, isRead);
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

    void hostileAnswersTakeLinearTime_data() {
        QTest::addColumn<QString>("prefix");
        QTest::addColumn<QString>("repeated");
        QTest::addColumn<QString>("suffix");
        QTest::newRow("openings") << ""
                                  << "<ax21:zdarzenie"
                                  << "";
        QTest::newRow("openings and a closing") << ""
                                                << "<ax21:zdarzenie"
                                                << "</ax21:zdarzenie>";
        QTest::newRow("empty events") << ""
                                      << "<ax21:zdarzenie></ax21:zdarzenie>"
                                      << "";
        QTest::newRow("unclosed units") << "<ax21:zdarzenie>"
                                        << "<ax21:jednostka"
                                        << "</ax21:zdarzenie>";
        QTest::newRow("a long unit, nearly repeated")
            << "<ax21:zdarzenie><ax21:jednostka" +
                   QStringLiteral("<ax21:jednostka").repeated(100'000) + "</ax21:jednostka>"
            << "<ax21:jednostka"
            << "</ax21:jednostka></ax21:zdarzenie>";
        QTest::newRow("short units") << "<ax21:zdarzenie>"
                                     << "<ax21:jednostka></ax21:jednostka>"
                                     << "</ax21:zdarzenie>";
        QTest::newRow("closing tags of units")
            << "<ax21:zdarzenie><ax21:jednostka" + QStringLiteral(" ").repeated(1'000'000) +
                   "</ax21:jednostka>"
            << "</ax21:jednostka>"
            << "</ax21:zdarzenie>";
    }

    void hostileAnswersTakeLinearTime() {
        QFETCH(QString, prefix);
        QFETCH(QString, repeated);
        QFETCH(QString, suffix);
        const QString xml = prefix + repeated.repeated(10'000'000 / repeated.size()) + suffix;
        QElapsedTimer clock;
        clock.start();
        parseSOAP(xml);
        QVERIFY2(clock.elapsed() < 10'000, "more than 10 s, under sanitizers, for 10 MB");
    }
};

QTEST_APPLESS_MAIN(SoapAnswerTest)
#include "SoapAnswerTest.moc"
