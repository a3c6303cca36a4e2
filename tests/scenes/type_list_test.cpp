#include "scenes/type_list.h"

#include <QFile>
#include <QTest>

class TypeListTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void filesOfAnyKindAreRead();
    void levelsAreToldByTabs_data();
    void levelsAreToldByTabs();
    void theListThatComesWithTheProgramIsSound();
};

void TypeListTest::filesOfAnyKindAreRead()
{
    QCOMPARE(linesOf("a\r\nb\nc\rd"), QStringList({"a", "b", "c", "d"}));
    QCOMPARE(linesOf("a\r\n\r\nb\n\rc\n"), QStringList({"a", "", "b", "", "c"}));
    QCOMPARE(linesOf(""), QStringList());
    QCOMPARE(typeListText("\xEF\xBB\xBF\xD0\xAF"), QString("Я"));
    QVERIFY(typeListText("a\xFF\xD0").startsWith(QString("a") + QChar(0xFFFD)));
}

void TypeListTest::levelsAreToldByTabs_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("types");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QStringList>("subtypes");
    QTest::addColumn<QString>("subtype");
    QTest::addColumn<QStringList>("lasttypes");
    const QString dialogue = "Диалог\n\tСпор\n\t\tШуточный\n\t\tСерьёзный\n\tПризнание\nПогоня\n\tПешая\n"
                             "\tНа машинах\n\t\tНочью\n";
    const QStringList both{"Диалог", "Погоня"};
    const QStringList a{"A"};
    const QStringList b{"b"};
    const QStringList none;
    QTest::newRow("three levels") << dialogue << both << "Диалог" << QStringList{"Спор", "Признание"} << "Спор"
                                  << QStringList{"Шуточный", "Серьёзный"};
    QTest::newRow("unknown") << dialogue << both << "диалог" << none << "спор" << none;
    QTest::newRow("empty line ends a block") << "A\n\n\tb\n\t\tc\n" << a << "A" << none << "b" << QStringList{"c"};
    QTest::newRow("empty line ends lasttypes") << "A\n\tb\n\n\t\tc\n" << a << "A" << b << "b" << none;
    QTest::newRow("only the first block of a type") << "A\n\tb\nC\nA\n\td\n" << QStringList{"A", "C", "A"} << "A" << b
                                                    << "d" << none;
    QTest::newRow("first subtype of that name anywhere")
        << "A\n\tx\n\t\tпервый\nB\n\tx\n\t\tвторой\n" << QStringList{"A", "B"} << "B" << QStringList{"x"} << "x"
        << QStringList{"первый"};
    QTest::newRow("trailing blanks count") << "A \n\tb\n" << QStringList{"A "} << "A" << none << "b" << none;
    QTest::newRow("inner TABs of a subtype go") << "A\n\tБег\tтрусцой\n\t\tc\n" << a << "A"
                                                << QStringList{"Бегтрусцой"} << "Бегтрусцой" << none;
    QTest::newRow("a third TAB stays") << "A\n\tb\n\t\t\tc\n\t\td\t\te\n\t\t\n" << a << "A" << b << "b"
                                       << QStringList{"\tc", "de"};
    QTest::newRow("nothing but a TAB") << "A\n\t\n\tb\n" << a << "A" << b << "" << none;
}

void TypeListTest::levelsAreToldByTabs()
{
    QFETCH(QString, text);
    QFETCH(QString, type);
    QFETCH(QString, subtype);
    const QStringList lines = linesOf(text);
    QTEST(typesIn(lines), "types");
    QTEST(subtypesOf(type, lines), "subtypes");
    QTEST(lasttypesOf(subtype, lines), "lasttypes");
}

void TypeListTest::theListThatComesWithTheProgramIsSound()
{
    QFile file(TYPE_LIST_FILE);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    QVERIFY(!bytes.contains('\r') && bytes.endsWith('\n') && !bytes.contains("\n\n"));
    const QString text = typeListText(bytes);
    QCOMPARE(text.toUtf8(), bytes);
    const QStringList lines = linesOf(text);
    for (const QString &line : lines)
        QVERIFY2(line.trimmed() == QString(line).remove('\t'), qPrintable(line));

    // Every line can be reached by choices in the dialog, which takes the first of equal names.
    const QStringList types = typesIn(lines);
    QVERIFY(types.size() >= 12);
    qsizetype reached = types.size();
    for (const QString &type : types) {
        QVERIFY2(types.count(type) == 1, qPrintable(type));
        const QStringList subtypes = subtypesOf(type, lines);
        QVERIFY2(subtypes.size() >= 2, qPrintable(type));
        reached += subtypes.size();
        for (const QString &subtype : subtypes) {
            if (lines.indexOf('\t' + subtype) > lines.indexOf(type)
                && lines.indexOf('\t' + subtype) == lines.indexOf('\t' + subtype, lines.indexOf(type)))
                reached += lasttypesOf(subtype, lines).size();
        }
    }
    QCOMPARE(reached, lines.size());
}

QTEST_APPLESS_MAIN(TypeListTest)
#include "type_list_test.moc"
